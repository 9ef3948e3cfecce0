#pragma once

#include <cstdint>
#include <vector>

namespace CfgAgent {

struct VxlanLinkChange {
    struct Entry {
        uint32_t vni = 0;
        uint8_t mcastProxy = 0;
        uint8_t arpProxy = 0;

        bool operator==(const Entry&) const = default;
    };

    uint32_t switchId = 0;
    uint8_t operation = 0;  // VxlanLinkOperation
    std::vector<Entry> entries;

    bool operator==(const VxlanLinkChange&) const = default;
};

}  // namespace CfgAgent
