#pragma once

#include <cstdint>

namespace CfgAgent {

struct VxlanVniMembership {
    uint32_t switchId = 0;
    uint32_t vni = 0;
    uint8_t operation = 1;  // 1 join, otherwise leave

    bool operator==(const VxlanVniMembership&) const = default;
};

}  // namespace CfgAgent
