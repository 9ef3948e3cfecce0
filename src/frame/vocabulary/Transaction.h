#pragma once

#include <cstdint>
#include <map>

#include "frame/vocabulary/ComponentType.h"
#include "frame/vocabulary/RecordPack.h"

namespace CfgAgent {

// One store transaction as it lies in the update queue: each component's
// share, in ascending ComponentType, handed over whole.
struct Transaction {
    std::map<ComponentType, RecordPack> updates;
    bool isFullSync = false;
    uint64_t transactionId = 0;
    // When the barrier closed it, on the stage clock; 0 when it does not run.
    uint64_t closedAt = 0;
};

}  // namespace CfgAgent
