#include "frame/AgentLock.h"

namespace CfgAgent {

std::shared_ptr<std::recursive_mutex> agentLockHandle() {
    static const std::shared_ptr<std::recursive_mutex> lock =
        std::make_shared<std::recursive_mutex>();
    return lock;
}

std::recursive_mutex& agentLock() { return *agentLockHandle(); }

}  // namespace CfgAgent
