#pragma once

#include <cstdint>

namespace CfgAgent {

struct KcpSessionControl {
    uint8_t controlType = 0;  // KcpSessionControlType
    uint32_t sessionId = 0;
    uint16_t maxMessageLength = 0;

    bool operator==(const KcpSessionControl&) const = default;
};

}  // namespace CfgAgent
