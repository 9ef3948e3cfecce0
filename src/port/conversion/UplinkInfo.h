#pragma once

#include <string>

namespace CfgAgent {

// One uplink of a host switch, as the kernel reported it.
struct UplinkInfo {
    std::string name;
    std::string alias;
    std::string portId;
    std::string switchId;

    bool operator==(const UplinkInfo&) const = default;
};

}  // namespace CfgAgent
