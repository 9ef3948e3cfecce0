#pragma once

#include <cstdint>
#include <vector>

#include "l2/codec/VxlanBfdEntry.h"

namespace CfgAgent {

struct VxlanBfdUpdate {
    uint32_t switchId = 0;
    std::vector<VxlanBfdEntry> removed;
    std::vector<VxlanBfdEntry> added;

    bool operator==(const VxlanBfdUpdate&) const = default;
};

}  // namespace CfgAgent
