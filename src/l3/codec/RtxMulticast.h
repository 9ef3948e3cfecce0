#pragma once

#include <cstdint>
#include <cstdint>
#include <string>

namespace CfgAgent {

// A router's multicast settings.
struct RtxMulticast {
    std::string routerName;  // at most 47 characters
    uint32_t rtxId = 0;
    uint8_t enabled = 0;
    uint32_t groupStart = 0;
    uint8_t groupPrefixLength = 0;
    uint16_t querierInterval = 0;
    uint16_t maxResponseTime = 0;
    uint16_t lastMemberInterval = 0;
    uint16_t robustness = 0;
    bool operator==(const RtxMulticast&) const = default;
};

}  // namespace CfgAgent
