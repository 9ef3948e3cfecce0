#pragma once

#include <cstdint>
#include <string>

namespace CfgAgent {

// One row of the config table: an object's existence (property 0) or one of
// its properties, with the generation at which the store last confirmed it.
struct ConfigEntry {
    std::string objectId;
    uint32_t objectType = 0;
    uint32_t propertyType = 0;
    std::string value;
    uint32_t fullSyncVersion = 0;

    // The byte account of the table sizes.
    size_t Bytes() const { return objectId.size() + value.size() + 12; }
};

}  // namespace CfgAgent
