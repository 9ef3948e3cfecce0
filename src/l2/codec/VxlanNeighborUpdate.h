#pragma once

#include <cstdint>
#include <vector>

#include "l2/codec/VxlanNeighbor.h"

namespace CfgAgent {

// ARP or ND entries; these carry no removed count.
struct VxlanNeighborUpdate {
    bool ipv6 = false;  // data type 7 rather than 6
    uint32_t switchId = 0;
    uint32_t vni = 0;
    std::vector<VxlanNeighbor> entries;

    bool operator==(const VxlanNeighborUpdate&) const = default;
};

}  // namespace CfgAgent
