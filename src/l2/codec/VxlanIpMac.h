#pragma once

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

// An entry of the VM IP updates: the address, IPv4 in the first 4 bytes, and its MAC.
struct VxlanIpMac {
    VxlanIp ip{};
    VxlanMac mac{};

    bool operator==(const VxlanIpMac&) const = default;
};

}  // namespace CfgAgent
