#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "port/kcp/KcpProperty.h"

namespace CfgAgent {

// Properties of one host switch; unlike port records it carries its own
// operation.
struct KcpHdsRecord {
    std::string hdsId;
    uint8_t operation = 0;  // KcpOperation
    std::vector<KcpProperty> properties;

    bool operator==(const KcpHdsRecord&) const = default;
};

}  // namespace CfgAgent
