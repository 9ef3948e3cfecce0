#include "cache/StateCacheL2Table.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <mutex>

#include "frame/AgentConfig.h"
#include "frame/AgentLock.h"
#include "frame/DelayLog.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "log/Logger.h"
#include "loftdb_overlay.pb.h"

namespace CfgAgent {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;
namespace lb = halden::zef::loftdb;

constexpr const char* kLocalVersion = "L2Cache: local l2 fullSync version is %1";
constexpr const char* kRemoteVersion = "L2Cache: remote l2 fullSync version is %1";

bool Instrumented() { return AgentConfig::Settings().instrumentL2Cache; }

// Network order: the first eight bytes of an address as one number.
uint64_t BigEndian(const std::string& bytes, size_t from) {
    uint64_t number = 0;
    for (size_t i = from; i < from + 8; ++i) {
        number = (number << 8) | (i < bytes.size() ? static_cast<uint8_t>(bytes[i]) : 0);
    }
    return number;
}

bool Keyed(uint32_t propertyType) {
    return propertyType >= L2_VM_IP && propertyType <= L2_VTEP_GROUP;
}

L2ValueKey KeyOf(const std::string& value, uint32_t propertyType) {
    L2ValueKey key;
    switch (propertyType) {
        case L2_VM_IP: {
            lb::LogSwitchIpEntryMsg entry;
            entry.ParseFromString(value);
            if (entry.ip().has_ipv4()) {
                key.part[0] = entry.ip().ipv4();
            } else {
                key.part[0] = BigEndian(entry.ip().ipv6(), 0);
                key.part[1] = BigEndian(entry.ip().ipv6(), 8);
            }
            break;
        }
        case L2_VM_MAC: {
            lb::LogSwitchMacEntryMsg entry;
            entry.ParseFromString(value);
            key.part[0] = entry.mac();
            break;
        }
        case L2_VTEP: {
            // One label may stand for an IPv4 and an IPv6 endpoint.
            lb::LogSwitchVtepEntryMsg entry;
            entry.ParseFromString(value);
            key.part[0] = entry.vtep_label().label();
            key.part[1] = entry.has_vtep_ip() ? 4 : 6;
            break;
        }
        case L2_VTEP_GROUP_LABEL: {
            lb::VtepLabelMsg entry;
            entry.ParseFromString(value);
            key.part[0] = entry.label();
            break;
        }
        case L2_VTEP_GROUP: {
            // The group's id is its label in decimal text.
            lb::VtepGroupMsg group;
            group.ParseFromString(value);
            const std::string& id = group.id();
            uint64_t number = 0;
            auto [end, error] = std::from_chars(id.data(), id.data() + id.size(), number);
            key.part[0] = error == std::errc() && end == id.data() + id.size() ? number : group.label();
            break;
        }
        default:
            break;
    }
    return key;
}

// Group ids are text; every other L2 object is keyed by a UuidMsg.
std::string IdText(const std::string& id, uint32_t objectType) {
    return objectType == L2_VTEP_GROUP_OBJECT ? id : UuidBytesToString(id);
}

std::string IdText(const std::string& id) {
    std::string text = UuidBytesToString(id);
    return text.empty() ? id : text;
}

LoftDBUpdateMsg DeleteRecord(const L2Entry& entry) {
    return LoftDBUpdateMsg(entry.objectType, entry.objectId, OP_DELETE, entry.propertyType,
                           entry.value);
}

// The desired object that mirrors a runtime one.
uint32_t DesiredType(uint32_t runtimeType) {
    switch (runtimeType) {
        case LOG_SWITCH_STATE:
            return LOG_SWITCH_FIB;
        case ROUTING_DOMAIN_VTEP:
            return ROUTING_DOMAIN_FIB;
        default:
            return runtimeType;
    }
}

std::string VtepText(const std::string& value) {
    lb::LogSwitchVtepEntryMsg entry;
    entry.ParseFromString(value);
    return entry.ShortDebugString();
}

bool AddObserver(std::vector<SCL2TableObserver*>& observers, SCL2TableObserver* observer,
                 const char* existing) {
    if (observer == nullptr) {
        return false;
    }
    if (std::find(observers.begin(), observers.end(), observer) != observers.end()) {
        CFG_LOG(LL_ERROR, existing);
        return false;
    }
    observers.push_back(observer);
    return true;
}

bool RemoveObserver(std::vector<SCL2TableObserver*>& observers, SCL2TableObserver* observer,
                    const char* missing) {
    auto it = std::find(observers.begin(), observers.end(), observer);
    if (it == observers.end()) {
        CFG_LOG(LL_ERROR, missing);
        return false;
    }
    observers.erase(it);
    return true;
}

}  // namespace

L2ValueKey StateCacheL2Table::GetL2PropertyValueKeyFromString(const std::string& value,
                                                              uint32_t propertyType) {
    if (!Keyed(propertyType)) {
        CFG_LOG(LL_ERROR, "L2Cache: GetL2PropertyValueKeyFromString: invalid property type %1",
                propertyType);
        return {};
    }
    return KeyOf(value, propertyType);
}

void StateCacheL2Table::UpdateDesiredState(const LoftDBUpdateList& list, bool isFullSync) {
    UpdateDesiredStateInner(list, isFullSync, true);
}

// The dispatcher's share is consumed as it is applied: a record that is a
// change moves on to the observers, any other is freed, so a full load of
// millions of entries is never held twice.
void StateCacheL2Table::TakeDesiredState(RecordPack records, bool isFullSync) {
    Lock guard(agentLock());
    DelayLog delay(Instrumented(), "L2Cache UpdateDesiredState");
    LoftDBUpdateList changes;
    if (!isFullSync && records.Empty()) {
        CFG_LOG(LL_DEBUG, "L2Cache: UpdateL2CacheTable : empty msg");
    } else {
        const uint32_t before = isFullSync ? BeginFullSync(_desired, kRemoteVersion) : 0;
        LoftDBUpdateMsg record;
        while (records.TakeFront(record)) {
            if (!ReportedHere(record)) {
                Apply(record, isFullSync, _desired, changes);
            }
        }
        if (isFullSync) {
            EndFullSync(_desired, before, changes);
        }
    }
    NotifyDesiredChanges(changes, isFullSync);
}

void StateCacheL2Table::NotifyDesiredChanges(const LoftDBUpdateList& changes, bool isFullSync) {
    bool flag = false;
    if (!_desired.updated) {
        _desired.updated = true;
        flag = isFullSync;
    }
    if (flag || !changes.empty()) {
        NotifyDesired(changes, flag);
    }
}

void StateCacheL2Table::UpdateDesiredStateInner(const LoftDBUpdateList& list, bool isFullSync,
                                                bool filter) {
    Lock guard(agentLock());
    DelayLog delay(Instrumented(), "L2Cache UpdateDesiredState");
    LoftDBUpdateList changes;
    std::unique_ptr<LoftDBUpdateList> filtered = filter ? FilterRuntime(list) : nullptr;
    UpdateL2CacheTable(filtered ? *filtered : list, isFullSync, _desired, kRemoteVersion, changes);
    NotifyDesiredChanges(changes, isFullSync);
}

void StateCacheL2Table::UpdateRuntimeState(const LoftDBUpdateList& list, bool isFullSync) {
    Lock guard(agentLock());
    DelayLog delay(Instrumented(), "L2Cache UpdateRuntimeState");
    LoftDBUpdateList changes;
    UpdateL2CacheTable(list, isFullSync, _runtime, kLocalVersion, changes);
    FilterDesiredState(list);
    bool flag = false;
    if (!_runtime.updated) {
        _runtime.updated = true;
        flag = isFullSync;
    }
    if (flag || !changes.empty()) {
        NotifyRuntime(changes, flag);
    }
}

void StateCacheL2Table::UpdateL2CacheTable(const LoftDBUpdateList& list, bool isFullSync,
                                           Side& side, const char* versionLine,
                                           LoftDBUpdateList& changes) {
    if (!isFullSync && list.empty()) {
        CFG_LOG(LL_DEBUG, "L2Cache: UpdateL2CacheTable : empty msg");
        return;
    }
    const uint32_t before = isFullSync ? BeginFullSync(side, versionLine) : 0;
    for (LoftDBUpdateMsg record : list) {
        Apply(record, isFullSync, side, changes);
    }
    if (isFullSync) {
        EndFullSync(side, before, changes);
    }
}

uint32_t StateCacheL2Table::BeginFullSync(Side& side, const char* versionLine) {
    const uint32_t before = side.version++;
    CFG_LOG(LL_DEBUG, versionLine, side.version);
    return before;
}

void StateCacheL2Table::Apply(LoftDBUpdateMsg& record, bool isFullSync, Side& side, LoftDBUpdateList& changes) {
    if (isFullSync) {
        ApplyFullSync(record, side, changes);
    } else {
        ApplyDelta(record, side, changes);
    }
}

// What the generation did not confirm is gone from the source: its property
// rows go first, then the objects, then the rest.
void StateCacheL2Table::EndFullSync(Side& side, uint32_t before, LoftDBUpdateList& changes) {
    LoftDBUpdateList properties;
    LoftDBUpdateList objects;
    for (const L2Entry& entry : side.rows.EraseOlderThan(before + 1)) {
        (entry.propertyType != 0 ? properties : objects).push_back(DeleteRecord(entry));
    }
    properties.splice(properties.end(), objects);
    changes.splice(changes.begin(), properties);
}

void StateCacheL2Table::ApplyDelta(LoftDBUpdateMsg& record, Side& side,
                                   LoftDBUpdateList& changes) {
    const std::string& id = record.objectId;
    if (record.propertyValue.empty()) {
        if (record.operation == OP_DELETE && record.propertyType == 0) {
            CFG_LOG(LL_DEBUG, "L2Cache: delete object %1, objectType: %2",
                    IdText(id, record.objectType), record.objectType);
            for (const L2Entry& erased : side.rows.EraseObject(id)) {
                if (!erased.value.empty()) {
                    changes.push_back(DeleteRecord(erased));
                }
            }
            changes.push_back(std::move(record));
        } else if (record.operation == OP_DELETE) {
            for (const L2Entry& erased : side.rows.EraseProperty(id, record.propertyType)) {
                CFG_LOG(LL_DEBUG, "L2Cache: Object %1 remove property: %2",
                        IdText(id, record.objectType), record.propertyType);
                changes.push_back(DeleteRecord(erased));
            }
        } else if (record.operation == OP_UPDATE && record.propertyType == 0 &&
                   !side.rows.HasObject(id)) {
            CFG_LOG(LL_DEBUG, "L2Cache: add object %1, objectType: %2",
                    IdText(id, record.objectType), record.objectType);
            side.rows.Insert(id, record.objectType, 0, {}, {}, side.version);
            changes.push_back(std::move(record));
        }
        return;
    }
    if (record.propertyType == L2_VTEP_GROUP && record.operation == OP_UPDATE) {
        ReplaceGroup(record, side, changes);
        return;
    }
    const L2ValueKey key = KeyOf(record.propertyValue, record.propertyType);
    const bool found = side.rows.HasValue(id, record.propertyType, key, record.propertyValue);
    if (!found && record.operation == OP_UPDATE) {
        if (!side.rows.HasObject(id)) {
            CFG_LOG(LL_DEBUG, "L2Cache: Ignore property update since object %1 can't be found",
                    IdText(id, record.objectType));
            return;
        }
        CFG_LOG(LL_DEBUG,
                "L2Cache: Object %1 add property: %2, valueKey128.part[0]: %3, "
                "valueKey128.part[1]: %4",
                IdText(id, record.objectType), record.propertyType, key.part[0], key.part[1]);
        side.rows.Insert(id, record.objectType, record.propertyType, record.propertyValue, key,
                         side.version);
        changes.push_back(std::move(record));
    } else if (found && record.operation == OP_DELETE) {
        side.rows.EraseValue(id, record.propertyType, key, record.propertyValue);
        CFG_LOG(LL_DEBUG, "L2Cache: remove property: %1", record.propertyType);
        changes.push_back(std::move(record));
    }
}

void StateCacheL2Table::ApplyFullSync(LoftDBUpdateMsg& record, Side& side,
                                      LoftDBUpdateList& changes) {
    const std::string& id = record.objectId;
    if (record.propertyValue.empty()) {
        if (record.propertyType != 0) {
            // A replay holds no removals; a property without value can only
            // be one, and is one whenever it comes.
            ApplyDelta(record, side, changes);
            return;
        }
        if (!side.rows.HasObject(id)) {
            if (record.operation == OP_UPDATE) {
                CFG_LOG(LL_DEBUG, "L2Cache: add object %1, objectType: %2",
                        IdText(id, record.objectType), record.objectType);
                side.rows.Insert(id, record.objectType, 0, {}, {}, side.version);
                changes.push_back(std::move(record));
            }
        } else if (record.operation == OP_UPDATE) {
            side.rows.Confirm(id, 0, {}, {}, side.version);
        } else if (record.operation == OP_DELETE) {
            CFG_LOG(LL_DEBUG, "L2Cache: remove object: %1, objectType: %2",
                    IdText(id, record.objectType), record.objectType);
            side.rows.EraseValue(id, 0, {}, {});
            changes.push_back(std::move(record));
        }
        return;
    }
    if (record.propertyType == L2_VTEP_GROUP && record.operation == OP_UPDATE) {
        ReplaceGroup(record, side, changes);
        return;
    }
    const L2ValueKey key = KeyOf(record.propertyValue, record.propertyType);
    if (record.operation == OP_UPDATE) {
        if (side.rows.ConfirmOrInsert(id, record.objectType, record.propertyType,
                                      record.propertyValue, key, side.version)) {
            CFG_LOG(LL_DEBUG, "L2Cache: Object %1 update/add property in full sync: %2",
                    IdText(id, record.objectType), record.propertyType);
            changes.push_back(std::move(record));
        }
    } else if (record.operation == OP_DELETE &&
               side.rows.HasValue(id, record.propertyType, key, record.propertyValue)) {
        side.rows.EraseValue(id, record.propertyType, key, record.propertyValue);
        changes.push_back(std::move(record));
    }
}

// A group has one value: a new one replaces the old whatever its key. The
// same value again only confirms it, so a replay tells nobody.
void StateCacheL2Table::ReplaceGroup(LoftDBUpdateMsg& record, Side& side,
                                     LoftDBUpdateList& changes) {
    const std::string& id = record.objectId;
    const L2ValueKey key = KeyOf(record.propertyValue, record.propertyType);
    if (side.rows.Confirm(id, record.propertyType, key, record.propertyValue, side.version) &&
        side.rows.ByProperty(id, record.propertyType).size() == 1) {
        return;
    }
    if (!side.rows.EraseProperty(id, record.propertyType).empty()) {
        CFG_LOG(LL_DEBUG, "L2Cache: Object %1 remove property: %2", IdText(id, record.objectType),
                record.propertyType);
    }
    side.rows.Insert(id, record.objectType, record.propertyType, record.propertyValue, key,
                     side.version);
    changes.push_back(std::move(record));
}

bool StateCacheL2Table::ReportedHere(const LoftDBUpdateMsg& record) {
    const uint32_t property = record.propertyType;
    const bool reportable = property == L2_VM_IP || property == L2_VM_MAC || property == L2_VTEP;
    // Most objects have no local rows: no value needs parsing for them.
    if (record.operation != OP_UPDATE || !reportable || record.propertyValue.empty() ||
        !_runtime.rows.HasId(record.objectId)) {
        return false;
    }
    const L2ValueKey key = KeyOf(record.propertyValue, property);
    if (property != L2_VTEP) {
        return _runtime.rows.HasValue(record.objectId, property, key, record.propertyValue);
    }
    // A VTEP is matched by label: the host's report and the store's message
    // differ in fields that do not identify it.
    if (_runtime.rows.ByKey(record.objectId, property, key).empty()) {
        return false;
    }
    CFG_LOG(LL_DEBUG, "L2Cache: FilterRuntime object %1 label %2 with filtered message %3",
            IdText(record.objectId, record.objectType), key.part[0], VtepText(record.propertyValue));
    return true;
}

// Null when nothing is left out, which is the rule: a full load of millions
// of records is not copied for nothing.
std::unique_ptr<LoftDBUpdateList> StateCacheL2Table::FilterRuntime(const LoftDBUpdateList& list) {
    std::unique_ptr<LoftDBUpdateList> kept;
    for (auto it = list.begin(); it != list.end(); ++it) {
        if (!ReportedHere(*it)) {
            if (kept) {
                kept->push_back(*it);
            }
        } else if (!kept) {
            kept = std::make_unique<LoftDBUpdateList>(list.begin(), it);
        }
    }
    return kept;
}

void StateCacheL2Table::FilterDesiredState(const LoftDBUpdateList& list) {
    // Before the store's first full load there is nothing to take back.
    if (_desired.version == 0) {
        return;
    }
    DelayLog delay(Instrumented(), "L2Cache FilterDesiredState");
    LoftDBUpdateList removals;
    for (const LoftDBUpdateMsg& record : list) {
        const uint32_t property = record.propertyType;
        if (record.operation == OP_DELETE || record.propertyValue.empty() ||
            (property != L2_VTEP && property != L2_VM_MAC && property != L2_VM_IP)) {
            continue;
        }
        const L2ValueKey key = KeyOf(record.propertyValue, property);
        for (const L2Entry& desired : _desired.rows.ByKey(record.objectId, property, key)) {
            if (property == L2_VTEP) {
                CFG_LOG(LL_DEBUG, "L2Cache: Filter desired VTEP %1 with filtered message %2",
                        IdText(record.objectId), VtepText(desired.value));
            }
            removals.emplace_back(DesiredType(record.objectType), record.objectId, OP_DELETE,
                                  property, desired.value);
        }
    }
    if (!removals.empty()) {
        UpdateDesiredStateInner(removals, false, false);
    }
}

bool StateCacheL2Table::RemoveLocalObject(const std::string& id) {
    Lock guard(agentLock());
    std::vector<L2Entry> erased = _runtime.rows.EraseObject(id);
    if (erased.empty()) {
        return false;
    }
    CFG_LOG(LL_DEBUG, "L2Cache: remove local L2 forwarding table for object %1", IdText(id));
    LoftDBUpdateList changes;
    uint32_t objectType = erased.front().objectType;
    for (const L2Entry& entry : erased) {
        if (entry.propertyType != 0) {
            changes.push_back(DeleteRecord(entry));
        } else {
            objectType = entry.objectType;
        }
    }
    changes.emplace_back(objectType, id, OP_DELETE, std::string(), std::string());
    NotifyRuntime(changes, false);
    return true;
}

void StateCacheL2Table::NotifyDesired(const LoftDBUpdateList& changes, bool flag) {
    // A copy: an observer may register or leave while it is told.
    const std::vector<SCL2TableObserver*> observers = _desired.observers;
    for (SCL2TableObserver* observer : observers) {
        DelayLog delay(Instrumented(), "L2Cache NotifyDesiredStateObservers");
        observer->ProcessL2DesiredStateUpdate(changes, flag);
    }
}

void StateCacheL2Table::NotifyRuntime(const LoftDBUpdateList& changes, bool flag) {
    const std::vector<SCL2TableObserver*> observers = _runtime.observers;
    for (SCL2TableObserver* observer : observers) {
        DelayLog delay(Instrumented(), "L2Cache NotifyRuntimeStateObservers");
        observer->ProcessL2RuntimeStateUpdate(changes, flag);
    }
}

bool StateCacheL2Table::RegisterDesiredStateObserver(SCL2TableObserver* observer) {
    Lock guard(agentLock());
    return AddObserver(_desired.observers, observer,
                       "L2Cache: register existing remote l2 cache observer");
}

bool StateCacheL2Table::RegisterRuntimeStateObserver(SCL2TableObserver* observer) {
    Lock guard(agentLock());
    return AddObserver(_runtime.observers, observer,
                       "L2Cache: register existing runtime l2 cache observer");
}

bool StateCacheL2Table::UnregisterDesiredStateObserver(SCL2TableObserver* observer) {
    Lock guard(agentLock());
    return RemoveObserver(_desired.observers, observer,
                          "L2Cache: unregister non-existent desired state l2 observer!");
}

bool StateCacheL2Table::UnregisterRuntimeStateObserver(SCL2TableObserver* observer) {
    Lock guard(agentLock());
    return RemoveObserver(_runtime.observers, observer,
                          "L2Cache: unregister non-existent runtime state l2 observer!");
}

bool StateCacheL2Table::GetDesiredObjectsByType(uint32_t objectType, std::vector<L2Entry>& entries) {
    Lock guard(agentLock());
    entries = _desired.rows.ByType(objectType);
    if (entries.empty()) {
        CFG_LOG(LL_DEBUG, "L2Cache: object type %1 does not exists in desired cache", objectType);
        return false;
    }
    return true;
}

bool StateCacheL2Table::GetRuntimeObjectsByType(uint32_t objectType, std::vector<L2Entry>& entries) {
    Lock guard(agentLock());
    entries = _runtime.rows.ByType(objectType);
    if (entries.empty()) {
        CFG_LOG(LL_DEBUG, "L2Cache: object type %1 does not exists in runtime cache", objectType);
        return false;
    }
    return true;
}

bool StateCacheL2Table::GetDesiredObject(const std::string& id, std::vector<L2Entry>& entries) {
    Lock guard(agentLock());
    entries = _desired.rows.ById(id);
    if (entries.empty()) {
        CFG_LOG(LL_DEBUG, "L2Cache: object %1 does not exists in desired cache", IdText(id));
        return false;
    }
    return true;
}

bool StateCacheL2Table::GetRuntimeObject(const std::string& id, std::vector<L2Entry>& entries) {
    Lock guard(agentLock());
    entries = _runtime.rows.ById(id);
    if (entries.empty()) {
        CFG_LOG(LL_DEBUG, "L2Cache: object %1 does not exists in runtime cache", IdText(id));
        return false;
    }
    return true;
}

bool StateCacheL2Table::FirstByKey(Side& side, const std::string& id, uint32_t propertyType,
                                   L2ValueKey key, std::string& value) {
    std::vector<L2Entry> entries = side.rows.ByKey(id, propertyType, key);
    if (entries.empty()) {
        return false;
    }
    value = std::move(entries.front().value);
    return true;
}

bool StateCacheL2Table::HasRuntimeObject(const std::string& id) {
    Lock guard(agentLock());
    return _runtime.rows.HasObject(id);
}

bool StateCacheL2Table::GetDesiredValueByKey(const std::string& id, uint32_t propertyType,
                                             uint64_t key, std::string& value) {
    Lock guard(agentLock());
    if (!FirstByKey(_desired, id, propertyType, {{key, 0}}, value)) {
        CFG_LOG(LL_DEBUG, "L2Cache: property does not exist: objectID : %1 , type: %2, valueKey: %3",
                IdText(id), propertyType, key);
        return false;
    }
    return true;
}

bool StateCacheL2Table::GetDesiredValueByKey128(const std::string& id, uint32_t propertyType,
                                                L2ValueKey key, std::string& value) {
    Lock guard(agentLock());
    if (!FirstByKey(_desired, id, propertyType, key, value)) {
        CFG_LOG(LL_DEBUG,
                "L2Cache: property does not exist: objectID : %1 , type: %2, valueKey128.part1 : "
                "%3, valueKey128.part2 : %4",
                IdText(id), propertyType, key.part[0], key.part[1]);
        return false;
    }
    return true;
}

bool StateCacheL2Table::GetRuntimeValueByKey128(const std::string& id, uint32_t propertyType,
                                                L2ValueKey key, std::string& value) {
    Lock guard(agentLock());
    if (!FirstByKey(_runtime, id, propertyType, key, value)) {
        CFG_LOG(LL_DEBUG,
                "L2Cache: runtime property does not exist: objectID : %1 , type: %2, "
                "valueKey128.part1 : %3, valueKey128.part2 : %4",
                IdText(id), propertyType, key.part[0], key.part[1]);
        return false;
    }
    return true;
}

bool StateCacheL2Table::HasRuntimeValue(const std::string& id, uint32_t propertyType,
                                        const std::string& value) {
    Lock guard(agentLock());
    return _runtime.rows.HasValue(id, propertyType, KeyOf(value, propertyType), value);
}

namespace {

bool Values(const std::vector<L2Entry>& entries, const std::string& id, uint32_t propertyType,
            std::vector<std::string>& values) {
    if (entries.empty()) {
        CFG_LOG(LL_DEBUG, "L2Cache: property does not exist: objectID : %1 , type: %2", IdText(id),
                propertyType);
        return false;
    }
    values.clear();
    for (const L2Entry& entry : entries) {
        values.push_back(entry.value);
    }
    return true;
}

}  // namespace

bool StateCacheL2Table::GetDesiredPropertyValues(const std::string& id, uint32_t propertyType,
                                                 std::vector<std::string>& values) {
    Lock guard(agentLock());
    return Values(_desired.rows.ByProperty(id, propertyType), id, propertyType, values);
}

bool StateCacheL2Table::GetRuntimePropertyValues(const std::string& id, uint32_t propertyType,
                                                 std::vector<std::string>& values) {
    Lock guard(agentLock());
    return Values(_runtime.rows.ByProperty(id, propertyType), id, propertyType, values);
}

std::vector<L2Entry> StateCacheL2Table::DesiredRows(size_t limit) {
    Lock guard(agentLock());
    return _desired.rows.All(limit);
}

std::vector<L2Entry> StateCacheL2Table::RuntimeRows(size_t limit) {
    Lock guard(agentLock());
    return _runtime.rows.All(limit);
}

size_t StateCacheL2Table::DesiredCount() {
    Lock guard(agentLock());
    return _desired.rows.Count();
}

size_t StateCacheL2Table::RuntimeCount() {
    Lock guard(agentLock());
    return _runtime.rows.Count();
}

size_t StateCacheL2Table::DesiredSize() {
    Lock guard(agentLock());
    const size_t bytes = _desired.rows.Bytes();
    CFG_LOG(LL_INFO, "L2Cache: L2 desired cache size(bytes): %1", bytes);
    CFG_LOG(LL_INFO, "L2Cache: L2 desired cache size(number): %1", _desired.rows.Count());
    return bytes;
}

size_t StateCacheL2Table::RuntimeSize() {
    Lock guard(agentLock());
    const size_t bytes = _runtime.rows.Bytes();
    CFG_LOG(LL_INFO, "L2Cache: L2 runtime cache size(bytes): %1", bytes);
    return bytes;
}

bool StateCacheL2Table::FullLoadDone() {
    Lock guard(agentLock());
    return _desired.version != 0;
}

}  // namespace CfgAgent
