#pragma once

#include <vector>

#include "cache/ConfigEntry.h"
#include "cli/api/CliJson.h"

namespace CfgAgent {

// Rows of the cache dumps: id, type name, generation, property name and
// the value in protobuf text form.
class CacheDump {
public:
    // The runtime side prints ids as stored; the desired side as UUID text.
    static CliJson ConfigRows(const std::vector<ConfigEntry>& rows, bool idsAsUuid);
};

}  // namespace CfgAgent
