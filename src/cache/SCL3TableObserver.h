#pragma once

#include "frame/vocabulary/LoftDBUpdateMsg.h"

namespace CfgAgent {

// Told by the L3 table of every change, and of every full sync as one.
class SCL3TableObserver {
public:
    virtual void ProcessL3DesiredStateUpdate(const LoftDBUpdateList& list, bool isFullSync) = 0;

protected:
    ~SCL3TableObserver() = default;
};

}  // namespace CfgAgent
