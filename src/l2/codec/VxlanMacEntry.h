#pragma once

#include <cstdint>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

// Where a VM MAC lives: the 40-byte entry of MAC updates, ARP and ND updates.
struct VxlanMacEntry {
    VxlanMac vmMac{};
    VxlanMac vtepMac{};
    uint32_t vtepIp = 0;
    uint32_t vtepLabel = 0;
    uint32_t addressType = VXLAN_ADDR_IPV4;  // VxlanAddressType
    VxlanIp vtepIpv6{};

    bool operator==(const VxlanMacEntry&) const = default;
};

}  // namespace CfgAgent
