#pragma once

#include <vector>

#include "port/KcpData.h"

namespace CfgAgent {

struct KcpUpdate {
    bool more = false;
    std::vector<KcpData> data;

    bool operator==(const KcpUpdate&) const = default;
};

}  // namespace CfgAgent
