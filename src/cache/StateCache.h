#pragma once

#include "cache/StateCacheConfigTable.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"
#include "zef/RefPtr.h"

namespace CfgAgent {

// The agent's memory of desired and runtime state. The L2 and L3 tables
// join the config table here as they are built.
class StateCache : public zef::RefCounted<StateCache, zef::IRefCountable> {
public:
    StateCache() : _configTable(zef::MakeRef<StateCacheConfigTable>()) {}

    const zef::RefPtr<StateCacheConfigTable>& ConfigTable() const { return _configTable; }

private:
    zef::RefPtr<StateCacheConfigTable> _configTable;
};

}  // namespace CfgAgent
