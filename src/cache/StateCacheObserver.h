#pragma once

#include "cache/SCConfigTableObserver.h"
#include "cache/SCL2TableObserver.h"
#include "cache/StateCache.h"
#include "store/ILoftdbClient.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"
#include "zef/RefPtr.h"

namespace CfgAgent {

// The way back to the store: every runtime change of the tables becomes one
// store operation, written through the client's queue. It keeps no state and
// judges nothing.
class StateCacheObserver : public zef::RefCounted<StateCacheObserver, zef::IRefCountable>,
                           public SCConfigTableObserver,
                           public SCL2TableObserver {
public:
    // The store client outlives the observer.
    StateCacheObserver(ILoftdbClient& loftdbClient, zef::RefPtr<StateCache> stateCache);

    bool Start();
    bool Stop();

    void ProcessConfigDesiredStateUpdate(const LoftDBUpdateList&, bool) override {}
    void ProcessConfigRuntimeStateUpdate(const LoftDBUpdateList& list, bool isFullSync) override;
    void ProcessL2DesiredStateUpdate(const LoftDBUpdateList&, bool) override {}
    // The runtime side of the L2 table: LOG_SWITCH_STATE and ROUTING_DOMAIN_VTEP.
    void ProcessL2RuntimeStateUpdate(const LoftDBUpdateList& list, bool isFullSync) override;

private:
    ILoftdbClient& _loftdbClient;
    zef::RefPtr<StateCache> _stateCache;
};

}  // namespace CfgAgent
