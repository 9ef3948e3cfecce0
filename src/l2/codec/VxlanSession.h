#pragma once

#include <cstdint>

namespace CfgAgent {

struct VxlanSession {
    uint8_t controlType = 0;  // VxlanSessionControlType
    uint32_t sessionId = 0;

    bool operator==(const VxlanSession&) const = default;
};

}  // namespace CfgAgent
