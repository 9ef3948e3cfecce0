#pragma once

#include <cstdint>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

// The 36-byte member entry of a VTEP group of any kind but 3.
struct VxlanGroupMember {
    uint32_t vtepIp = 0;
    uint32_t vtepLabel = 0;
    uint32_t addressType = VXLAN_ADDR_IPV4;  // VxlanAddressType
    VxlanIp vtepIpv6{};
    VxlanMac vtepMac{};
    uint8_t encapType = VXLAN_ENCAP_VXLAN;
    uint8_t mtepCapability = 1;

    bool operator==(const VxlanGroupMember&) const = default;
};

}  // namespace CfgAgent
