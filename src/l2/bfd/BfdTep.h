#pragma once

#include <compare>
#include <cstdint>
#include <string>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

// One tunnel endpoint as BFD sees it: its address, IPv4 in the first four
// bytes, and its label.
struct BfdTep {
    bool ipv6 = false;
    VxlanIp ip{};
    uint32_t label = 0;

    // From a stored VTEP: IPv4 when it has one, else its IPv6.
    static BfdTep FromVtep(const std::string& value);
    std::string Text() const;

    auto operator<=>(const BfdTep&) const = default;
};

}  // namespace CfgAgent
