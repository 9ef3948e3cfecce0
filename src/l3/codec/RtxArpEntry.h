#pragma once

#include <cstdint>
#include "dplink/MacNumber.h"
#include "l3/codec/RtxTypes.h"

namespace CfgAgent {

// One entry of a LIF's ARP table; a removed one carries no MAC.
struct RtxArpEntry {
    bool ipv6 = false;
    RtxIp ip{};
    MacBytes mac{};
    bool operator==(const RtxArpEntry&) const = default;
};

}  // namespace CfgAgent
