#pragma once

#include "frame/vocabulary/LoftDBUpdateMsg.h"
#include "frame/vocabulary/RecordPack.h"
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
    // The same, for the dispatcher, which hands its packed records over: a
    // component that consumes them as it goes overrides it.
    virtual void TakeDesiredState(RecordPack records, bool isFullSync) {
        UpdateDesiredState(records.TakeAll(), isFullSync);
    }
};

}  // namespace CfgAgent
