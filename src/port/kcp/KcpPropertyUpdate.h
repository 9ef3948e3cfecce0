#pragma once

#include <cstdint>
#include <vector>

#include "port/kcp/KcpPropertyRecord.h"

namespace CfgAgent {

struct KcpPropertyUpdate {
    uint8_t operation = 0;  // KcpOperation
    std::vector<KcpPropertyRecord> records;

    bool operator==(const KcpPropertyUpdate&) const = default;
};

}  // namespace CfgAgent
