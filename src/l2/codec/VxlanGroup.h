#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "l2/codec/VxlanGroupMember.h"
#include "l2/codec/VxlanVtepEntry.h"

namespace CfgAgent {

// A VTEP group. A delete carries the label alone; otherwise a group of kind
// 3 lists VTEP entries and any other kind member entries.
struct VxlanGroup {
    uint32_t label = 0;
    bool deleted = false;
    std::vector<uint32_t> values;
    uint8_t kind = 0;
    std::array<uint8_t, 2> policy{};
    std::vector<VxlanGroupMember> members;
    std::vector<VxlanVtepEntry> vteps;

    bool operator==(const VxlanGroup&) const = default;
};

}  // namespace CfgAgent
