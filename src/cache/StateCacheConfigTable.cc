#include "cache/StateCacheConfigTable.h"

#include <map>
#include <mutex>

#include "cache/PropertyDiff.h"
#include "frame/AgentConfig.h"
#include "frame/AgentLock.h"
#include "frame/DelayLog.h"
#include "log/Logger.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"

namespace CfgAgent {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

LoftDBUpdateMsg DeleteRecord(const ConfigEntry& entry, const std::string& traceInfo) {
    LoftDBUpdateMsg record(entry.objectType, entry.objectId, OP_DELETE, entry.propertyType,
                           entry.value);
    record.traceInfo = traceInfo;
    return record;
}

bool Instrumented() { return AgentConfig::Settings().instrumentConfigCache; }

// What a new value of a stored property means to observers: the desired
// side tells the property diff, the runtime side one plain update.
LoftDBUpdateList ValueChanges(const LoftDBUpdateMsg& record, const std::string& oldValue,
                              bool diffProperties) {
    if (diffProperties) {
        return PropertyDiff::Changes(record, oldValue);
    }
    return {LoftDBUpdateMsg(record.objectType, record.objectId, OP_UPDATE, record.propertyType,
                            record.propertyValue)};
}

}  // namespace

bool StateCacheConfigTable::Apply(Side& side, const LoftDBUpdateList& list, bool isFullSync,
                                  bool diffProperties, LoftDBUpdateList& changes) {
    for (const LoftDBUpdateMsg& record : list) {
        // Changes of a type nobody observes would never be told: none are made.
        const bool heard = side.observers.Observed(record.objectType);
        auto tell = [&](LoftDBUpdateMsg change) {
            if (heard) {
                changes.push_back(std::move(change));
            }
        };
        if (record.objectType == 0) {
            CFG_LOG(LL_ERROR, "ConfigCache: received invalid object from controller");
            continue;
        }
        const bool object = record.propertyType == 0;
        if (record.operation == OP_DELETE && object) {
            CFG_LOG(LL_INFO, "ConfigCache: Remove object %1 type %2",
                    UuidBytesToString(record.objectId), record.objectType);
            for (const ConfigEntry& erased : side.rows.EraseObject(record.objectId, record.objectType)) {
                if (erased.propertyType != 0) {
                    tell(DeleteRecord(erased, record.traceInfo));
                }
            }
            LoftDBUpdateMsg gone = record;
            gone.propertyValue.clear();
            tell(std::move(gone));
        } else if (record.operation == OP_UPDATE && object) {
            if (!side.rows.HasObject(record.objectId, record.objectType)) {
                CFG_LOG(LL_INFO, "ConfigCache: Add object %1 type %2",
                        UuidBytesToString(record.objectId), record.objectType);
                side.rows.Insert({record.objectId, record.objectType, 0, {}, side.version});
                tell(record);
            } else if (isFullSync) {
                side.rows.Confirm(record.objectId, record.objectType, 0, side.version);
            } else {
                CFG_LOG(LL_TRACE, "ConfigCache: create existing object operation!");
            }
        } else if (record.operation == OP_DELETE) {
            for (const ConfigEntry& erased :
                 side.rows.EraseProperty(record.objectId, record.propertyType)) {
                CFG_LOG(LL_DEBUG, "ConfigCache: Remove object %1 property %2",
                        UuidBytesToString(erased.objectId), erased.propertyType);
                tell(DeleteRecord(erased, record.traceInfo));
            }
        } else if (record.operation == OP_UPDATE) {
            std::optional<ConfigEntry> current =
                side.rows.FindProperty(record.objectId, record.propertyType);
            if (!current) {
                CFG_LOG(LL_DEBUG, "ConfigCache: Add object %1 property %2",
                        UuidBytesToString(record.objectId), record.propertyType);
                side.rows.Insert({record.objectId, record.objectType, record.propertyType,
                                  record.propertyValue, side.version});
                tell(record);
                continue;
            }
            if (current->value != record.propertyValue) {
                if (heard) {
                    changes.splice(changes.end(),
                                   ValueChanges(record, current->value, diffProperties));
                }
                CFG_LOG(LL_DEBUG, "ConfigCache: Update object %1 property %2",
                        UuidBytesToString(record.objectId), record.propertyType);
                side.rows.SetValue(record.objectId, record.propertyType, record.propertyValue);
            }
            if (isFullSync) {
                side.rows.Confirm(record.objectId, record.objectType, record.propertyType,
                                  side.version);
            }
        } else {
            CFG_LOG(LL_ERROR, "ConfigCache: unsupported operation %1", record.operation)
                .Tag("errorCode:LCP00007");
            return false;
        }
    }
    return true;
}

void StateCacheConfigTable::Update(Side& side, const LoftDBUpdateList& list, bool isFullSync,
                                   bool desired) {
    Lock guard(agentLock());
    // A full sync starts a generation; what it does not confirm is stale.
    // An empty runtime full sync confirms nothing, so everything goes.
    const bool newGeneration = isFullSync && (desired || !list.empty());
    if (newGeneration) {
        ++side.version;
    }
    LoftDBUpdateList changes;
    if (!Apply(side, list, isFullSync, desired, changes)) {
        return;
    }
    if (isFullSync) {
        std::vector<ConfigEntry> stale =
            side.rows.EraseOlderThan(newGeneration ? side.version : side.version + 1);
        LoftDBUpdateList properties;
        LoftDBUpdateList objects;
        for (const ConfigEntry& entry : stale) {
            (entry.propertyType != 0 ? properties : objects).push_back(DeleteRecord(entry, {}));
        }
        properties.splice(properties.end(), objects);
        changes.splice(changes.begin(), properties);
    }
    bool flag = false;
    if (!side.updated) {
        side.updated = true;
        flag = isFullSync;
    }
    if (flag || !changes.empty()) {
        Notify(side, changes, flag, desired);
    }
}

void StateCacheConfigTable::UpdateDesiredState(const LoftDBUpdateList& list, bool isFullSync) {
    DelayLog delay(Instrumented(), "ConfigCache UpdateDesiredState");
    Update(_desired, list, isFullSync, true);
}

void StateCacheConfigTable::UpdateRuntimeState(const LoftDBUpdateList& list, bool isFullSync) {
    Update(_runtime, list, isFullSync, false);
}

void StateCacheConfigTable::Notify(Side& side, const LoftDBUpdateList& changes, bool flag,
                                   bool desired) {
    std::map<SCConfigTableObserver*, LoftDBUpdateList> lists;
    if (flag) {
        for (SCConfigTableObserver* observer : side.observers.Ordered()) {
            lists[observer];
        }
    }
    for (const LoftDBUpdateMsg& change : changes) {
        side.observers.ForType(change.objectType, [&](SCConfigTableObserver* observer) {
            lists[observer].push_back(change);
        });
    }
    for (SCConfigTableObserver* observer : side.observers.Ordered()) {
        auto it = lists.find(observer);
        if (it == lists.end()) {
            continue;
        }
        if (desired) {
            DelayLog delay(Instrumented(), "ConfigCache NotifyDesiredStateObservers");
            observer->ProcessConfigDesiredStateUpdate(it->second, flag);
        } else {
            DelayLog delay(Instrumented(), "ConfigCache NotifyRuntimeStateObservers");
            observer->ProcessConfigRuntimeStateUpdate(it->second, flag);
        }
    }
}

bool StateCacheConfigTable::RegisterObserver(Side& side, const char* sideName, uint32_t objectType,
                                             SCConfigTableObserver* observer) {
    Lock guard(agentLock());
    switch (side.observers.Register(objectType, observer)) {
        case ObserverRegistry<SCConfigTableObserver>::Result::Null:
            CFG_LOG(LL_ERROR, "ConfigCache: register NULL %1 state observer!", sideName);
            return false;
        case ObserverRegistry<SCConfigTableObserver>::Result::Existing:
            CFG_LOG(LL_ERROR, "ConfigCache: register existing %1 state observer (%2)!", sideName,
                    static_cast<const void*>(observer));
            return false;
        default:
            return true;
    }
}

bool StateCacheConfigTable::UnregisterObserver(Side& side, const char* sideName,
                                               SCConfigTableObserver* observer) {
    Lock guard(agentLock());
    if (observer == nullptr) {
        CFG_LOG(LL_ERROR, "ConfigCache: unregister NULL %1 state observer!", sideName);
        return false;
    }
    side.observers.Unregister(observer);
    return true;
}

bool StateCacheConfigTable::RegisterDesiredStateObserver(uint32_t objectType,
                                                         SCConfigTableObserver* observer) {
    return RegisterObserver(_desired, "desired", objectType, observer);
}

bool StateCacheConfigTable::RegisterRuntimeStateObserver(uint32_t objectType,
                                                         SCConfigTableObserver* observer) {
    return RegisterObserver(_runtime, "runtime", objectType, observer);
}

bool StateCacheConfigTable::UnregisterDesiredStateObserver(SCConfigTableObserver* observer) {
    return UnregisterObserver(_desired, "desired", observer);
}

bool StateCacheConfigTable::UnregisterRuntimeStateObserver(SCConfigTableObserver* observer) {
    return UnregisterObserver(_runtime, "runtime", observer);
}

bool StateCacheConfigTable::GetObjectsByType(uint32_t objectType, uint32_t propertyType,
                                             std::vector<ConfigEntry>& rows) {
    Lock guard(agentLock());
    rows = _desired.rows.ByType(objectType, propertyType);
    if (rows.empty()) {
        CFG_LOG(LL_DEBUG, "ConfigCache: object does not exist: objectType %1 propertyType %2",
                objectType, propertyType);
        return false;
    }
    return true;
}

bool StateCacheConfigTable::GetObjectProperty(uint32_t objectType, uint32_t propertyType,
                                              const std::string& id, std::string& value) {
    Lock guard(agentLock());
    for (const ConfigEntry& entry : _desired.rows.ByIdAndType(id, objectType)) {
        if (entry.propertyType == propertyType) {
            value = entry.value;
            return true;
        }
    }
    return false;
}

bool StateCacheConfigTable::GetPropertyValue(const std::string& id, uint32_t propertyType,
                                             std::string& value) {
    Lock guard(agentLock());
    std::vector<ConfigEntry> rows = _desired.rows.ById(id);
    if (rows.empty()) {
        CFG_LOG(LL_DEBUG, "ConfigCache: property does not exist: %1, %2 with type: %3",
                UuidBytesToString(id), propertyType, "");
        return false;
    }
    for (const ConfigEntry& entry : rows) {
        if (entry.propertyType != 0 && entry.propertyType == propertyType) {
            value = entry.value;
            return true;
        }
    }
    CFG_LOG(LL_DEBUG, "ConfigCache: object exists, but property does not exist: %1, %2, %3",
            UuidBytesToString(id), rows.front().objectType, propertyType);
    return false;
}

std::vector<ConfigEntry> StateCacheConfigTable::GetObjectById(const std::string& id) {
    Lock guard(agentLock());
    return _desired.rows.ById(id);
}

bool StateCacheConfigTable::GetRuntimeValue(const std::string& id, uint32_t propertyType,
                                            std::string& value) {
    Lock guard(agentLock());
    std::optional<ConfigEntry> entry = _runtime.rows.FindProperty(id, propertyType);
    if (!entry) {
        CFG_LOG(LL_DEBUG, "ConfigCache: state does not exist: %1, %2", UuidBytesToString(id),
                propertyType);
        return false;
    }
    if (entry->value.empty()) {
        CFG_LOG(LL_DEBUG, "ConfigCache: Object %1 with state %2 has no property value",
                UuidBytesToString(id), propertyType);
        return false;
    }
    value = entry->value;
    return true;
}

std::vector<std::string> StateCacheConfigTable::GetIdsOfType(uint32_t objectType) {
    Lock guard(agentLock());
    std::vector<std::string> ids;
    for (const ConfigEntry& entry : _desired.rows.ByType(objectType, 0)) {
        ids.push_back(UuidBytesToString(entry.objectId));
    }
    return ids;
}

bool StateCacheConfigTable::GetObjectType(const std::string& id, uint32_t& objectType) {
    Lock guard(agentLock());
    std::vector<ConfigEntry> rows = _desired.rows.ById(id);
    if (rows.empty()) {
        CFG_LOG(LL_DEBUG, "ConfigCache: object does not exist: objectId %1", UuidBytesToString(id));
        return false;
    }
    objectType = rows.front().objectType;
    return true;
}

std::vector<ConfigEntry> StateCacheConfigTable::DesiredRows(size_t limit) {
    Lock guard(agentLock());
    return _desired.rows.All(limit);
}

std::vector<ConfigEntry> StateCacheConfigTable::RuntimeRows() {
    Lock guard(agentLock());
    return _runtime.rows.All();
}

size_t StateCacheConfigTable::DesiredCount() {
    Lock guard(agentLock());
    return _desired.rows.Count();
}

bool StateCacheConfigTable::FullLoadDone() {
    Lock guard(agentLock());
    return _desired.version != 0;
}

size_t StateCacheConfigTable::DesiredSize() {
    Lock guard(agentLock());
    const size_t bytes = _desired.rows.Bytes();
    CFG_LOG(LL_INFO, "ConfigCache: Config desired cache size(bytes): %1", bytes);
    return bytes;
}

size_t StateCacheConfigTable::RuntimeSize() {
    Lock guard(agentLock());
    const size_t bytes = _runtime.rows.Bytes();
    CFG_LOG(LL_INFO, "ConfigCache: Config runtime cache size(bytes): %1", bytes);
    return bytes;
}

}  // namespace CfgAgent
