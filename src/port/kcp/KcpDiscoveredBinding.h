#pragma once

#include <cstdint>

#include "port/kcp/KcpTypes.h"

namespace CfgAgent {

// An address the kernel saw a VIF use.
struct KcpDiscoveredBinding {
    bool ipv4 = true;
    KcpIp ip{};
    KcpMac mac{};
    uint16_t vlan = 0;
    uint8_t method = 0;
    // Host order on the wire, unlike every other number.
    uint64_t timestamp = 0;

    bool operator==(const KcpDiscoveredBinding&) const = default;
};

}  // namespace CfgAgent
