#pragma once

#include <cstdint>
#include <vector>

#include "l2/codec/VxlanVtepEntry.h"

namespace CfgAgent {

struct VxlanVtepUpdate {
    uint32_t switchId = 0;
    uint32_t vni = 0;
    std::vector<VxlanVtepEntry> removed;
    std::vector<VxlanVtepEntry> added;

    bool operator==(const VxlanVtepUpdate&) const = default;
};

}  // namespace CfgAgent
