#pragma once

#include <cstdint>

namespace CfgAgent {

// An overlay instance and one byte about it: an instance change (1 join,
// otherwise leave) or a global replication change (nonzero enable).
struct VxlanSwitchFlag {
    uint32_t switchId = 0;
    uint8_t value = 0;

    bool operator==(const VxlanSwitchFlag&) const = default;
};

}  // namespace CfgAgent
