#include "cache/StateCacheConfigTable.h"

#include <map>
#include <mutex>
#include <optional>

#include "cache/PropertyDiff.h"
#include "frame/AgentConfig.h"
#include "frame/AgentLock.h"
#include "frame/DelayLog.h"
#include "frame/StageClock.h"
#include "log/Logger.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"

namespace CfgAgent {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

constexpr size_t kUnpackBatch = 256;

LoftDBUpdateMsg DeleteRecord(ConfigEntry& entry, const SharedBytes& traceInfo) {
    LoftDBUpdateMsg record(entry.objectType, std::move(entry.objectId), OP_DELETE,
                           entry.propertyType, std::move(entry.value));
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

bool StateCacheConfigTable::Apply(Side& side, LoftDBUpdateList& list, bool isFullSync,
                                  bool diffProperties, LoftDBUpdateList& changes) {
    // Each record is consumed as it is applied: a record that is itself the
    // change moves over to the changes, any other is freed at once, so a full
    // load never holds its records twice.
    while (!list.empty()) {
        // Whatever the record's fate, it has left the list at the end of the turn.
        struct Consumed {
            LoftDBUpdateList& list;
            bool moved = false;
            ~Consumed() {
                if (!moved) {
                    list.pop_front();
                }
            }
        } consumed{list};
        LoftDBUpdateMsg& record = list.front();
        // Changes of a type nobody observes would never be told: none are made.
        const bool heard = side.observers.Observed(record.objectType);
        auto tellRecord = [&] {
            if (heard) {
                changes.splice(changes.end(), list, list.begin());
                consumed.moved = true;
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
            for (ConfigEntry& erased : side.rows.EraseObject(record.objectId, record.objectType)) {
                if (erased.propertyType != 0 && heard) {
                    changes.push_back(DeleteRecord(erased, record.traceInfo));
                }
            }
            record.propertyValue.clear();
            tellRecord();
        } else if (record.operation == OP_UPDATE && object) {
            if (!side.rows.HasObject(record.objectId, record.objectType)) {
                CFG_LOG(LL_INFO, "ConfigCache: Add object %1 type %2",
                        UuidBytesToString(record.objectId), record.objectType);
                side.rows.Insert({record.objectId, record.objectType, 0, {}, side.version});
                tellRecord();
            } else if (isFullSync) {
                side.rows.Confirm(record.objectId, record.objectType, 0, side.version);
            } else {
                CFG_LOG(LL_TRACE, "ConfigCache: create existing object operation!");
            }
        } else if (record.operation == OP_DELETE) {
            for (ConfigEntry& erased :
                 side.rows.EraseProperty(record.objectId, record.propertyType)) {
                CFG_LOG(LL_DEBUG, "ConfigCache: Remove object %1 property %2",
                        UuidBytesToString(erased.objectId), erased.propertyType);
                if (heard) {
                    changes.push_back(DeleteRecord(erased, record.traceInfo));
                }
            }
        } else if (record.operation == OP_UPDATE) {
            if (ApplyValue(side, record, isFullSync, diffProperties, heard, changes)) {
                tellRecord();
            }
        } else {
            CFG_LOG(LL_ERROR, "ConfigCache: unsupported operation %1", record.operation)
                .Tag("errorCode:LCP00007");
            return false;
        }
    }
    return true;
}

bool StateCacheConfigTable::ApplyValue(Side& side, LoftDBUpdateMsg& record, bool isFullSync,
                                       bool diffProperties, bool heard, LoftDBUpdateList& changes) {
    const std::string* current =
        side.rows.FindValue(record.objectId, record.objectType, record.propertyType);
    if (current == nullptr) {
        CFG_LOG(LL_DEBUG, "ConfigCache: Add object %1 property %2",
                UuidBytesToString(record.objectId), record.propertyType);
        side.rows.Insert({record.objectId, record.objectType, record.propertyType,
                          record.propertyValue, side.version});
        return true;
    }
    if (*current != record.propertyValue) {
        if (heard) {
            changes.splice(changes.end(), ValueChanges(record, *current, diffProperties));
        }
        CFG_LOG(LL_DEBUG, "ConfigCache: Update object %1 property %2",
                UuidBytesToString(record.objectId), record.propertyType);
        side.rows.SetValue(record.objectId, record.propertyType, std::move(record.propertyValue));
    }
    if (isFullSync) {
        side.rows.Confirm(record.objectId, record.objectType, record.propertyType, side.version);
    }
    return false;
}

void StateCacheConfigTable::Update(Side& side, RecordPack records, bool isFullSync,
                                   bool desired) {
    Lock guard(agentLock());
    const uint64_t began = StageClock::Enabled() ? StageClock::Now() : 0;
    const size_t count = records.Size();
    // A full sync starts a generation; what it does not confirm is stale.
    // An empty runtime full sync confirms nothing, so everything goes.
    const bool newGeneration = isFullSync && (desired || !records.Empty());
    if (newGeneration) {
        ++side.version;
    }
    LoftDBUpdateList changes;
    // Unpacked a batch at a time, so that a full load is never unpacked whole.
    LoftDBUpdateList batch;
    LoftDBUpdateMsg record;
    while (true) {
        while (batch.size() < kUnpackBatch && records.TakeFront(record)) {
            batch.push_back(std::move(record));
            record = LoftDBUpdateMsg();
        }
        if (batch.empty()) {
            break;
        }
        if (!Apply(side, batch, isFullSync, desired, changes)) {
            return;
        }
    }
    if (isFullSync) {
        std::vector<ConfigEntry> stale =
            side.rows.EraseOlderThan(newGeneration ? side.version : side.version + 1);
        LoftDBUpdateList properties;
        LoftDBUpdateList objects;
        for (ConfigEntry& entry : stale) {
            if (side.observers.Observed(entry.objectType)) {
                (entry.propertyType != 0 ? properties : objects).push_back(DeleteRecord(entry, {}));
            }
        }
        properties.splice(properties.end(), objects);
        changes.splice(changes.begin(), properties);
    }
    if (began != 0) {
        StageClock::Add(StageClock::Table, StageClock::Now() - began, count);
    }
    bool flag = false;
    if (!side.updated) {
        side.updated = true;
        flag = isFullSync;
    }
    if (flag || !changes.empty()) {
        Notify(side, std::move(changes), flag, desired);
    }
}

void StateCacheConfigTable::UpdateDesiredState(const LoftDBUpdateList& list, bool isFullSync) {
    RecordPack records;
    records.Append(list);
    TakeDesiredState(std::move(records), isFullSync);
}

void StateCacheConfigTable::TakeDesiredState(RecordPack records, bool isFullSync) {
    DelayLog delay(Instrumented(), "ConfigCache UpdateDesiredState");
    Update(_desired, std::move(records), isFullSync, true);
}

void StateCacheConfigTable::UpdateRuntimeState(const LoftDBUpdateList& list, bool isFullSync) {
    RecordPack records;
    records.Append(list);
    Update(_runtime, std::move(records), isFullSync, false);
}

std::map<SCConfigTableObserver*, LoftDBUpdateList> StateCacheConfigTable::SortChanges(
    Side& side, LoftDBUpdateList changes, bool flag) {
    StageScope stage(StageClock::Observers);
    std::map<SCConfigTableObserver*, LoftDBUpdateList> lists;
    if (flag) {
        for (SCConfigTableObserver* observer : side.observers.Ordered()) {
            lists[observer];
        }
    }
    // Every observer but the last of a record gets a copy; the last takes it.
    std::vector<SCConfigTableObserver*> told;
    while (!changes.empty()) {
        told.clear();
        side.observers.ForType(changes.front().objectType,
                               [&](SCConfigTableObserver* observer) { told.push_back(observer); });
        if (told.empty()) {
            changes.pop_front();
            continue;
        }
        for (size_t i = 0; i + 1 < told.size(); ++i) {
            lists[told[i]].push_back(changes.front());
        }
        LoftDBUpdateList& last = lists[told.back()];
        last.splice(last.end(), changes, changes.begin());
    }
    return lists;
}

void StateCacheConfigTable::Notify(Side& side, LoftDBUpdateList changes, bool flag, bool desired) {
    std::map<SCConfigTableObserver*, LoftDBUpdateList> lists =
        SortChanges(side, std::move(changes), flag);
    for (SCConfigTableObserver* observer : side.observers.Ordered()) {
        auto it = lists.find(observer);
        if (it == lists.end()) {
            continue;
        }
        StageScope stage(StageClock::Application);
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
    const std::string* found = _desired.rows.FindValue(id, objectType, propertyType);
    if (found == nullptr) {
        return false;
    }
    value = *found;
    return true;
}

bool StateCacheConfigTable::GetPropertyValue(const std::string& id, uint32_t propertyType,
                                             std::string& value) {
    Lock guard(agentLock());
    std::optional<uint32_t> type = _desired.rows.TypeOf(id);
    if (!type) {
        CFG_LOG(LL_DEBUG, "ConfigCache: property does not exist: %1, %2 with type: %3",
                UuidBytesToString(id), propertyType, "");
        return false;
    }
    std::optional<ConfigEntry> entry;
    if (propertyType != 0) {
        entry = _desired.rows.FindProperty(id, propertyType);
    }
    if (!entry) {
        CFG_LOG(LL_DEBUG, "ConfigCache: object exists, but property does not exist: %1, %2, %3",
                UuidBytesToString(id), *type, propertyType);
        return false;
    }
    value = std::move(entry->value);
    return true;
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
    std::optional<uint32_t> type = _desired.rows.TypeOf(id);
    if (!type) {
        CFG_LOG(LL_DEBUG, "ConfigCache: object does not exist: objectId %1", UuidBytesToString(id));
        return false;
    }
    objectType = *type;
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
