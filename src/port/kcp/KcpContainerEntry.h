#pragma once

#include "port/kcp/KcpTypes.h"

namespace CfgAgent {

struct KcpContainerEntry {
    bool ipv4 = true;
    KcpIp ip{};
    KcpMac mac{};

    bool operator==(const KcpContainerEntry&) const = default;
};

}  // namespace CfgAgent
