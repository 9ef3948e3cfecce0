#pragma once

#include <vector>

#include "cache/ConfigEntry.h"
#include "cache/L2Entry.h"
#include "cache/L3Entry.h"
#include "cli/api/CliJson.h"

namespace CfgAgent {

// Rows of the cache dumps: id, type name, generation, property name and
// the value in protobuf text form.
class CacheDump {
public:
    // The runtime side prints ids as stored; the desired side as UUID text.
    static CliJson ConfigRows(const std::vector<ConfigEntry>& rows, bool idsAsUuid);
    // With the fields of the entry's message that an operator looks for.
    static CliJson L2Rows(const std::vector<L2Entry>& rows);
    // An object's row shows its whole message; a property's, its part.
    static CliJson L3Rows(const std::vector<L3Entry>& rows);
};

}  // namespace CfgAgent
