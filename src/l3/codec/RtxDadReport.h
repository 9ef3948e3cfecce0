#pragma once

#include <cstdint>
#include <string>

#include "l3/codec/RtxTypes.h"

namespace CfgAgent {

// What the kernel reports of one address's duplicate detection.
struct RtxDadReport {
    std::string lifName;
    RtxIp ip{};
    uint8_t status = 0;
    std::string version;  // empty: none

    bool operator==(const RtxDadReport&) const = default;
};

}  // namespace CfgAgent
