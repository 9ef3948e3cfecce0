#include "frame/vocabulary/ComponentType.h"

#include <array>

namespace CfgAgent {

const char* CompTypeToString(uint32_t code) {
    static constexpr std::array<const char*, 12> kNames = {
        nullptr, "CONFIGCACHE", "L2CACHE", "L3CACHE", "DFW", "CONFIGAPP",
        "L2APP", "SIAPP",       "LB",      "IDS",     "TF",  "BFD",
    };
    if (code < kNames.size() && kNames[code] != nullptr) {
        return kNames[code];
    }
    return "UNKNOWN (Put more into CompTypeToString)";
}

}  // namespace CfgAgent
