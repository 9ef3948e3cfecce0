#pragma once

#include <cstdint>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

struct VxlanRdMembership {
    uint32_t switchId = 0;
    uint8_t operation = 1;  // 1 join, otherwise leave
    VxlanUuid routingDomain{};
    uint8_t global = 0;

    bool operator==(const VxlanRdMembership&) const = default;
};

}  // namespace CfgAgent
