#include "frame/vocabulary/PbOpType.h"

#include <array>

namespace CfgAgent {

const char* PBOpTypeToString(uint32_t code) {
    static constexpr std::array<const char*, 13> kNames = {
        "INVALID",   "SELECT", "EQUALS", "CONTAINS_ONE", "CONTAINS_ALL", "IS_PRESENT", "NOT_EQUALS",
        "SET",       "CLEAR",  "INSERT", "APPEND",       "REMOVE",       "UPDATE",
    };
    return code < kNames.size() ? kNames[code] : "UNKNOWN (Put more into PBOpTypeToString)";
}

}  // namespace CfgAgent
