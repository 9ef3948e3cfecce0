#pragma once

#include <string>
#include <vector>

namespace CfgAgent {

struct KcpPortContainerList {
    std::string vifId;
    std::vector<std::string> containerVifIds;

    bool operator==(const KcpPortContainerList&) const = default;
};

}  // namespace CfgAgent
