#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "port/kcp/KcpDiscoveredBinding.h"
#include "port/kcp/KcpTypes.h"

namespace CfgAgent {

// One virtual interface as the kernel reports it: the fixed head and what
// its property TLVs said.
struct KcpVifRecord {
    std::string vifId;
    std::string portId;
    std::string switchId;
    std::string parentVifId;  // for containers only
    uint8_t vifType = 0;      // KcpVifType
    uint8_t smartNic = 0;
    uint8_t hotmove = 0;
    std::optional<uint8_t> status;  // KcpVifStatus; absent when no Status TLV came
    std::vector<KcpMac> macs;
    std::vector<KcpDiscoveredBinding> bindings;

    bool operator==(const KcpVifRecord&) const = default;
};

}  // namespace CfgAgent
