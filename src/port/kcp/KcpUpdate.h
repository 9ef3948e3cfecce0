#pragma once

#include <vector>

#include "port/kcp/KcpData.h"

namespace CfgAgent {

struct KcpUpdate {
    bool more = false;
    std::vector<KcpData> data;

    bool operator==(const KcpUpdate&) const = default;
};

}  // namespace CfgAgent
