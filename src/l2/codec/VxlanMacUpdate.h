#pragma once

#include <cstdint>
#include <vector>

#include "l2/codec/VxlanMacEntry.h"

namespace CfgAgent {

// On the wire the removals come first, counted; the additions fill the rest.
struct VxlanMacUpdate {
    uint32_t switchId = 0;
    uint32_t vni = 0;
    std::vector<VxlanMacEntry> removed;
    std::vector<VxlanMacEntry> added;

    bool operator==(const VxlanMacUpdate&) const = default;
};

}  // namespace CfgAgent
