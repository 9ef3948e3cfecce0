#pragma once

#include "frame/vocabulary/LoftDBUpdateMsg.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"

namespace CfgAgent {

// Base of every receiver of store transactions. Each concrete class derives
// from zef::RefCounted<Itself, Component>.
class Component : public zef::RefCounted<Component, zef::IRefCountable> {
public:
    // One component's share of one store transaction, on the dispatcher's
    // thread. The list stays the caller's.
    virtual void UpdateDesiredState(const LoftDBUpdateList& list, bool isFullSync) = 0;
    // The same, for a caller that hands the list over: a component that
    // consumes its records as it goes overrides it.
    virtual void TakeDesiredState(LoftDBUpdateList list, bool isFullSync) {
        UpdateDesiredState(list, isFullSync);
    }
};

}  // namespace CfgAgent
