#pragma once

#include <cstdint>

namespace CfgAgent {

struct VxlanNotification {
    uint16_t errCode = 0;
    uint16_t errSubCode = 0;

    bool operator==(const VxlanNotification&) const = default;
};

}  // namespace CfgAgent
