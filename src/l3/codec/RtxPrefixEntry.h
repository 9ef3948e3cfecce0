#pragma once

#include <cstdint>
#include "l3/codec/RtxTypes.h"

namespace CfgAgent {

// One line of a prefix list.
struct RtxPrefixEntry {
    uint8_t action = 0;  // 1, 2, or 0 for anything else
    bool ipv6 = false;
    uint8_t prefixLength = 0;
    RtxIp address{};
    bool operator==(const RtxPrefixEntry&) const = default;
};

}  // namespace CfgAgent
