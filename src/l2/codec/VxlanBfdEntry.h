#pragma once

#include <cstdint>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

// One BFD session between two VTEPs; an IPv4 address takes the first 4 bytes.
struct VxlanBfdEntry {
    VxlanIp localVtep{};
    VxlanIp remoteVtep{};
    uint8_t family = 0;  // 0 IPv4, 1 IPv6
    uint32_t vni = 0;
    VxlanUuid routingDomain{};
    uint32_t vgLabel = 0;

    bool operator==(const VxlanBfdEntry&) const = default;
};

}  // namespace CfgAgent
