#pragma once

#include <string>

namespace CfgAgent {

struct KcpUplinkRecord {
    std::string uplinkPortId;
    std::string switchId;
    std::string clientName;
    std::string alias;

    bool operator==(const KcpUplinkRecord&) const = default;
};

}  // namespace CfgAgent
