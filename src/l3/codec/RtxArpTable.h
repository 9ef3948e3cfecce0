#pragma once

#include <cstdint>
#include <string>
#include <vector>
#include "l3/codec/RtxArpEntry.h"

namespace CfgAgent {

// Removals and additions of one LIF's ARP table.
struct RtxArpTable {
    uint32_t rtxId = 0;
    std::string lifName;
    std::vector<RtxArpEntry> removed;
    std::vector<RtxArpEntry> added;
    bool operator==(const RtxArpTable&) const = default;
};

}  // namespace CfgAgent
