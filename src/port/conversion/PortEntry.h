#pragma once

#include <cstdint>
#include <string>

#include "frame/vocabulary/Uuid.h"

namespace CfgAgent {

// One port the kernel reported and the agent keeps in step with it.
struct PortEntry {
    std::string switchId;  // the host switch
    std::string portId;    // DVPort or logical port id, as the kernel gave it
    std::string vifId;
    Uuid lspId;  // the logical port; nil when unknown
    Uuid lsId;   // the logical switch; nil when unknown
    bool outOfSync = false;
    uint8_t type = 0;  // KcpVifType

    bool operator==(const PortEntry&) const = default;
};

}  // namespace CfgAgent
