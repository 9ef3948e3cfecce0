#pragma once

#include <cstdint>
#include <vector>

#include "l2/codec/VxlanIpMac.h"

namespace CfgAgent {

struct VxlanIpUpdate {
    bool ipv6 = false;  // data type 3 rather than 2
    uint32_t switchId = 0;
    uint32_t vni = 0;
    std::vector<VxlanIpMac> removed;
    std::vector<VxlanIpMac> added;

    bool operator==(const VxlanIpUpdate&) const = default;
};

}  // namespace CfgAgent
