#pragma once

#include <cstdint>

namespace CfgAgent {

// The router module's global settings; what a delete of them sends.
struct RtxGlobal {
    uint8_t forwardingMode = 1;
    uint32_t mtu = 1500;
    uint32_t arpLimit = 50000;
    uint8_t ecmp = 1;      // 1 off, 2 on
    uint8_t softRss = 1;   // 2 enabled, 1 not

    bool operator==(const RtxGlobal&) const = default;
};

}  // namespace CfgAgent
