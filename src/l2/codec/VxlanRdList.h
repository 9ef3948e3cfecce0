#pragma once

#include <cstdint>
#include <vector>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

// All routing domains of one overlay instance.
struct VxlanRdList {
    uint32_t switchId = 0;
    uint8_t flag = 0;  // always 0 from the agent
    std::vector<VxlanUuid> routingDomains;

    bool operator==(const VxlanRdList&) const = default;
};

}  // namespace CfgAgent
