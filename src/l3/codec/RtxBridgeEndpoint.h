#pragma once

#include <cstdint>
#include <cstdint>
#include <string>

namespace CfgAgent {

// A bridge endpoint of a LIF; a delete carries the LIF and switch alone.
struct RtxBridgeEndpoint {
    std::string lifName;
    std::string switchUuid;
    std::string name;
    std::string clusterUuid;
    std::string dvsUuid;
    uint16_t vlan = 0;
    uint32_t vni = 0;
    bool operator==(const RtxBridgeEndpoint&) const = default;
};

}  // namespace CfgAgent
