#pragma once

#include <vector>

namespace halden::zef::loftdb {
class ModifyRequestMsg;
}

namespace CfgAgent {

// The agent's gate to the store, as applications hold it.
class ILoftdbClient {
public:
    // Queues the requests for the write loop; an empty list is dropped.
    virtual void Write(const std::vector<halden::zef::loftdb::ModifyRequestMsg>& list) = 0;
    virtual void RegisterCradleVifMonitor() = 0;

protected:
    ~ILoftdbClient() = default;
};

}  // namespace CfgAgent
