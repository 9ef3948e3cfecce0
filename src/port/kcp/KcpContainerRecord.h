#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "port/kcp/KcpContainerEntry.h"
#include "port/kcp/KcpTypes.h"

namespace CfgAgent {

struct KcpContainerRecord {
    std::string cifId;
    std::string portId;
    std::string vmPortId;
    std::string vmVifId;
    uint16_t vlan = 0;
    KcpMac mac{};
    std::vector<KcpContainerEntry> entries;

    bool operator==(const KcpContainerRecord&) const = default;
};

}  // namespace CfgAgent
