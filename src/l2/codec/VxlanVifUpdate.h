#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace CfgAgent {

struct VxlanVifUpdate {
    uint8_t status = 1;  // 1 Connected
    std::vector<std::string> vifIds;

    bool operator==(const VxlanVifUpdate&) const = default;
};

}  // namespace CfgAgent
