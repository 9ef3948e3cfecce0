#pragma once

#include <cstdint>
#include <string>
#include <vector>
#include "l3/codec/RtxPrefixEntry.h"

namespace CfgAgent {

struct RtxPrefixList {
    std::string name;
    uint32_t index = 0;
    std::vector<RtxPrefixEntry> entries;
    bool operator==(const RtxPrefixList&) const = default;
};

}  // namespace CfgAgent
