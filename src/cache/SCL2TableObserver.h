#pragma once

#include "frame/vocabulary/LoftDBUpdateMsg.h"

namespace CfgAgent {

// Told by the L2 table of every change of the side it registered for.
class SCL2TableObserver {
public:
    virtual void ProcessL2DesiredStateUpdate(const LoftDBUpdateList& list, bool isFullSync) = 0;
    virtual void ProcessL2RuntimeStateUpdate(const LoftDBUpdateList& list, bool isFullSync) = 0;

protected:
    ~SCL2TableObserver() = default;
};

}  // namespace CfgAgent
