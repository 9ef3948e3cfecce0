#pragma once

#include <string>
#include <vector>

#include "port/kcp/KcpContainerEntry.h"

namespace CfgAgent {

// The addresses a guest's tools reported for one port, as the switch
// security module takes them.
struct SwsecBindings {
    std::string portId;
    std::string switchId;
    std::vector<KcpContainerEntry> entries;

    bool operator==(const SwsecBindings&) const = default;
};

}  // namespace CfgAgent
