#pragma once

#include <cstdint>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

struct VxlanControllerIp {
    uint32_t switchId = 0;
    uint32_t vni = 0;
    uint32_t addressType = VXLAN_ADDR_IPV4;  // VxlanAddressType
    uint32_t ipv4 = 0;
    VxlanIp ipv6{};

    bool operator==(const VxlanControllerIp&) const = default;
};

}  // namespace CfgAgent
