#pragma once

#include <cstdint>
#include <string>
#include "l3/codec/RtxTypes.h"

namespace CfgAgent {

// The DAD state of one address, as the agent tells the kernel.
struct RtxDadStatus {
    RtxIp ip{};
    uint8_t state = 0;
    std::string version;  // the version UUID's text
    bool operator==(const RtxDadStatus&) const = default;
};

}  // namespace CfgAgent
