#pragma once

#include "l2/codec/VxlanMacEntry.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

// An entry of the ARP and ND updates: the address and where its MAC lives.
struct VxlanNeighbor {
    VxlanIp ip{};
    VxlanMacEntry mac;

    bool operator==(const VxlanNeighbor&) const = default;
};

}  // namespace CfgAgent
