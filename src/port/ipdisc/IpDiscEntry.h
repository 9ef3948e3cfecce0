#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "port/kcp/KcpDiscoveredBinding.h"

namespace CfgAgent {

// The discovered bindings one VIF record of the kernel carried.
struct IpDiscEntry {
    std::string vifId;
    std::vector<KcpDiscoveredBinding> bindings;
    uint32_t operation = 0;  // KcpOperation: update or delete

    bool operator==(const IpDiscEntry&) const = default;
};

}  // namespace CfgAgent
