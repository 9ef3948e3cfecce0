#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "l3/codec/RtxTypes.h"

namespace CfgAgent {

// A next hop of a route: 70 bytes on the wire for IPv4, 82 for IPv6.
struct RtxNextHop {
    // 1 with an address, 3 without, 4 for the store's third optional field.
    uint8_t type = 1;
    std::string egress;  // at most 63 characters
    RtxIp address{};

    bool operator==(const RtxNextHop&) const = default;
};

// One route of a router: a destination and, when added, its next hops.
struct RtxRoute {
    uint32_t rtxId = 0;
    bool ipv6 = false;
    uint8_t prefixLength = 0;
    RtxIp destination{};
    std::vector<RtxNextHop> nextHops;

    bool operator==(const RtxRoute&) const = default;
};

}  // namespace CfgAgent
