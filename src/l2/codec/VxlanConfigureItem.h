#pragma once

#include <cstdint>
#include <string>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

// One item of a Configure; which fields count depends on the type.
struct VxlanConfigureItem {
    uint16_t type = VXLAN_CFG_MAX_MSG_LEN;  // VxlanConfigureItemType
    // Items 1 to 7; the Type of item 9.
    uint16_t number = 0;
    // Items 8 and 9.
    std::string hdsId;
    uint8_t latencyEnable = 0;
    uint8_t flags = 0;
    uint8_t enable = 0;  // also the operation byte of items 257 and 258
    uint32_t interval = 0;
    uint32_t multiplier = 0;
    // Items 257 to 261.
    uint32_t switchId = 0;
    uint32_t vni = 0;
    VxlanUuid routingDomain{};
    uint32_t macLimit = 0;

    bool operator==(const VxlanConfigureItem&) const = default;
};

}  // namespace CfgAgent
