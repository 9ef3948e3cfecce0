#pragma once

#include "cache/StateCacheConfigTable.h"
#include "cache/StateCacheL2Table.h"
#include "cache/StateCacheL3Table.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"
#include "zef/RefPtr.h"

namespace CfgAgent {

// The agent's memory of desired and runtime state: the config, L2 and L3
// tables, made in that order and living as long as the cache.
class StateCache : public zef::RefCounted<StateCache, zef::IRefCountable> {
public:
    StateCache()
        : _configTable(zef::MakeRef<StateCacheConfigTable>()),
          _l2Table(zef::MakeRef<StateCacheL2Table>()),
          _l3Table(zef::MakeRef<StateCacheL3Table>()) {}

    const zef::RefPtr<StateCacheConfigTable>& ConfigTable() const { return _configTable; }
    const zef::RefPtr<StateCacheL2Table>& L2Table() const { return _l2Table; }
    const zef::RefPtr<StateCacheL3Table>& L3Table() const { return _l3Table; }

private:
    zef::RefPtr<StateCacheConfigTable> _configTable;
    zef::RefPtr<StateCacheL2Table> _l2Table;
    zef::RefPtr<StateCacheL3Table> _l3Table;
};

}  // namespace CfgAgent
