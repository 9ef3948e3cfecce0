#pragma once

#include <cstdint>
#include <cstdint>
#include <string>

namespace CfgAgent {

// A router setting by name, such as "maxArpEntries".
struct RtxTunable {
    std::string name;  // at most 63 characters
    uint32_t value = 0;
    bool operator==(const RtxTunable&) const = default;
};

}  // namespace CfgAgent
