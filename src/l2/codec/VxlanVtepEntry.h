#pragma once

#include <cstdint>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

// The 57-byte VTEP entry of membership updates and of VTEP groups of kind 3.
struct VxlanVtepEntry {
    uint32_t vtepIp = 0;
    uint32_t vtepLabel = 0;
    uint32_t segmentId = 0;
    VxlanMac vtepMac{};
    uint8_t encapType = VXLAN_ENCAP_VXLAN;  // VxlanEncapType
    uint8_t mtepCapability = 1;
    uint32_t addressType = VXLAN_ADDR_IPV4;  // VxlanAddressType
    VxlanIp vtepIpv6{};
    VxlanIp segmentIdv6{};

    bool operator==(const VxlanVtepEntry&) const = default;
};

}  // namespace CfgAgent
