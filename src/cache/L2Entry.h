#pragma once

#include <cstdint>
#include <string>

#include "cache/L2ValueKey.h"

namespace CfgAgent {

// One row of the L2 table, as queries hand it out: an object's existence
// (property 0, no value) or one entry of one of its lists.
struct L2Entry {
    std::string objectId;
    uint32_t objectType = 0;
    uint32_t propertyType = 0;
    std::string value;
    L2ValueKey valueKey128;
    uint32_t fullSyncVersion = 0;

    // The byte account of the table sizes.
    size_t Bytes() const { return objectId.size() + value.size() + 28; }
};

}  // namespace CfgAgent
