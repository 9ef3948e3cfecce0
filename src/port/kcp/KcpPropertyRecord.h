#pragma once

#include <string>
#include <vector>

#include "port/kcp/KcpProperty.h"

namespace CfgAgent {

// A port record (keyed by VIF ID) or a taknic record (keyed by taknic name).
struct KcpPropertyRecord {
    std::string id;
    std::vector<KcpProperty> properties;

    bool operator==(const KcpPropertyRecord&) const = default;
};

}  // namespace CfgAgent
