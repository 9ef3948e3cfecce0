#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace CfgAgent {

// One row of the L3 table, as queries hand it out: an object (property 0,
// its whole message), one single-valued property, or one entry of a list.
struct L3Entry {
    std::string objectId;
    uint32_t objectType = 0;
    uint32_t propertyType = 0;
    std::string value;
    uint32_t fullSyncVersion = 0;

    // The byte account of the table size.
    size_t Bytes() const { return objectId.size() + value.size() + 12; }
};

}  // namespace CfgAgent
