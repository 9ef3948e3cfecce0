#pragma once

#include <cstdint>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

// A logical switch (by VNI) or a routing domain using a VTEP group.
struct VxlanGroupAssociation {
    bool routingDomainSide = false;  // data type 15 rather than 14
    uint32_t switchId = 0;
    uint32_t vni = 0;
    VxlanUuid routingDomain{};
    bool deleted = false;
    uint32_t label = 0;

    bool operator==(const VxlanGroupAssociation&) const = default;
};

}  // namespace CfgAgent
