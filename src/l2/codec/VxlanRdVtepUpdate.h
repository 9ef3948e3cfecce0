#pragma once

#include <cstdint>
#include <vector>

#include "l2/codec/VxlanVtepEntry.h"

namespace CfgAgent {

struct VxlanRdVtepUpdate {
    VxlanUuid routingDomain{};
    uint32_t switchId = 0;
    uint8_t global = 0;
    std::vector<VxlanVtepEntry> removed;
    std::vector<VxlanVtepEntry> added;

    bool operator==(const VxlanRdVtepUpdate&) const = default;
};

}  // namespace CfgAgent
