#pragma once

#include <cstdint>
#include <string>

namespace CfgAgent {

// One port the kernel reported and the agent keeps in step with it.
struct PortEntry {
    std::string switchId;  // the host switch
    std::string portId;    // DVPort or logical port id, as the kernel gave it
    std::string vifId;
    std::string lspId;  // UUID text of the logical port; empty when unknown
    std::string lsId;   // UUID text of the logical switch
    bool outOfSync = false;
    uint8_t type = 0;  // KcpVifType

    bool operator==(const PortEntry&) const = default;
};

}  // namespace CfgAgent
