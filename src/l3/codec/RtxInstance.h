#pragma once

#include <cstdint>
#include <string>

#include "l3/codec/RtxTypes.h"

namespace CfgAgent {

// One router instance of an INSTANCE LIST; a delete leaves the DAD fields 0.
struct RtxInstance {
    uint16_t operation = RTX_INSTANCE_ADD;  // RtxInstanceOperation
    uint32_t rtxId = 0;
    std::string name;
    uint8_t dadMode = 0;
    uint32_t waitTime = 0;
    uint32_t maxRetries = 0;

    bool operator==(const RtxInstance&) const = default;
};

}  // namespace CfgAgent
