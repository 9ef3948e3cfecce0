#pragma once

#include <string>

#include "frame/vocabulary/LoftDBUpdateMsg.h"

namespace CfgAgent {

// What an observer must hear when a stored property takes a new value. Keyed
// lists (extra configs, transport switches, attached VLANs) are told element
// by element, the switch type as a delete and an update, the rest as one
// update.
class PropertyDiff {
public:
    // `record` holds the new value; the change records copy its trace and tenant.
    static LoftDBUpdateList Changes(const LoftDBUpdateMsg& record, const std::string& oldValue);
};

}  // namespace CfgAgent
