#pragma once

#include <compare>
#include <cstdint>

namespace CfgAgent {

// The identity of an L2 entry within its object and property: what makes two
// reports of one VTEP, MAC or IP the same entry though other fields differ.
struct L2ValueKey {
    uint64_t part[2] = {0, 0};

    auto operator<=>(const L2ValueKey&) const = default;
};

}  // namespace CfgAgent
