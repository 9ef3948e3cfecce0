#pragma once

#include <cstdint>
#include <vector>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

// One data TLV of a Query: MACs for data type 4, addresses for 6 and 7.
struct VxlanQuery {
    uint16_t dataType = VXLAN_DATATYPE_VMMAC;
    uint32_t switchId = 0;
    uint32_t vni = 0;
    std::vector<VxlanMac> macs;
    std::vector<VxlanIp> ips;

    bool operator==(const VxlanQuery&) const = default;
};

}  // namespace CfgAgent
