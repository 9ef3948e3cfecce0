#pragma once

#include <cstdint>
#include <vector>

#include "port/kcp/KcpUplinkRecord.h"

namespace CfgAgent {

struct KcpUplinkUpdate {
    uint8_t operation = 0;  // KcpOperation
    std::vector<KcpUplinkRecord> records;

    bool operator==(const KcpUplinkUpdate&) const = default;
};

}  // namespace CfgAgent
