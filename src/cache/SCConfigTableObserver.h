#pragma once

#include "frame/vocabulary/LoftDBUpdateMsg.h"

namespace CfgAgent {

// Told by the config table of what changed, per object type it registered for.
class SCConfigTableObserver {
public:
    virtual void ProcessConfigDesiredStateUpdate(const LoftDBUpdateList& list, bool isFullSync) = 0;
    virtual void ProcessConfigRuntimeStateUpdate(const LoftDBUpdateList& list, bool isFullSync) = 0;

protected:
    ~SCConfigTableObserver() = default;
};

}  // namespace CfgAgent
