#pragma once

#include <memory>

namespace halden::zef::sha {
class AgentsMetricsMsg;
}

namespace CfgAgent {

// The combined status the process monitor collects from the agent.
class ShaStatus {
public:
    static constexpr const char* kCollectionName = "combined.message";
    static constexpr const char* kStoreConnectionName = "cfgagent-loftdb-connection";

    static std::shared_ptr<halden::zef::sha::AgentsMetricsMsg> CombinedMessage(bool storeConnected);
};

}  // namespace CfgAgent
