#pragma once

#include <cstdint>
#include <string>

namespace CfgAgent {

// What the port bookkeeping keeps of a VIF the kernel reported.
struct VifInfo {
    std::string vifId;
    std::string portId;
    std::string switchId;
    std::string parentVifId;
    uint8_t type = 0;  // KcpVifType

    bool operator==(const VifInfo&) const = default;
};

}  // namespace CfgAgent
