#pragma once

#include "cache/StateCacheConfigTable.h"
#include "cache/StateCacheL2Table.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"
#include "zef/RefPtr.h"

namespace CfgAgent {

// The agent's memory of desired and runtime state. The L3 table joins the
// config and L2 tables here when it is built.
class StateCache : public zef::RefCounted<StateCache, zef::IRefCountable> {
public:
    StateCache()
        : _configTable(zef::MakeRef<StateCacheConfigTable>()),
          _l2Table(zef::MakeRef<StateCacheL2Table>()) {}

    const zef::RefPtr<StateCacheConfigTable>& ConfigTable() const { return _configTable; }
    const zef::RefPtr<StateCacheL2Table>& L2Table() const { return _l2Table; }

private:
    zef::RefPtr<StateCacheConfigTable> _configTable;
    zef::RefPtr<StateCacheL2Table> _l2Table;
};

}  // namespace CfgAgent
