#include "cache/StateCacheL3Table.h"

#include <algorithm>
#include <mutex>

#include "cache/L3Messages.h"
#include "frame/AgentConfig.h"
#include "frame/AgentLock.h"
#include "frame/DelayLog.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_common.pb.h"
#include "loftdb_routing.pb.h"
#include "loftdb_system.pb.h"
#include "log/Logger.h"

namespace CfgAgent {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;
namespace lb = halden::zef::loftdb;

constexpr const char* kInvalidForFullSync =
    "Object %1 property %2, invalid op type %3 for full sync";

bool Instrumented() {
    return AgentConfig::Settings().instrumentL3Cache;
}

std::string IdText(const std::string& id) {
    std::string text = UuidBytesToString(id);
    return text.empty() ? id : text;
}

std::string ValueText(const LoftDBUpdateMsg& record) {
    return L3Messages::Text(record.objectType, record.propertyType, record.propertyValue);
}

LoftDBUpdateMsg DeleteRecord(L3Entry&& entry) {
    return LoftDBUpdateMsg(entry.objectType, std::move(entry.objectId), OP_DELETE,
                           entry.propertyType, std::move(entry.value));
}

template <typename Msg>
std::vector<Msg> ParseAll(const std::vector<L3Entry>& entries) {
    std::vector<Msg> messages(entries.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        messages[i].ParseFromString(entries[i].value);
    }
    return messages;
}

std::vector<lb::UuidMsg> IdsOf(const std::vector<L3Entry>& entries) {
    std::vector<lb::UuidMsg> ids(entries.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        ids[i].ParseFromString(entries[i].objectId);
    }
    return ids;
}

}  // namespace

void StateCacheL3Table::UpdateDesiredState(const LoftDBUpdateList& list, bool isFullSync) {
    RecordPack records;
    records.Append(list);
    TakeDesiredState(std::move(records), isFullSync);
}

void StateCacheL3Table::TakeDesiredState(RecordPack records, bool isFullSync) {
    Lock guard(agentLock());
    DelayLog delay(Instrumented(), "L3Cache UpdateDesiredState");
    const uint32_t oldVersion = _fullSyncVersion;
    // An empty full sync starts no generation: every row is at the old one
    // and goes.
    if (isFullSync && !records.Empty()) {
        ++_fullSyncVersion;
    }
    LoftDBUpdateList changes;
    // TakeFront sets every field: a record that stays (a confirmation) lends
    // its buffers to the next one.
    LoftDBUpdateMsg record;
    while (records.TakeFront(record)) {
        Apply(std::move(record), isFullSync, changes);
    }
    if (isFullSync) {
        LoftDBUpdateList stale;
        _rows.EraseAt(oldVersion, [&stale](L3Entry&& entry) {
            stale.push_back(DeleteRecord(std::move(entry)));
        });
        changes.splice(changes.begin(), stale);
    }
    if (isFullSync || !changes.empty()) {
        Notify(changes, isFullSync);
    }
}

void StateCacheL3Table::Apply(LoftDBUpdateMsg&& record, bool isFullSync,
                              LoftDBUpdateList& changes) {
    switch (record.operation) {
        case OP_UPDATE:
        case OP_DELETE:
            ApplySingle(std::move(record), isFullSync, changes);
            break;
        case OP_ADD:
        case OP_REMOVE:
            ApplyMulti(std::move(record), isFullSync, changes);
            break;
        default:
            CFG_LOG(LL_ERROR, "Object %1 property %2, invalid operation %3",
                    IdText(record.objectId), record.propertyType, record.operation)
                .Tag("errorCode:LCP00922");
    }
}

void StateCacheL3Table::ApplySingle(LoftDBUpdateMsg&& record, bool isFullSync,
                                    LoftDBUpdateList& changes) {
    const std::string& id = record.objectId;
    const uint32_t property = record.propertyType;
    // A replay states what is; it never removes.
    if (isFullSync && record.operation != OP_UPDATE) {
        CFG_LOG(LL_ERROR, kInvalidForFullSync, IdText(id), property, record.operation)
            .Tag("errorCode:LCP00922");
        return;
    }
    const L3EntrySet::Hits hits = _rows.Property(id, property);
    if (hits.count == 0) {
        if (record.operation == OP_UPDATE) {
            CFG_LOG(LL_DEBUG, "Object %1 property %2, value add", IdText(id), property);
            _rows.Insert(id, record.objectType, property, record.propertyValue, _fullSyncVersion);
            changes.push_back(std::move(record));
        } else {
            CFG_LOG(LL_ERROR, "Object %1 property %2, delete non-existing entry", IdText(id),
                    property)
                .Tag("errorCode:LCP00922");
            Dump();
        }
        return;
    }
    if (hits.count > 1) {
        CFG_LOG(LL_ERROR, "Object %1 property %2, multi-existing entries found", IdText(id),
                property)
            .Tag("errorCode:LCP00919");
        Dump();
        return;
    }
    if (record.operation == OP_DELETE) {
        CFG_LOG(LL_DEBUG, "Object %1 property %2, value delete", IdText(id), property);
        record.propertyValue = _rows.Erase(hits.first);
        changes.push_back(std::move(record));
        return;
    }
    if (isFullSync) {
        _rows.Confirm(hits.first, _fullSyncVersion);
    }
    if (L3EntrySet::ValueOf(hits.first) == record.propertyValue) {
        CFG_LOG(LL_DEBUG, "Object %1 property %2, value not change", IdText(id), property);
        return;
    }
    CFG_LOG(LL_DEBUG, "Object %1 property %2, value update", IdText(id), property);
    _rows.Replace(hits.first, record.propertyValue);
    changes.push_back(std::move(record));
}

void StateCacheL3Table::ApplyMulti(LoftDBUpdateMsg&& record, bool isFullSync,
                                   LoftDBUpdateList& changes) {
    const std::string& id = record.objectId;
    const uint32_t property = record.propertyType;
    if (isFullSync && record.operation != OP_ADD) {
        CFG_LOG(LL_ERROR, kInvalidForFullSync, IdText(id), property, record.operation)
            .Tag("errorCode:LCP00922");
        return;
    }
    const L3EntrySet::Hits hits = _rows.Value(id, property, record.propertyValue);
    if (hits.count == 0) {
        if (record.operation == OP_ADD) {
            CFG_LOG(LL_DEBUG, "Object %1 property %2, value append", IdText(id), property);
            _rows.Insert(id, record.objectType, property, record.propertyValue, _fullSyncVersion);
            changes.push_back(std::move(record));
        } else {
            CFG_LOG(LL_ERROR, "Object %1 property %2 value %3, remove non-existing entry",
                    IdText(id), property, ValueText(record))
                .Tag("errorCode:LCP00922");
            Dump();
        }
        return;
    }
    if (hits.count > 1) {
        CFG_LOG(LL_ERROR, "Object %1 property %2 value %3, multi-existing entries found",
                IdText(id), property, ValueText(record))
            .Tag("errorCode:LCP00919");
        Dump();
        return;
    }
    if (record.operation == OP_REMOVE) {
        CFG_LOG(LL_DEBUG, "Object %1 property %2, value remove", IdText(id), property);
        _rows.Erase(hits.first);
        changes.push_back(std::move(record));
    } else if (isFullSync) {
        _rows.Confirm(hits.first, _fullSyncVersion);
    } else {
        CFG_LOG(LL_ERROR, "Object %1 property %2 value %3, append existing entry", IdText(id),
                property, ValueText(record))
            .Tag("errorCode:LCP00922");
        Dump();
    }
}

void StateCacheL3Table::Notify(const LoftDBUpdateList& changes, bool isFullSync) {
    // A copy: an observer may register or leave while it is told.
    const std::vector<SCL3TableObserver*> observers = _observers;
    for (SCL3TableObserver* observer : observers) {
        DelayLog delay(Instrumented(), "L3Cache NotifyDesiredStateObservers");
        observer->ProcessL3DesiredStateUpdate(changes, isFullSync);
    }
}

void StateCacheL3Table::Dump() const {
    if (!LogLevel::On(LL_DEBUG)) {
        return;
    }
    CFG_LOG(LL_DEBUG, "Dump L3 remote StateCache");
    for (const L3Entry& entry : _rows.All()) {
        CFG_LOG(LL_DEBUG,
                "ObjectType is : %1, ObjectId is : %2, PropertyType is %3,FullsyncVersion is %4, "
                "PropertyValue is %5",
                entry.objectType, IdText(entry.objectId), entry.propertyType, entry.fullSyncVersion,
                L3Messages::Text(entry.objectType, entry.propertyType, entry.value));
    }
}

bool StateCacheL3Table::RegisterDesiredStateObserver(SCL3TableObserver* observer) {
    Lock guard(agentLock());
    if (observer == nullptr) {
        CFG_LOG(LL_ERROR, "In L3 RegisterDesiredStateObserver, observer is NULL!");
        return false;
    }
    if (std::find(_observers.begin(), _observers.end(), observer) != _observers.end()) {
        CFG_LOG(LL_ERROR, "In L3 RegisterDesiredStateObserver, observer exist!");
        return false;
    }
    _observers.push_back(observer);
    return true;
}

bool StateCacheL3Table::UnregisterDesiredStateObserver(SCL3TableObserver* observer) {
    Lock guard(agentLock());
    if (observer == nullptr) {
        CFG_LOG(LL_ERROR, "In L3 UnregisterDesiredStateObserver, observer is NULL!");
        return false;
    }
    auto it = std::find(_observers.begin(), _observers.end(), observer);
    if (it == _observers.end()) {
        CFG_LOG(LL_ERROR, "In L3 UnregisterDesiredStateObserver, observer not exists!");
        return false;
    }
    _observers.erase(it);
    return true;
}

bool StateCacheL3Table::GetObjectsByType(uint32_t objectType, uint32_t propertyType,
                                         std::vector<L3Entry>& entries) {
    Lock guard(agentLock());
    CFG_LOG(LL_DEBUG,
            "Query object property from remote StateCache by objectType %1, propertyType %2",
            objectType, propertyType);
    entries = _rows.ByType(objectType, propertyType);
    if (entries.empty()) {
        CFG_LOG(LL_DEBUG, "object does not exist: objectType %1 propertyType %2", objectType,
                propertyType);
        return false;
    }
    return true;
}

bool StateCacheL3Table::GetObjectProperty(const std::string& id, uint32_t propertyType,
                                          std::vector<L3Entry>& entries) {
    Lock guard(agentLock());
    entries = _rows.ByProperty(id, propertyType);
    if (entries.empty()) {
        CFG_LOG(LL_DEBUG, "property does not exist: %1, %2 with type: %3", IdText(id), propertyType,
                "");
        return false;
    }
    return true;
}

bool StateCacheL3Table::GetObject(const std::string& id, std::vector<L3Entry>& entries) {
    Lock guard(agentLock());
    CFG_LOG(LL_DEBUG, "Query object [%1] property from remote StateCache", IdText(id));
    entries = _rows.ById(id);
    if (entries.empty()) {
        CFG_LOG(LL_DEBUG, "object does not exist: %1", IdText(id));
        return false;
    }
    return true;
}

bool StateCacheL3Table::ParseOne(size_t count, std::string_view value,
                                 google::protobuf::Message& message, const char* multiple,
                                 const std::string& what) {
    if (count > 1) {
        CFG_LOG(LL_ERROR, multiple, what).Tag("errorCode:LCP00919");
        Dump();
        return false;
    }
    return count == 1 && message.ParseFromArray(value.data(), static_cast<int>(value.size()));
}

bool StateCacheL3Table::ParseOne(const L3EntrySet::Hits& hits, google::protobuf::Message& message,
                                 const char* multiple, const std::string& id) {
    const std::string_view value =
        hits.first ? L3EntrySet::ValueOf(hits.first) : std::string_view();
    return ParseOne(hits.count, value, message, multiple, IdText(id));
}

bool StateCacheL3Table::ParseOneOfType(uint32_t objectType, google::protobuf::Message& message,
                                       const char* multiple) {
    const std::vector<L3Entry> entries = _rows.ByType(objectType, INVALID_PROPERTY);
    const std::string_view value = entries.empty() ? std::string_view() : entries.front().value;
    return ParseOne(entries.size(), value, message, multiple, {});
}

bool StateCacheL3Table::GetRouterPort(const std::string& id, lb::LogRouterPortConfigMsg& port) {
    Lock guard(agentLock());
    return ParseOne(_rows.Property(id, INVALID_PROPERTY), port, "Found multiple entries for LRP %1",
                    id);
}

bool StateCacheL3Table::GetFibRouter(const std::string& fibId, lb::UuidMsg& router) {
    Lock guard(agentLock());
    return ParseOne(_rows.Property(fibId, L3_FIB_ROUTER_ID), router,
                    "Found multiple LR entries for fib %1", fibId);
}

bool StateCacheL3Table::GetFibPrefix(const std::string& fibId, lb::IpPrefixMsg& prefix) {
    Lock guard(agentLock());
    return ParseOne(_rows.Property(fibId, L3_FIB_IP_PREFIX), prefix,
                    "Found multiple IP prefix entries for fib %1", fibId);
}

bool StateCacheL3Table::GetArpTableRouterPort(const std::string& tableId, lb::UuidMsg& port) {
    Lock guard(agentLock());
    return ParseOne(_rows.Property(tableId, L3_ARP_ROUTER_PORT_ID), port,
                    "Found multiple LRP entries for arp table config %1", tableId);
}

bool StateCacheL3Table::GetGlobalConfig(lb::GlobalConfigMsg& config) {
    Lock guard(agentLock());
    CFG_LOG(LL_INFO, "Query Global config");
    if (!ParseOneOfType(GLOBAL_CONFIG, config, "Found multiple entries for globalConfig msg")) {
        return false;
    }
    CFG_LOG(LL_INFO, "Populating Global message");
    return true;
}

bool StateCacheL3Table::GetMulticastConfig(const std::string& id, lb::MulticastConfigMsg& config) {
    Lock guard(agentLock());
    return ParseOne(_rows.Property(id, INVALID_PROPERTY), config,
                    "Found multiple entries for multicast config %1", id);
}

bool StateCacheL3Table::GetRouter(const std::string& id, lb::LogRouterConfigMsg& router) {
    Lock guard(agentLock());
    return ParseOne(_rows.Property(id, INVALID_PROPERTY), router,
                    "Found multiple entries for LR %1", id);
}

bool StateCacheL3Table::GetNdraProfile(const std::string& id, lb::NdraProfileConfigMsg& profile) {
    Lock guard(agentLock());
    return ParseOne(_rows.Property(id, INVALID_PROPERTY), profile,
                    "Found multiple entries for ndraProfileId %1", id);
}

bool StateCacheL3Table::GetDadProfile(const std::string& id, lb::DadProfileConfigMsg& profile) {
    Lock guard(agentLock());
    return ParseOne(_rows.Property(id, INVALID_PROPERTY), profile,
                    "Found multiple entries for dadProfileId %1", id);
}

bool StateCacheL3Table::GetPrefixList(const std::string& id, lb::PrefixListMsg& list) {
    Lock guard(agentLock());
    return ParseOne(_rows.Property(id, INVALID_PROPERTY), list,
                    "Found multiple entries for prefix list %1", id);
}

bool StateCacheL3Table::GetBarrier(lb::BarrierMsg& barrier) {
    Lock guard(agentLock());
    CFG_LOG(LL_INFO, "Query barrier");
    if (!ParseOneOfType(BARRIER, barrier, "Found multiple entries for barrier msg")) {
        return false;
    }
    CFG_LOG(LL_INFO, "Populating barrier message");
    return true;
}

bool StateCacheL3Table::GetFibDadState(const std::string& portId,
                                       lb::LogRouterPortFibDadStateMsg& state) {
    Lock guard(agentLock());
    return ParseOne(_rows.Property(portId, L3_DAD_STATUS), state,
                    "Found multiple entries for FibDadStateMsg  %1", portId);
}

std::vector<lb::UuidMsg> StateCacheL3Table::GetRouterIds() {
    Lock guard(agentLock());
    return IdsOf(_rows.ByType(LOG_ROUTER_CONFIG, INVALID_PROPERTY));
}

std::vector<lb::UuidMsg> StateCacheL3Table::GetRouterPortIds() {
    Lock guard(agentLock());
    return IdsOf(_rows.ByType(LOG_ROUTER_PORT_CONFIG, INVALID_PROPERTY));
}

bool StateCacheL3Table::GetRouterRtxId(const std::string& routerId, uint32_t& rtxId) {
    lb::LogRouterConfigMsg router;
    if (!GetRouter(routerId, router)) {
        return false;
    }
    if (!router.has_rtx_id()) {
        CFG_LOG(LL_ERROR, "No rtx ID set in protobuf msg for LR %1", IdText(routerId))
            .Tag("errorCode:LCP00920");
        return false;
    }
    rtxId = router.rtx_id();
    return true;
}

bool StateCacheL3Table::GetRouterOfPort(const std::string& portId, lb::UuidMsg& router) {
    lb::LogRouterPortConfigMsg port;
    if (!GetRouterPort(portId, port)) {
        return false;
    }
    if (!port.has_log_router_id()) {
        CFG_LOG(LL_ERROR, "No LR UUID set in protobuf msg for LRP %1", IdText(portId))
            .Tag("errorCode:LCP00920");
        return false;
    }
    router = port.log_router_id();
    return true;
}

std::vector<lb::FibNextHopMsg> StateCacheL3Table::GetFibNextHops(const std::string& fibId) {
    Lock guard(agentLock());
    return ParseAll<lb::FibNextHopMsg>(_rows.ByProperty(fibId, L3_FIB_NEXT_HOP));
}

std::vector<lb::ArpEntryMsg> StateCacheL3Table::GetArpEntries(const std::string& tableId) {
    Lock guard(agentLock());
    return ParseAll<lb::ArpEntryMsg>(_rows.ByProperty(tableId, L3_ARP_ENTRY));
}

std::vector<lb::LogRouterPortDadRequestMsg> StateCacheL3Table::GetDadRequests() {
    Lock guard(agentLock());
    return ParseAll<lb::LogRouterPortDadRequestMsg>(
        _rows.ByType(LOG_ROUTER_PORT_DAD_REQUEST, L3_DAD_REQ));
}

std::vector<lb::LogRouterPortFibDadStateMsg> StateCacheL3Table::GetFibDadStates() {
    Lock guard(agentLock());
    return ParseAll<lb::LogRouterPortFibDadStateMsg>(
        _rows.ByType(LOG_ROUTER_PORT_FIB_DAD_STATE, L3_DAD_STATUS));
}

std::vector<L3Entry> StateCacheL3Table::Rows() {
    Lock guard(agentLock());
    return _rows.All();
}

size_t StateCacheL3Table::Count() {
    Lock guard(agentLock());
    return _rows.Count();
}

size_t StateCacheL3Table::DesiredSize() {
    Lock guard(agentLock());
    const size_t bytes = _rows.Bytes();
    CFG_LOG(LL_INFO, "L3 desired cache size(bytes): %1", bytes);
    return bytes;
}

}  // namespace CfgAgent
