#pragma once

#include <cstdint>
#include <vector>

#include "port/kcp/KcpVifRecord.h"

namespace CfgAgent {

struct KcpVifUpdate {
    uint8_t operation = 0;  // KcpOperation, kept as received
    std::vector<KcpVifRecord> records;

    bool operator==(const KcpVifUpdate&) const = default;
};

}  // namespace CfgAgent
