#pragma once

#include <cstdint>

namespace CfgAgent {

// Told by the daemon health monitor when a daemon it watches comes or goes.
class IDaemonHealthListener {
public:
    enum HealthSource : uint32_t {
        HEALTH_LOFTDB = 1,
        HEALTH_PROXY = 2,
    };

    // `value` 1 connected, 0 not; `source` a HealthSource. Called under agentLock.
    virtual void OnDaemonHealthStateUpdate(uint32_t value, uint32_t source) = 0;

protected:
    ~IDaemonHealthListener() = default;
};

}  // namespace CfgAgent
