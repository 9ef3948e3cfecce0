#include "l2/app/L2App.h"

#include <boost/property_tree/ptree.hpp>
#include <mutex>

#include "cache/StateCacheConfigTable.h"
#include "cache/StateCacheL2Table.h"
#include "dplink/DataplaneTaklink.h"
#include "dplink/MacNumber.h"
#include "dplink/SessionIdSeed.h"
#include "frame/AgentLock.h"
#include "frame/AsyncTimer.h"
#include "frame/IoContexts.h"
#include "frame/vocabulary/ComponentType.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "l2/app/L2AlarmReporter.h"
#include "l2/app/L2TlvBatch.h"
#include "l2/codec/VxlanConfigureCodec.h"
#include "l2/codec/VxlanControlCodec.h"
#include "l2/codec/VxlanDump.h"
#include "l2/codec/VxlanMacUpdateCodec.h"
#include "l2/codec/VxlanMessage.h"
#include "l2/codec/VxlanNeighborUpdateCodec.h"
#include "l2/codec/VxlanQueryCodec.h"
#include "l2/codec/VxlanRdListCodec.h"
#include "l2/codec/VxlanRdVtepUpdateCodec.h"
#include "l2/codec/VxlanUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"
#include "l2/conversion/L2EntryConvertor.h"
#include "log/Logger.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_switching.pb.h"
#include "loftdb_system.pb.h"
#include "store/MsgDispatcher.h"

namespace CfgAgent {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;
namespace lb = halden::zef::loftdb;

// The first Configure of a session, in the kernel's order.
constexpr uint16_t kMaxMessageLength = 4085;
constexpr uint16_t kFreqPeriodMillis = 1000;
constexpr uint16_t kQueryLimit = 100;
constexpr uint16_t kUpdateLimit = 20;
constexpr uint16_t kBteAgeingSeconds = 720;
constexpr uint16_t kArpAgeingSeconds = 600;
constexpr uint32_t kMinMacLimit = 2048;
constexpr uint32_t kMaxMacLimit = 8192;
constexpr uint32_t kCcpConnected = 1;
constexpr uint32_t kCcpDisconnected = 2;

const std::string& GlobalDomain() {
    static const std::string id = Uuid().Serialized();
    return id;
}

bool IsNilDomain(const std::string& id) {
    std::optional<Uuid> uuid = Uuid::FromSerialized(id);
    return !uuid || uuid->IsNil();
}

std::string IdText(const std::string& id) { return UuidBytesToString(id); }

VxlanUuid DomainBytes(const std::string& id) {
    return L2EntryConvertor::DomainToWire(Uuid::FromSerialized(id).value_or(Uuid()));
}

LoftDBUpdateMsg ObjectRecord(uint32_t objectType, const std::string& id, uint32_t operation) {
    return LoftDBUpdateMsg(objectType, id, operation, INVALID_PROPERTY, std::string());
}

LoftDBUpdateMsg EntryRecord(uint32_t objectType, const std::string& id, uint32_t operation,
                            uint32_t propertyType, std::string value) {
    return LoftDBUpdateMsg(objectType, id, operation, propertyType, std::move(value));
}

bool ParseSwitchConfig(const LoftDBUpdateMsg& record, lb::LogSwitchConfigMsg& config) {
    return config.ParseFromString(record.propertyValue);
}

std::string DomainOf(const lb::LogSwitchConfigMsg& config) {
    if (!config.has_routing_domain_id()) {
        return GlobalDomain();
    }
    return Uuid::FromMsg(config.routing_domain_id()).Serialized();
}

uint32_t GroupLabel(const std::string& value) {
    lb::VtepLabelMsg label;
    label.ParseFromString(value);
    return label.label();
}

bool MacHasGroupLabel(const std::string& value) {
    lb::LogSwitchMacEntryMsg mac;
    mac.ParseFromString(value);
    return mac.has_tep_group_label();
}

std::string VtepText(const std::string& value) {
    lb::LogSwitchVtepEntryMsg vtep;
    vtep.ParseFromString(value);
    return vtep.ShortDebugString();
}

// What identifies a VTEP beside its key: its addresses and MAC.
bool SameVtepAddress(const std::string& a, const std::string& b) {
    lb::LogSwitchVtepEntryMsg first;
    lb::LogSwitchVtepEntryMsg second;
    first.ParseFromString(a);
    second.ParseFromString(b);
    return first.vtep_ip() == second.vtep_ip() && first.vtep_ipv6() == second.vtep_ipv6() &&
           first.vtep_mac() == second.vtep_mac();
}

uint32_t Ipv4Number(const VxlanIp& ip) {
    return (uint32_t{ip[0]} << 24) | (uint32_t{ip[1]} << 16) | (uint32_t{ip[2]} << 8) | ip[3];
}

// The table's key of the store's IP entry for an address.
L2ValueKey AddressKey(const VxlanIp& ip, bool ipv6) {
    lb::LogSwitchIpEntryMsg entry;
    if (ipv6) {
        entry.mutable_ip()->set_ipv6(std::string(ip.begin(), ip.end()));
    } else {
        entry.mutable_ip()->set_ipv4(Ipv4Number(ip));
    }
    return StateCacheL2Table::GetL2PropertyValueKeyFromString(entry.SerializeAsString(), L2_VM_IP);
}

}  // namespace

// What one batch of store changes sends: domain joins, the Update row, and
// domain leaves, in that order.
struct L2App::Batch {
    std::vector<Bytes> joins;
    L2TlvBatch updates;
    std::vector<Bytes> leaves;
    // The deletes of MACs in this batch, by VNI and MAC: where their TLV
    // stands and whether they named a group label.
    std::map<std::pair<uint32_t, uint64_t>, std::pair<size_t, bool>> macDeletes;
};

L2App::L2App(zef::RefPtr<StateCacheConfigTable> configTable, zef::RefPtr<StateCacheL2Table> l2Table,
             zef::RefPtr<MsgDispatcher> dispatcher)
    : _configTable(std::move(configTable)),
      _l2Table(std::move(l2Table)),
      _dispatcher(std::move(dispatcher)),
      _alarmReporter(std::make_unique<L2AlarmReporter>(*_configTable)),
      _sessionId(SessionIdSeed::Now()) {}

L2App::~L2App() = default;

void L2App::Init(const boost::property_tree::ptree& config, LinkFactory makeLink) {
    if (!makeLink) {
        // Required: a missing path ends the start rather than dialling nothing.
        const std::string path = config.get<std::string>("taklink.path");
        makeLink = [path](DataplaneLink::DataCallback data, DataplaneLink::StatusCallback status) {
            return zef::RefPtr<DataplaneLink>(
                new DataplaneTaklink(path, std::move(data), std::move(status), nullptr, kBufferSize));
        };
    }
    _link = makeLink([this](const unsigned char* message, int length) { OnData(message, length); },
                     [this](DataplaneLink* link, DataplaneLink::LinkStatus status) { OnLinkStatus(link, status); });
    _configTable->RegisterDesiredStateObserver(LOG_SWITCH_CONFIG, this);
    _l2Table->RegisterDesiredStateObserver(this);
    _dispatcher->Register(L2APP, zef::RefPtr<Component>(this));
    _alarmReporter->Start();
}

void L2App::Start() {
    _link->open();
    Lock guard(agentLock());
    _stateQueryTimer = std::make_shared<Timer>(IoContexts::Health(), &L2App::OnStateQueryTimer, nullptr, this);
    _stateQueryTimer->Start(kStateQueryMicros);
}

void L2App::Stop() {
    {
        Lock guard(agentLock());
        if (_stateQueryTimer) {
            _stateQueryTimer->Close();
            _stateQueryTimer.reset();
        }
    }
    // The link's loops take agentLock, so they end outside it.
    if (_link) {
        _link->close();
        _link->stop();
    }
    _configTable->UnregisterDesiredStateObserver(this);
    _l2Table->UnregisterDesiredStateObserver(this);
    _dispatcher->Unregister(zef::RefPtr<Component>(this));
    _alarmReporter->Stop();
}

void L2App::OnStateQueryTimer() {
    Lock guard(agentLock());
    if (!_stateQueryTimer) {
        return;
    }
    Send(VxlanControlCodec::BuildStateQuery(), LL_DEBUG);
    _stateQueryTimer->Start(kStateQueryMicros);
}

// ---- Sending ----

bool L2App::Send(std::span<const uint8_t> message, int dumpLevel) {
    CFG_LOG(LL_DEBUG, "%1: send a message to the dataplane", kName);
    VxlanDump::Log(dumpLevel, message);
    return _link && _link->sendCopy(message);
}

void L2App::SendAll(const std::vector<Bytes>& messages, int dumpLevel) {
    for (const Bytes& message : messages) {
        Send(message, dumpLevel);
    }
}

void L2App::SendBatch(const L2TlvBatch& batch) {
    batch.ForEachMessage(kMaxMessageLength, [this](Bytes&& message) { Send(message, LL_DEBUG); });
}

void L2App::SendMessages(const std::vector<Bytes>& messages) { SendAll(messages, LL_INFO); }

void L2App::SendUpdateTlvs(const std::vector<Bytes>& tlvs) {
    for (const Bytes& tlv : tlvs) {
        Bytes message;
        if (!VxlanMessage::Wrap(VXLAN_MSG_UPDATE, {tlv}, message)) {
            continue;
        }
        const std::optional<Tlv> inner = Tlv::At(tlv, 0);
        const uint16_t type = inner ? inner->Type() : 0;
        const bool loud = type == VXLAN_DATATYPE_VTEP_MBR || type == VXLAN_DATATYPE_ROUTING_DOMAIN_VTEP_MBR ||
                          type == VXLAN_DATATYPE_BFD_SESSION;
        Send(message, loud ? LL_INFO : LL_DEBUG);
    }
}

void L2App::SetBfdCallbacks(FullSyncCallback fullSync, VniChangeCallback vniChange, LsVniCallback lsVni) {
    _fullSyncCallback = std::move(fullSync);
    _vniChangeCallback = std::move(vniChange);
    _lsVniCallback = std::move(lsVni);
}

bool L2App::SwitchIdOfVni(uint32_t vni, uint32_t& switchId) const {
    auto it = _vniMap.find(vni);
    if (it == _vniMap.end()) {
        return false;
    }
    switchId = it->second.switchId;
    return true;
}

bool L2App::SwitchIdOfRoutingDomain(const std::string& domainId, uint32_t& switchId) const {
    auto it = _routingDomains.find(domainId);
    if (it == _routingDomains.end() || it->second.switchId == kNoSwitchId) {
        return false;
    }
    switchId = it->second.switchId;
    return true;
}

size_t L2App::QueuedMessageCount() const {
    size_t count = 0;
    for (const auto& [vni, records] : _queuedMessages) {
        count += records.size();
    }
    return count;
}

// ---- The session ----

void L2App::OnLinkStatus(DataplaneLink* link, DataplaneLink::LinkStatus status) {
    Lock guard(agentLock());
    if (link != _link.get()) {
        return;
    }
    if (status != DataplaneLink::LINK_UP) {
        CFG_LOG(LL_INFO, "%1: taklink down", kName);
        return;
    }
    CFG_LOG(LL_INFO, "%1: taklink up", kName);
    StartSession();
}

void L2App::SimulateOutOfSync() {
    Lock guard(agentLock());
    StartSession();
}

void L2App::StartSession() {
    _sessionState = SESSION_NONE;
    // What the kernel holds is what its report will say.
    _queuedInstances.clear();
    _joinedInSession.clear();
    _vtepGroups.ForgetUsers();
    const Bytes open = VxlanControlCodec::BuildSession({VXLAN_SESSION_OPEN, ++_sessionId});
    Send(open, LL_INFO);
    _sessionState = SESSION_OPEN_SENT;
    SendConfigure();
    if (_l2Table->FullLoadDone()) {
        SendRoutingDomainLists();
    }
}

void L2App::SendConfigure() {
    std::vector<VxlanConfigureItem> items;
    const std::pair<uint16_t, uint16_t> settings[] = {
        {VXLAN_CFG_MAX_MSG_LEN, kMaxMessageLength}, {VXLAN_CFG_FREQ_PERIOD, kFreqPeriodMillis},
        {VXLAN_CFG_FREQ_QUERY, kQueryLimit},         {VXLAN_CFG_FREQ_UPDATE, kUpdateLimit},
        {VXLAN_CFG_BTE_AGEING, kBteAgeingSeconds},   {VXLAN_CFG_ARP_AGEING, kArpAgeingSeconds},
    };
    for (const auto& [type, number] : settings) {
        VxlanConfigureItem item;
        item.type = type;
        item.number = number;
        items.push_back(item);
    }
    Bytes message;
    if (VxlanConfigureCodec::Build(items, message)) {
        Send(message, LL_DEBUG);
    }
}

void L2App::SendRoutingDomainLists() {
    L2TlvBatch batch;
    for (uint32_t instance : _instanceSet) {
        VxlanRdList list{instance, 0, {}};
        for (const auto& [id, domain] : _routingDomains) {
            if (domain.switchId == instance) {
                list.routingDomains.push_back(DomainBytes(id));
            }
        }
        Bytes tlv;
        if (VxlanRdListCodec::Build(list, tlv)) {
            batch.AddTlv(std::move(tlv));
        }
    }
    SendBatch(batch);
}

void L2App::OnData(const unsigned char* message, int length) {
    const std::span<const uint8_t> bytes(message, static_cast<size_t>(std::max(length, 0)));
    CFG_LOG(LL_DEBUG, "%1: receive a message from kernel", kName);
    const std::optional<Tlv> header = VxlanMessage::Header(bytes);
    const uint16_t type = header ? header->Type() : 0;
    Lock guard(agentLock());
    switch (type) {
        case VXLAN_MSG_UPDATE:
            HandleUpdate(bytes);
            break;
        case VXLAN_MSG_TEP_STATE:
            _alarmReporter->handleVxlanTEPAlarm(bytes);
            break;
        case VXLAN_MSG_VNI_MEMBERSHIP:
        case VXLAN_MSG_LINK_CHANGE:
        case VXLAN_MSG_QUERY:
        case VXLAN_MSG_NOTIFICATION:
        case VXLAN_MSG_STATE_REPORT:
        case VXLAN_MSG_SESSION_CONTROL:
        case VXLAN_MSG_INSTANCE_CHANGE:
            HandleInternal(type, bytes);
            break;
        default:
            CFG_LOG(LL_ERROR, "%1: unknown vxlan msg %2", kName, type);
            break;
    }
}

void L2App::HandleInternal(uint16_t type, std::span<const uint8_t> message) {
    switch (type) {
        case VXLAN_MSG_VNI_MEMBERSHIP:
            if (_sessionState <= SESSION_OPEN_SENT) {
                CFG_LOG(LL_DEBUG, "%1: not ready to receive internal vxlan VNI change message", kName);
                return;
            }
            HandleVniMembership(message);
            return;
        case VXLAN_MSG_QUERY:
            HandleQuery(message);
            return;
        case VXLAN_MSG_NOTIFICATION:
            return;
        case VXLAN_MSG_STATE_REPORT:
            HandleStateReport(message);
            return;
        case VXLAN_MSG_SESSION_CONTROL:
            HandleSessionControl(message);
            return;
        case VXLAN_MSG_INSTANCE_CHANGE:
            if (_sessionState <= SESSION_OPEN_SENT) {
                CFG_LOG(LL_DEBUG, "%1: not ready to receive internal vxlan instance change message", kName);
                return;
            }
            HandleInstanceChange(message);
            return;
        default:
            CFG_LOG(LL_ERROR, "%1: internal vxlan message(type:%2) need handler", kName, type);
            return;
    }
}

void L2App::HandleSessionControl(std::span<const uint8_t> message) {
    VxlanSession session;
    const std::string reason = VxlanControlCodec::ReadSession(message, session);
    if (!reason.empty()) {
        const std::optional<Tlv> data = Tlv::At(message, VxlanMessage::kRowOffset);
        if (data && data->Type() != VXLAN_SESSION_DATATYPE) {
            CFG_LOG(LL_ERROR, "%1: unsupported session control data type %2", kName, data->Type());
        } else {
            CFG_LOG(LL_ERROR, "%1: invalid Session L2 mapping message length %2", kName, message.size());
        }
        return;
    }
    if (session.sessionId != _sessionId) {
        CFG_LOG(LL_ERROR, "%1: skip messages with sessionID %2, current sessionID %3", kName, session.sessionId,
                _sessionId.load());
        return;
    }
    if (session.controlType == VXLAN_SESSION_OPEN_ACK) {
        CFG_LOG(LL_INFO, "%1: get L2 mapping session control open ack message from dataplane", kName);
        _sessionState = SESSION_ACKED;
        _inFullSync = true;
    } else if (session.controlType == VXLAN_SESSION_FULL_SYNC_END) {
        CFG_LOG(LL_INFO, "%1: get L2 mapping session control full sync end message from dataplane", kName);
        HandleFullSyncEnd();
    }
}

void L2App::HandleFullSyncEnd() {
    if (_sessionState != SESSION_ACKED) {
        _inFullSync = false;
        return;
    }
    // VNIs the kernel no longer reports have left it.
    std::vector<uint32_t> gone;
    for (const auto& [vni, entry] : _vniMap) {
        if (!_joinedInSession.contains(vni)) {
            gone.push_back(vni);
        }
    }
    for (uint32_t vni : gone) {
        VniLeave(vni);
    }
    const bool loaded = _l2Table->FullLoadDone();
    if (loaded) {
        LoftDBUpdateList released = ReleaseQueuedMessages();
        released.splice(released.end(), _queuedRDVtep);
        released.splice(released.end(), _queuedGlobalRDVtep);
        _l2Table->UpdateRuntimeState(released, true);
        _globalRDFullSync = false;
        for (const auto& [id, domain] : _routingDomains) {
            SyncRoutingDomainToKernel(id);
        }
        if (_fullSyncCallback) {
            _fullSyncCallback();
        }
    }
    // Once the released updates went as the runtime full sync, a second,
    // empty one would take back all they brought.
    _globalRDFullSync = !loaded;
    if (!loaded && _queuedMessages.empty()) {
        CFG_LOG(LL_INFO,
                "%1: DP full sync done, no queued LS fib and regular RD (fib), write global RD fib to L2 "
                "runtime statecache",
                kName);
        LoftDBUpdateList global = std::exchange(_queuedGlobalRDVtep, {});
        _l2Table->UpdateRuntimeState(global, true);
        _globalRDFullSync = false;
    }
    ApplyQueuedInstances();
    SyncGlobalRoutingDomain();
    _sessionState = SESSION_RUNNING;
    _inFullSync = false;
    _alarmReporter->reportPendingAlarms();
}

LoftDBUpdateList L2App::ReleaseQueuedMessages() {
    LoftDBUpdateList released;
    for (auto it = _queuedMessages.begin(); it != _queuedMessages.end();) {
        if (it->second.empty() || it->second.front().objectId.empty()) {
            CFG_LOG(LL_DEBUG, "%1: LSID is not ready for VNI %2", kName, it->first);
            ++it;
            continue;
        }
        released.splice(released.end(), it->second);
        it = _queuedMessages.erase(it);
    }
    return released;
}

void L2App::HandleStateReport(std::span<const uint8_t> message) {
    bool outOfSync = false;
    const std::string reason = VxlanControlCodec::ReadStateReport(message, outOfSync);
    if (!reason.empty()) {
        const std::optional<Tlv> data = Tlv::At(message, VxlanMessage::kRowOffset);
        if (data && data->Type() != VXLAN_OUT_OF_SYNC) {
            CFG_LOG(LL_ERROR, "%1: unsupported state report data type %2", kName, data->Type());
        } else {
            CFG_LOG(LL_ERROR, "%1: unsupported state report data length %2", kName, message.size());
        }
        return;
    }
    CFG_LOG(LL_INFO, "%1: get out-of-sync(%2) report from dataplane", kName, outOfSync);
    if (outOfSync) {
        StartSession();
    }
}

// ---- VNIs and instances ----

void L2App::HandleVniMembership(std::span<const uint8_t> message) {
    VxlanVniMembership change;
    const std::string reason = VxlanControlCodec::ReadVniMembership(message, change);
    if (!reason.empty()) {
        CFG_LOG(LL_ERROR, "%1: TLV message validation failed at line %2", kName, __LINE__);
        return;
    }
    if (change.operation == VXLAN_JOIN) {
        VniJoin(change.vni, change.switchId);
    } else {
        VniLeave(change.vni);
    }
}

void L2App::VniLeave(uint32_t vni) {
    auto it = _vniMap.find(vni);
    if (it == _vniMap.end()) {
        CFG_LOG(LL_INFO, "%1: No-existing VNI Leave message: %2", kName, vni);
    } else {
        const std::string switchUuid = it->second.switchUuid;
        if (!switchUuid.empty()) {
            CFG_LOG(LL_INFO, "%1: Delete runtime states when LS %2 is deleted", kName, IdText(switchUuid));
            _l2Table->RemoveLocalObject(switchUuid);
            _vtepGroups.ForgetUser(switchUuid);
            if (_vniChangeCallback) {
                _vniChangeCallback(switchUuid, false);
            }
            if (_lsVniCallback) {
                _lsVniCallback(switchUuid, vni, false);
            }
        }
        _vniMap.erase(it);
        _joinedInSession.erase(vni);
        CFG_LOG(LL_INFO, "%1: Remove logical switch(VNI: %2)", kName, vni);
    }
    if (_queuedMessages.erase(vni) != 0) {
        CFG_LOG(LL_INFO, "%1: Remove VNI %2 from queued message list", kName, vni);
    }
}

void L2App::VniJoin(uint32_t vni, uint32_t switchId) {
    auto [it, added] = _vniMap.try_emplace(vni);
    if (added) {
        CFG_LOG(LL_INFO, "%1: Add logical switch(VNI: %2, switchID: %3)", kName, vni, switchId);
    } else {
        CFG_LOG(LL_INFO, "%1: Duplicate VNI Join message: %2", kName, vni);
    }
    it->second.switchId = switchId;
    _joinedInSession.insert(vni);
    const std::string switchUuid = SwitchOfVni(vni);
    if (switchUuid.empty()) {
        return;
    }
    SetSwitchOfVni(vni, it->second, switchUuid, "%1: Set logical switch UUID %2 for VNI %3 when VNI is joined");
    RealizeSwitch(vni, it->second);
}

void L2App::SetSwitchOfVni(uint32_t vni, Vni& entry, const std::string& switchUuid, const char* line) {
    entry.switchUuid = switchUuid;
    CFG_LOG(LL_INFO, line, kName, IdText(switchUuid), vni);
    if (_lsVniCallback) {
        _lsVniCallback(switchUuid, vni, true);
    }
}

void L2App::RealizeSwitch(uint32_t vni, const Vni& entry) {
    SyncSwitchToKernel(vni, entry);
    std::string macManagement;
    if (_configTable->GetObjectProperty(LOG_SWITCH_CONFIG, LS_MAC_MANAGEMENT, entry.switchUuid, macManagement)) {
        SendMacLimit(macManagement, vni, entry.switchId);
    }
    auto domain = _lsToRoutingDomain.find(entry.switchUuid);
    if (domain != _lsToRoutingDomain.end()) {
        auto found = _routingDomains.find(domain->second);
        if (found != _routingDomains.end() && found->second.switchId == kNoSwitchId) {
            found->second.switchId = entry.switchId;
            CFG_LOG(LL_INFO, "%1: Update routingDomainID %2 with switchID %3", kName, IdText(domain->second),
                    entry.switchId);
            LoftDBUpdateList records;
            WriteLocalRdVteps(domain->second, entry.switchId, records);
            if (!records.empty()) {
                CFG_LOG(LL_INFO, "%1-DR-ARP: UpdateRDVtepToL2Cache sends LoftDBUpdateMsg, switchID %2", kName,
                        entry.switchId);
                _l2Table->UpdateRuntimeState(records, false);
            }
            SyncRoutingDomainToKernel(domain->second);
        }
    }
    if (_vniChangeCallback) {
        _vniChangeCallback(entry.switchUuid, true);
    }
}

void L2App::HandleInstanceChange(std::span<const uint8_t> message) {
    VxlanSwitchFlag change;
    if (!VxlanControlCodec::ReadInstanceChange(message, change).empty()) {
        CFG_LOG(LL_ERROR, "%1: invalid instance change message length %2", kName, message.size());
        return;
    }
    const bool join = change.value == VXLAN_JOIN;
    const uint32_t instance = change.switchId;
    if (_inFullSync) {
        if (join && !_queuedInstances.insert(instance).second) {
            CFG_LOG(LL_ERROR, "%1: queued ovl2 instance %2 already exit", kName, instance).Tag("errorCode:LCP00407");
        } else if (!join && _queuedInstances.erase(instance) == 0) {
            CFG_LOG(LL_ERROR, "%1: queued ovl2 instance %2 not exit", kName, instance).Tag("errorCode:LCP00407");
        } else {
            CFG_LOG(LL_INFO, join ? "%1: Insert queued ovl2 instance %2" : "%1: Remove queued ovl2 instance %2",
                    kName, instance);
        }
        return;
    }
    if (join && !_instanceSet.insert(instance).second) {
        CFG_LOG(LL_ERROR, "%1: ovl2 instance %2 already exit", kName, instance);
    } else if (!join && _instanceSet.erase(instance) == 0) {
        CFG_LOG(LL_ERROR, "%1: ovl2 instance %2 not exit", kName, instance);
    } else {
        CFG_LOG(LL_INFO, join ? "%1: Insert ovl2 instance %2" : "%1: Remove ovl2 instance %2", kName, instance);
    }
    SyncGlobalRoutingDomain();
}

void L2App::ApplyQueuedInstances() {
    for (uint32_t instance : _instanceSet) {
        if (!_queuedInstances.contains(instance)) {
            CFG_LOG(LL_INFO, "%1: Remove old instance %2", kName, instance);
        }
    }
    std::string text;
    for (uint32_t instance : _queuedInstances) {
        if (!_instanceSet.contains(instance)) {
            CFG_LOG(LL_INFO, "%1: Insert new instance %2", kName, instance);
        }
        text += (text.empty() ? "" : ",") + std::to_string(instance);
    }
    _instanceSet = std::exchange(_queuedInstances, {});
    CFG_LOG(LL_INFO, "%1: Instance set: %2", kName, text);
}

bool L2App::GlobalInstance(uint32_t& switchId) const {
    if (_instanceSet.empty()) {
        CFG_LOG(LL_INFO, "%1: sync global routing domain, no ovl2 instance found", kName);
        return false;
    }
    if (_instanceSet.size() > 1) {
        CFG_LOG(LL_ERROR, "%1: only one host switch is supported for global routing domain %2 instance found",
                kName, _instanceSet.size());
        return false;
    }
    switchId = *_instanceSet.begin();
    return true;
}

void L2App::SyncGlobalRoutingDomain() {
    uint32_t switchId = 0;
    if (!GlobalInstance(switchId)) {
        return;
    }
    Send(VxlanControlCodec::BuildRdMembership({switchId, VXLAN_JOIN, VxlanUuid{}, 1}), LL_INFO);
    std::vector<L2Entry> rows;
    if (!_l2Table->GetDesiredObject(GlobalDomain(), rows)) {
        CFG_LOG(LL_DEBUG, "%1: L2 remote global routing state cache is empty", kName);
        return;
    }
    CFG_LOG(LL_DEBUG, "%1: L2 remote global routing state cache sync to dp msg", kName);
    Batch batch;
    for (const L2Entry& row : rows) {
        AddDomainRow(LoftDBUpdateMsg(row.objectType, row.objectId, OP_UPDATE, row.propertyType, row.value),
                     false, batch);
    }
    SendBatch(batch.updates);
}

// ---- Kernel updates ----

void L2App::HandleUpdate(std::span<const uint8_t> message) {
    if (_sessionState < SESSION_ACKED) {
        CFG_LOG(LL_DEBUG, "%1: not ready to receive internal vxlan update message", kName);
        return;
    }
    std::vector<Tlv> row;
    if (!VxlanUpdateCodec::Read(message, row).empty()) {
        CFG_LOG(LL_ERROR, "%1: TLV message validation failed at line %2", kName, __LINE__);
    }
    LoftDBUpdateList records;
    for (const Tlv& data : row) {
        switch (data.Type()) {
            case VXLAN_DATATYPE_VMMAC:
                CFG_LOG(LL_DEBUG, "%1: receive VM MAC update", kName);
                HandleMacOrVtepUpdate(data, records);
                break;
            case VXLAN_DATATYPE_VTEP_MBR:
                CFG_LOG(LL_DEBUG, "%1: receive VTEP membership update", kName);
                HandleMacOrVtepUpdate(data, records);
                break;
            case VXLAN_DATATYPE_ROUTING_DOMAIN_VTEP_MBR:
                CFG_LOG(LL_DEBUG, "%1: receive Routing Domain VTEP membership update", kName);
                HandleRdVtepUpdate(data, records);
                break;
            default:
                CFG_LOG(LL_ERROR, "%1: unsupported update data type %2", kName, data.Type());
                break;
        }
    }
    if (!records.empty()) {
        _l2Table->UpdateRuntimeState(records, false);
    }
}

bool L2App::ReadKernelEntries(const Tlv& data, uint32_t& vni, std::vector<KernelEntry>& entries) const {
    entries.clear();
    if (data.Type() == VXLAN_DATATYPE_VMMAC) {
        VxlanMacUpdate update;
        if (!VxlanMacUpdateCodec::Read(data, update).empty()) {
            CFG_LOG(LL_ERROR, "%1: invalid VXLAN_DATATYPE_VMMAC message length %2", kName, data.Length());
            return false;
        }
        vni = update.vni;
        for (const auto* list : {&update.removed, &update.added}) {
            for (const VxlanMacEntry& mac : *list) {
                entries.push_back({L2_VM_MAC, list == &update.removed, L2EntryConvertor::MacToStore(mac)});
            }
        }
        return true;
    }
    VxlanVtepUpdate update;
    if (!VxlanVtepUpdateCodec::Read(data, update).empty()) {
        CFG_LOG(LL_ERROR, "%1: invalid VXLAN_DATATYPE_VTEP_MBR message length %2", kName, data.Length());
        return false;
    }
    vni = update.vni;
    for (const auto* list : {&update.removed, &update.added}) {
        const bool removed = list == &update.removed;
        for (size_t i = 0; i < list->size(); ++i) {
            std::string value;
            if (!L2EntryConvertor::VtepToStore((*list)[i], value)) {
                CFG_LOG(LL_ERROR,
                        removed ? "VTEPUpdateTLV2PB: Invalid address type %1 for delEntries[%2]"
                                : "VTEPUpdateTLV2PB: Invalid address type %1 for addEntries[%2]",
                        (*list)[i].addressType, i);
                continue;
            }
            entries.push_back({L2_VTEP, removed, std::move(value)});
        }
    }
    return true;
}

void L2App::HandleMacOrVtepUpdate(const Tlv& data, LoftDBUpdateList& records) {
    const bool isMac = data.Type() == VXLAN_DATATYPE_VMMAC;
    uint32_t vni = 0;
    std::vector<KernelEntry> entries;
    if (!ReadKernelEntries(data, vni, entries)) {
        return;
    }
    auto joined = _vniMap.find(vni);
    if (joined == _vniMap.end()) {
        CFG_LOG(LL_ERROR,
                isMac ? "%1: ignore VM MAC update due to no VNI join %1"
                      : "%1: ignore VTEP membership update due to no VNI join %1",
                kName, vni);
        return;
    }
    const std::string& switchUuid = joined->second.switchUuid;
    LoftDBUpdateList converted;
    for (KernelEntry& entry : entries) {
        converted.push_back(EntryRecord(LOG_SWITCH_STATE, switchUuid, entry.removed ? OP_DELETE : OP_UPDATE,
                                        entry.propertyType, std::move(entry.value)));
    }
    if (_inFullSync || switchUuid.empty()) {
        auto [queued, added] = _queuedMessages.try_emplace(vni);
        if (added) {
            CFG_LOG(LL_DEBUG, "%1: insert VNI join before inserting local FIB update: %2", kName, vni);
            queued->second.push_back(ObjectRecord(LOG_SWITCH_STATE, switchUuid, OP_UPDATE));
        }
        queued->second.splice(queued->second.end(), converted);
        CFG_LOG(LL_INFO,
                isMac ? "%1: Insert VNI %2 VM MAC to queued message list"
                      : "%1: Insert VNI %2 VTEP to queued message list",
                kName, vni);
        return;
    }
    if (!_l2Table->HasRuntimeObject(switchUuid)) {
        records.push_back(ObjectRecord(LOG_SWITCH_STATE, switchUuid, OP_UPDATE));
    }
    records.splice(records.end(), converted);
}

void L2App::HandleRdVtepUpdate(const Tlv& data, LoftDBUpdateList& records) {
    VxlanRdVtepUpdate update;
    if (!VxlanRdVtepUpdateCodec::Read(data, update).empty()) {
        CFG_LOG(LL_ERROR, "%1: invalid VXLAN_DATATYPE_ROUTING_DOMAIN_VTEP_MBR message length %2", kName,
                data.Length());
        return;
    }
    if (update.global != 0) {
        HandleGlobalRdVteps(update, records);
        return;
    }
    const std::string domain = L2EntryConvertor::DomainFromWire(update.routingDomain).Serialized();
    for (const auto* list : {&update.removed, &update.added}) {
        for (const VxlanVtepEntry& vtep : *list) {
            RecordLocalRdVtep(domain, update.switchId, vtep, list == &update.removed, records);
        }
    }
}

void L2App::HandleGlobalRdVteps(const VxlanRdVtepUpdate& update, LoftDBUpdateList& records) {
    LoftDBUpdateList converted{ObjectRecord(ROUTING_DOMAIN_VTEP, GlobalDomain(), OP_UPDATE)};
    for (const auto* list : {&update.removed, &update.added}) {
        const bool removed = list == &update.removed;
        for (const VxlanVtepEntry& vtep : *list) {
            std::string value;
            if (!L2EntryConvertor::VtepToStore(vtep, value)) {
                continue;
            }
            CFG_LOG(LL_INFO, removed ? "%1: del global routing domain vtep %2" : "%1: add global routing domain vtep %2",
                    kName, VtepText(value));
            converted.push_back(EntryRecord(ROUTING_DOMAIN_VTEP, GlobalDomain(), removed ? OP_DELETE : OP_UPDATE,
                                            L2_VTEP, std::move(value)));
        }
    }
    if (_inFullSync) {
        CFG_LOG(LL_INFO, "%1: Insert global routing domain local VTEP to queued message list", kName);
        _queuedGlobalRDVtep.splice(_queuedGlobalRDVtep.end(), converted);
    } else if (_globalRDFullSync || !_l2Table->FullLoadDone()) {
        CFG_LOG(LL_INFO, "%1: L2 runtime statecache full sync not done, queue global routing domain update", kName);
        _queuedGlobalRDVtep.splice(_queuedGlobalRDVtep.end(), converted);
    } else {
        records.splice(records.end(), converted);
    }
}

void L2App::RecordLocalRdVtep(const std::string& domain, uint32_t switchId, const VxlanVtepEntry& vtep,
                              bool removed, LoftDBUpdateList& records) {
    std::string value;
    if (!L2EntryConvertor::VtepToStore(vtep, value)) {
        return;
    }
    const bool v6 = vtep.addressType == VXLAN_ADDR_IPV6;
    std::map<uint32_t, std::string>& local = v6 ? _localRDVTEPv6 : _localRDVTEP;
    const std::string text = VtepText(value);
    LoftDBUpdateList converted;
    if (!removed) {
        auto [it, added] = local.try_emplace(switchId, value);
        if (added) {
            CFG_LOG(LL_INFO, "%1: add local routing domain VTEP %2, switchID %3", kName, text, switchId);
        } else {
            CFG_LOG(LL_INFO,
                    v6 ? "%1-DR-ARP: _localRDVTEPv6 replaces, addRDVTEP %2, switchID %3"
                       : "%1-DR-ARP: _localRDVTEP replaces, addRDVTEP %2, switchID %3",
                    kName, text, switchId);
            it->second = value;
        }
        CFG_LOG(LL_INFO, "DR-ARP: updateMsg(OPERATION_UPDATE), %1, switchID %2", text, switchId);
        converted.push_back(ObjectRecord(ROUTING_DOMAIN_VTEP, domain, OP_UPDATE));
        converted.push_back(EntryRecord(ROUTING_DOMAIN_VTEP, domain, OP_UPDATE, L2_VTEP, value));
    } else {
        CFG_LOG(LL_INFO, "%1, delete local routing domain VTEP %2, switchID %3", kName, text, switchId);
        auto it = local.find(switchId);
        if (it == local.end() || L2EntryConvertor::VtepLabel(it->second) != vtep.vtepLabel) {
            return;
        }
        uint32_t domainSwitch = kNoSwitchId;
        SwitchIdOfRoutingDomain(domain, domainSwitch);
        CFG_LOG(LL_INFO, "%1-DR-ARP: delRDVTEP %2, switchID %3, RDMap switchID %4", kName, text, switchId,
                domainSwitch);
        local.erase(it);
        CFG_LOG(LL_INFO, "%1-DR-ARP: delVTEP, updateMsg(DELETE), switchID %2", kName, switchId);
        converted.push_back(EntryRecord(ROUTING_DOMAIN_VTEP, domain, OP_DELETE, L2_VTEP, value));
    }
    if (_inFullSync) {
        CFG_LOG(LL_INFO, "%1: Insert routing domain local VTEP to queued message list", kName);
        _queuedRDVtep.splice(_queuedRDVtep.end(), converted);
        return;
    }
    CFG_LOG(LL_INFO,
            removed ? "%1: record deleted local routing domain VTEP %2, switchID %3"
                    : "%1: record added local routing domain VTEP %2, switchID %3",
            kName, text, switchId);
    records.splice(records.end(), converted);
}

void L2App::HandleQuery(std::span<const uint8_t> message) {
    std::vector<VxlanQuery> queries;
    const std::string reason = VxlanQueryCodec::Read(message, queries);
    if (!reason.empty()) {
        CFG_LOG(LL_ERROR, "%1: invalid %2 message length at line %3", kName, reason, __LINE__);
    }
    L2TlvBatch answers;
    for (const VxlanQuery& query : queries) {
        std::string switchUuid;
        auto joined = _vniMap.find(query.vni);
        if (joined != _vniMap.end()) {
            switchUuid = joined->second.switchUuid;
        }
        if (switchUuid.empty()) {
            CFG_LOG(LL_ERROR,
                    query.dataType == VXLAN_DATATYPE_VMMAC   ? "%1: MAC query, LSID can't be found for VNI %2"
                    : query.dataType == VXLAN_DATATYPE_ARPv4 ? "%1: ARP query, LSID can't be found for VNI %2"
                                                             : "%1: IPv6 Neighbour Discovery query, LSID can't be "
                                                               "found for VNI %2",
                    kName, query.vni);
            continue;
        }
        AnswerQuery(query, switchUuid, answers);
    }
    SendBatch(answers);
}

bool L2App::DesiredMac(const std::string& switchUuid, uint64_t mac, VxlanMacEntry& entry) const {
    std::string value;
    return _l2Table->GetDesiredValueByKey(switchUuid, L2_VM_MAC, mac, value) &&
           L2EntryConvertor::MacToWire(value, entry);
}

void L2App::AnswerQuery(const VxlanQuery& query, const std::string& switchUuid, L2TlvBatch& answers) {
    if (query.dataType == VXLAN_DATATYPE_VMMAC) {
        for (const VxlanMac& mac : query.macs) {
            VxlanMacEntry entry;
            if (DesiredMac(switchUuid, MacToNumber(mac), entry)) {
                answers.AddMac(query.switchId, query.vni, entry, false);
            }
        }
        return;
    }
    if (query.dataType != VXLAN_DATATYPE_ARPv4 && query.dataType != VXLAN_DATATYPE_NDv6) {
        CFG_LOG(LL_ERROR, "%1: Unknown internal data type in query message: %2", kName, query.dataType);
        return;
    }
    const bool ipv6 = query.dataType == VXLAN_DATATYPE_NDv6;
    VxlanNeighborUpdate update{ipv6, query.switchId, query.vni, {}};
    for (const VxlanIp& ip : query.ips) {
        std::string value;
        uint64_t mac = 0;
        VxlanNeighbor neighbor{ip, {}};
        if (!_l2Table->GetDesiredValueByKey128(switchUuid, L2_VM_IP, AddressKey(ip, ipv6), value) ||
            !L2EntryConvertor::MacOfIp(value, mac) || !DesiredMac(switchUuid, mac, neighbor.mac)) {
            continue;
        }
        CFG_LOG(LL_DEBUG, "Discovered mac %1 for DP Query- ", mac);
        update.entries.push_back(neighbor);
    }
    Bytes tlv;
    if (!update.entries.empty() && VxlanNeighborUpdateCodec::Build(update, tlv)) {
        answers.AddTlv(std::move(tlv));
    }
}

// ---- Desired state towards the kernel ----

VxlanControllerIp L2App::ControllerIp(uint32_t switchId, uint32_t vni) const {
    VxlanControllerIp update{switchId, vni, _ccpAddressType, 0, {}};
    switch (_ccpAddressType) {
        case VXLAN_ADDR_IPV4:
            update.ipv4 = _ccpIpv4;
            break;
        case VXLAN_ADDR_IPV6:
            update.ipv6 = _ccpIpv6;
            break;
        case VXLAN_ADDR_BOTH:
            CFG_LOG(LL_ERROR, "BuildCtlrIPUpdateMsg: Controller address type is IPV4_AND_IPV6");
            update.ipv4 = _ccpIpv4;
            update.ipv6 = _ccpIpv6;
            break;
        default:
            CFG_LOG(LL_ERROR, "BuildCtlrIPUpdateMsg: Invalid Controller address type");
            break;
    }
    return update;
}

L2App::Bytes L2App::LinkChange(uint32_t switchId, uint32_t vni) const {
    VxlanLinkChange change{switchId, _ccpStatus == kCcpConnected ? VXLAN_LINK_UP : VXLAN_LINK_DOWN, {{vni, 1, 1}}};
    Bytes message;
    VxlanControlCodec::BuildLinkChange(change, message);
    return message;
}

void L2App::SendVniMembershipChange(uint32_t vni, uint32_t switchId) {
    Send(VxlanControlCodec::BuildVniMembership({switchId, vni, VXLAN_JOIN}), LL_INFO);
    Send(LinkChange(switchId, vni), LL_INFO);
    Send(VxlanControlCodec::BuildControllerIp(ControllerIp(switchId, vni)), LL_INFO);
    auto domain = _lsToRoutingDomain.find(SwitchOfVni(vni));
    if (domain != _lsToRoutingDomain.end() && !IsNilDomain(domain->second)) {
        SendRoutingDomainId(domain->first, domain->second);
    }
}

void L2App::SyncSwitchToKernel(uint32_t vni, const Vni& entry) {
    std::vector<L2Entry> rows;
    if (!_l2Table->GetDesiredObject(entry.switchUuid, rows)) {
        CFG_LOG(LL_INFO, "%1: No desired state for VNI %2", kName, vni);
        return;
    }
    CFG_LOG(LL_INFO, "%1: VNI: %2 switchID %3", kName, vni, entry.switchId);
    SendVniMembershipChange(vni, entry.switchId);
    Batch batch;
    for (const L2Entry& row : rows) {
        AddSwitchRow(LoftDBUpdateMsg(row.objectType, row.objectId, OP_UPDATE, row.propertyType, row.value), vni,
                     entry.switchId, batch);
    }
    SendBatch(batch.updates);
}

void L2App::AddSwitchRow(const LoftDBUpdateMsg& row, uint32_t vni, uint32_t switchId, Batch& batch) {
    const bool isDelete = row.operation == OP_DELETE;
    switch (row.propertyType) {
        case L2_VM_MAC: {
            VxlanMacEntry mac;
            if (!L2EntryConvertor::MacToWire(row.propertyValue, mac)) {
                return;
            }
            CFG_LOG(LL_DEBUG, "%1: LogSwitchMac update: MAC %2, VNI %3", kName, MacToNumber(mac.vmMac), vni);
            const bool labelled = MacHasGroupLabel(row.propertyValue);
            const auto key = std::make_pair(vni, MacToNumber(mac.vmMac));
            auto earlier = batch.macDeletes.find(key);
            if (earlier != batch.macDeletes.end() && earlier->second.second != labelled) {
                CFG_LOG(LL_INFO, "%1 Tep Group %2", kName, labelled ? "Enable" : "Disable");
                const size_t at = earlier->second.first;
                batch.updates.InsertMacBefore(at, switchId, vni, mac, isDelete);
                for (auto& [other, place] : batch.macDeletes) {
                    place.first += place.first >= at ? 1 : 0;
                }
                return;
            }
            const size_t position = batch.updates.AddMac(switchId, vni, mac, isDelete);
            if (isDelete) {
                batch.macDeletes[key] = {position, labelled};
            }
            return;
        }
        case L2_VM_IP: {
            VxlanIpMac ip;
            bool ipv6 = false;
            if (L2EntryConvertor::IpToWire(row.propertyValue, ip, ipv6)) {
                batch.updates.AddIp(ipv6, switchId, vni, ip, isDelete);
            }
            return;
        }
        case L2_VTEP: {
            VxlanVtepEntry vtep;
            if (L2EntryConvertor::VtepToWire(row.propertyValue, vtep)) {
                batch.updates.AddVtep(switchId, vni, vtep, isDelete);
            }
            return;
        }
        case L2_VTEP_GROUP_LABEL: {
            const uint32_t label = GroupLabel(row.propertyValue);
            CFG_LOG(LL_INFO, "%1: LS(%2)/VG(%3) is to be %4", kName, IdText(row.objectId), label,
                    isDelete ? "disassociated" : "associated");
            const VxlanGroupAssociation association{false, switchId, vni, {}, isDelete, label};
            const bool known = isDelete ? _vtepGroups.Disassociate(row.objectId, association, batch.updates)
                                        : _vtepGroups.Associate(row.objectId, association, switchId, batch.updates);
            if (!known) {
                CFG_LOG(LL_ERROR, "%1: VTEP Group config does not exist %2/%3", kName, IdText(row.objectId), label);
            }
            return;
        }
        default:
            return;
    }
}

void L2App::AddDomainRow(const LoftDBUpdateMsg& row, bool isDelete, Batch& batch) {
    const bool global = IsNilDomain(row.objectId);
    uint32_t switchId = kNoSwitchId;
    if (!global && !_routingDomains.contains(row.objectId)) {
        CFG_LOG(LL_DEBUG, "%1: routing domain %2 isn't configured yet", kName, IdText(row.objectId));
        return;
    }
    if (global ? !GlobalInstance(switchId) : !SwitchIdOfRoutingDomain(row.objectId, switchId)) {
        CFG_LOG(LL_DEBUG, "%1: could not find switchID for RoutingDomain", kName);
        return;
    }
    const VxlanUuid domain = global ? VxlanUuid{} : DomainBytes(row.objectId);
    switch (row.propertyType) {
        case INVALID_PROPERTY: {
            const VxlanRdMembership change{switchId, isDelete ? VXLAN_LEAVE : VXLAN_JOIN, domain,
                                            static_cast<uint8_t>(global ? 1 : 0)};
            (isDelete ? batch.leaves : batch.joins).push_back(VxlanControlCodec::BuildRdMembership(change));
            return;
        }
        case L2_VTEP: {
            VxlanVtepEntry vtep;
            if (L2EntryConvertor::VtepToWire(row.propertyValue, vtep)) {
                batch.updates.AddRdVtep(domain, switchId, static_cast<uint8_t>(global ? 1 : 0), vtep, isDelete);
            }
            return;
        }
        case L2_VTEP_GROUP_LABEL: {
            const uint32_t label = GroupLabel(row.propertyValue);
            CFG_LOG(LL_INFO, "%1: RD(%2)/VG(%3) is to be %4", kName, IdText(row.objectId), label,
                    isDelete ? "disassociated" : "associated");
            const VxlanGroupAssociation association{true, switchId, 0, domain, isDelete, label};
            const bool known = isDelete ? _vtepGroups.Disassociate(row.objectId, association, batch.updates)
                                        : _vtepGroups.Associate(row.objectId, association, switchId, batch.updates);
            if (!known) {
                CFG_LOG(LL_ERROR, "%1: TEP Group (%2) config does not exist", kName, label);
            }
            return;
        }
        default:
            return;
    }
}

void L2App::SyncRoutingDomainToKernel(const std::string& domain) {
    std::vector<L2Entry> rows;
    if (!_l2Table->GetDesiredObject(domain, rows)) {
        CFG_LOG(LL_DEBUG, "%1: L2 remote routing state cache is empty", kName);
        return;
    }
    CFG_LOG(LL_DEBUG, "%1: L2 remote routing state cache sync to dp msg", kName);
    Batch batch;
    for (const L2Entry& row : rows) {
        AddDomainRow(LoftDBUpdateMsg(row.objectType, row.objectId, OP_UPDATE, row.propertyType, row.value), false,
                     batch);
    }
    SendAll(batch.joins, LL_INFO);
    SendBatch(batch.updates);
}

void L2App::DropVtepPairs(std::vector<const LoftDBUpdateMsg*>& records) const {
    std::map<std::tuple<std::string, uint32_t, uint32_t>, size_t> pending;
    std::vector<bool> dropped(records.size(), false);
    for (size_t i = 0; i < records.size(); ++i) {
        const LoftDBUpdateMsg& record = *records[i];
        if (record.propertyType != L2_VTEP ||
            (record.objectType != LOG_SWITCH_FIB && record.objectType != ROUTING_DOMAIN_FIB)) {
            continue;
        }
        const auto key = std::make_tuple(record.objectId, L2EntryConvertor::VtepFamily(record.propertyValue),
                                         L2EntryConvertor::VtepLabel(record.propertyValue));
        auto [it, first] = pending.try_emplace(key, i);
        if (first) {
            continue;
        }
        const LoftDBUpdateMsg& earlier = *records[it->second];
        if (!SameVtepAddress(earlier.propertyValue, record.propertyValue)) {
            it->second = i;
            continue;
        }
        if (earlier.operation == OP_DELETE && record.operation == OP_UPDATE) {
            dropped[it->second] = true;
        } else if (earlier.operation == OP_UPDATE && record.operation == OP_DELETE) {
            CFG_LOG(LL_ERROR,
                    "%1: Invalid VTEP updates order found, update op %2, VTEP msg %3, update op %4, VTEP msg %5",
                    kName, earlier.operation, VtepText(earlier.propertyValue), record.operation,
                    VtepText(record.propertyValue))
                .Tag("errorCode:LCP00407");
            dropped[i] = true;
        } else {
            CFG_LOG(LL_ERROR, "%1: Invalid VTEP updates found, update op %2, VTEP msg %3, update op %4, VTEP msg %5",
                    kName, earlier.operation, VtepText(earlier.propertyValue), record.operation,
                    VtepText(record.propertyValue))
                .Tag("errorCode:LCP00407");
        }
        pending.erase(it);
    }
    size_t kept = 0;
    for (size_t i = 0; i < records.size(); ++i) {
        if (!dropped[i]) {
            records[kept++] = records[i];
        }
    }
    records.resize(kept);
}

void L2App::ProcessL2DesiredStateUpdate(const LoftDBUpdateList& list, bool) {
    std::vector<const LoftDBUpdateMsg*> records;
    records.reserve(list.size());
    for (const LoftDBUpdateMsg& record : list) {
        records.push_back(&record);
    }
    DropVtepPairs(records);
    Batch batch;
    for (const LoftDBUpdateMsg* record : records) {
        const bool isDelete = record->operation == OP_DELETE;
        switch (record->objectType) {
            case L2_VTEP_GROUP_OBJECT:
                _vtepGroups.OnGroupRecord(*record, batch.updates);
                break;
            case ROUTING_DOMAIN_FIB:
                AddDomainRow(*record, isDelete, batch);
                break;
            case LOG_SWITCH_FIB:
                AddSwitchChange(*record, batch);
                break;
            default:
                break;
        }
    }
    SendAll(batch.joins, LL_INFO);
    SendBatch(batch.updates);
    SendAll(batch.leaves, LL_INFO);
}

const L2App::Vni* L2App::JoinedVniOf(const LoftDBUpdateMsg& record, int noVniLevel, const char* noVniLine,
                                      uint32_t& vni) const {
    if (!VniOfSwitch(record.objectId, vni)) {
        CFG_LOG(noVniLevel, noVniLine, kName, record.operation);
        return nullptr;
    }
    auto joined = _vniMap.find(vni);
    if (joined == _vniMap.end()) {
        CFG_LOG(LL_DEBUG, "%1: VNI %2 doesn't receive Join from datapath", kName, vni);
        return nullptr;
    }
    return &joined->second;
}

void L2App::AddSwitchChange(const LoftDBUpdateMsg& record, Batch& batch) {
    uint32_t vni = 0;
    const Vni* joined =
        JoinedVniOf(record, LL_INFO, "%1: logical switch property is already deleted before L2 FIB updates(op %2)", vni);
    if (joined == nullptr) {
        return;
    }
    if (record.propertyType == INVALID_PROPERTY) {
        if (record.operation != OP_DELETE) {
            SendVniMembershipChange(vni, joined->switchId);
        }
        return;
    }
    AddSwitchRow(record, vni, joined->switchId, batch);
}

void L2App::SendMacLimit(const std::string& value, uint32_t vni, uint32_t switchId) {
    lb::LogSwitchConfigMsg config;
    if (!config.ParseFromString(value)) {
        return;
    }
    const uint32_t limit = config.mac_management().mac_learning().limit();
    if (limit < kMinMacLimit || limit > kMaxMacLimit) {
        CFG_LOG(LL_INFO, "VNI %2 doesn't receive a valid mac limit: %3", kName, vni, limit);
        return;
    }
    CFG_LOG(LL_INFO, "Configure VNI %1 mac limit", vni);
    VxlanConfigureItem item;
    item.type = VXLAN_CFG_MAC_LIMIT;
    item.switchId = switchId;
    item.vni = vni;
    item.macLimit = limit;
    Bytes message;
    if (VxlanConfigureCodec::Build({item}, message)) {
        Send(message, LL_INFO);
    }
}

// ---- Store objects of the application ----

void L2App::UpdateDesiredState(const LoftDBUpdateList& objects, bool) {
    Lock guard(agentLock());
    for (const LoftDBUpdateMsg& object : objects) {
        if (object.objectType == CCP_SESSION) {
            ApplyCcpSession(object);
        } else if (object.objectType == GLOBAL_CONFIG) {
            ApplyGlobalConfig(object);
        }
    }
}

void L2App::ApplyCcpSession(const LoftDBUpdateMsg& record) {
    lb::CcpSessionMsg session;
    session.ParseFromString(record.propertyValue);
    if (record.operation == OP_DELETE) {
        if (record.objectId != _ccpSessionId) {
            return;
        }
        _ccpStatus = kCcpDisconnected;
    } else {
        if (!session.has_id()) {
            return;
        }
        _ccpSessionId = record.objectId;
        _ccpStatus = session.status();
        _ccpAddressType = session.address_type();
        _ccpIpv4 = session.controller_address().ipv4();
        const std::string& v6 = session.controller_address().ipv6();
        _ccpIpv6 = {};
        std::copy_n(v6.begin(), std::min(v6.size(), _ccpIpv6.size()), _ccpIpv6.begin());
    }
    std::vector<Bytes> messages;
    for (const auto& [vni, entry] : _vniMap) {
        messages.push_back(LinkChange(entry.switchId, vni));
        messages.push_back(VxlanControlCodec::BuildControllerIp(ControllerIp(entry.switchId, vni)));
    }
    SendAll(messages, LL_INFO);
}

void L2App::ApplyGlobalConfig(const LoftDBUpdateMsg& record) {
    if (record.operation == OP_DELETE) {
        CFG_LOG(LL_INFO, "%1: remove global config", kName);
        return;
    }
    lb::GlobalConfigMsg config;
    config.ParseFromString(record.propertyValue);
    if (!config.has_l2_global_config()) {
        CFG_LOG(LL_INFO, "%1: no l2 global config", kName);
        return;
    }
    if (!config.l2_global_config().has_replication_mode()) {
        CFG_LOG(LL_INFO, "%1: no global replication mode", kName);
        return;
    }
    const uint32_t mode = config.l2_global_config().replication_mode();
    CFG_LOG(LL_INFO, "%1: l2 global replication mode value %2", kName, mode);
    if (_hasReplicationMode && mode == _l2GlobalReplicationMode) {
        return;
    }
    _hasReplicationMode = true;
    _l2GlobalReplicationMode = mode;
    CFG_LOG(LL_INFO, "%1: set l2 global replication mode to %2", kName, mode);
    for (uint32_t instance : _instanceSet) {
        Send(VxlanControlCodec::BuildGlobalReplication({instance, static_cast<uint8_t>(mode != 0)}), LL_INFO);
    }
}

// ---- Logical switches as the configuration says ----

bool L2App::VniOfSwitch(const std::string& switchUuid, uint32_t& vni) const {
    auto it = _vniOfSwitch.find(switchUuid);
    if (it == _vniOfSwitch.end()) {
        return false;
    }
    vni = it->second;
    return true;
}

std::string L2App::SwitchOfVni(uint32_t vni) const {
    auto it = _switchOfVni.find(vni);
    return it != _switchOfVni.end() ? it->second : std::string();
}

void L2App::ProcessConfigDesiredStateUpdate(const LoftDBUpdateList& records, bool isFullSync) {
    LoftDBUpdateList runtime;
    for (const LoftDBUpdateMsg& record : records) {
        if (record.objectType != LOG_SWITCH_CONFIG) {
            continue;
        }
        switch (record.propertyType) {
            case LS_VNI:
                if (record.operation == OP_DELETE) {
                    OnSwitchVniDelete(record);
                } else {
                    OnSwitchVni(record, runtime);
                }
                break;
            case LS_ROUTING_DOMAIN_ID:
                OnSwitchRoutingDomain(record, runtime);
                break;
            case LS_MAC_MANAGEMENT:
                if (record.operation != OP_DELETE) {
                    OnSwitchMacManagement(record);
                }
                break;
            default:
                break;
        }
    }
    if (!_inFullSync) {
        if (_globalRDFullSync) {
            runtime.splice(runtime.end(), _queuedGlobalRDVtep);
            _l2Table->UpdateRuntimeState(runtime, true);
            _globalRDFullSync = false;
        } else if (!runtime.empty()) {
            _l2Table->UpdateRuntimeState(runtime, false);
        }
    }
    if (isFullSync) {
        SendRoutingDomainLists();
    }
}

void L2App::OnSwitchVni(const LoftDBUpdateMsg& record, LoftDBUpdateList& runtime) {
    lb::LogSwitchConfigMsg config;
    if (!ParseSwitchConfig(record, config)) {
        return;
    }
    const uint32_t vni = config.vni();
    _vniOfSwitch[record.objectId] = vni;
    _switchOfVni[vni] = record.objectId;
    auto queued = _queuedMessages.find(vni);
    if (queued != _queuedMessages.end()) {
        for (LoftDBUpdateMsg& held : queued->second) {
            held.objectId = record.objectId;
        }
        if (!_inFullSync) {
            runtime.splice(runtime.end(), queued->second);
            _queuedMessages.erase(queued);
        }
    }
    auto joined = _vniMap.find(vni);
    if (joined == _vniMap.end()) {
        return;
    }
    if (!joined->second.switchUuid.empty()) {
        if (joined->second.switchUuid != record.objectId) {
            CFG_LOG(LL_ERROR, "%1: VNI %2 current logical switch ID is %3, new ID is %4", kName, vni,
                    IdText(joined->second.switchUuid), IdText(record.objectId));
        }
        return;
    }
    SetSwitchOfVni(vni, joined->second, record.objectId,
                   "%1: Set logical switch UUID %2 for VNI %3 when configuration is received");
    // The VNI joined before its switch was known, so nothing of the switch
    // went out yet.
    RealizeSwitch(vni, joined->second);
}

void L2App::OnSwitchVniDelete(const LoftDBUpdateMsg& record) {
    uint32_t vni = 0;
    if (!VniOfSwitch(record.objectId, vni)) {
        return;
    }
    auto joined = _vniMap.find(vni);
    if (joined != _vniMap.end()) {
        std::vector<std::string> labels;
        _l2Table->GetDesiredPropertyValues(record.objectId, L2_VTEP_GROUP_LABEL, labels);
        L2TlvBatch batch;
        for (const std::string& value : labels) {
            const uint32_t label = GroupLabel(value);
            CFG_LOG(LL_INFO, "%1: Disassociate LS(%2)/VG(%3)", kName, IdText(record.objectId), label);
            _vtepGroups.Disassociate(record.objectId, {false, joined->second.switchId, vni, {}, true, label}, batch);
        }
        SendBatch(batch);
    }
    _vniOfSwitch.erase(record.objectId);
    if (SwitchOfVni(vni) == record.objectId) {
        _switchOfVni.erase(vni);
    }
}

void L2App::OnSwitchRoutingDomain(const LoftDBUpdateMsg& record, LoftDBUpdateList& runtime) {
    lb::LogSwitchConfigMsg config;
    ParseSwitchConfig(record, config);
    const std::string domain = DomainOf(config);
    const bool none = IsNilDomain(domain);
    const std::string& switchUuid = record.objectId;
    auto known = _lsToRoutingDomain.find(switchUuid);
    if (record.operation == OP_DELETE) {
        if (none) {
            CFG_LOG(LL_INFO, "%1: invalid routingDomainID for LS %2, skip deleting", kName, IdText(switchUuid));
            return;
        }
        if (known != _lsToRoutingDomain.end()) {
            _lsToRoutingDomain.erase(known);
        }
        Detach(switchUuid, domain);
        return;
    }
    if (known == _lsToRoutingDomain.end()) {
        if (none) {
            CFG_LOG(LL_INFO, "%1: invalid routingDomainID for LS %2, skip adding", kName, IdText(switchUuid));
            return;
        }
        _lsToRoutingDomain[switchUuid] = domain;
        Attach(switchUuid, domain, runtime);
        return;
    }
    const std::string old = known->second;
    _lsToRoutingDomain.erase(known);
    if (none) {
        Detach(switchUuid, old);
        return;
    }
    _lsToRoutingDomain[switchUuid] = domain;
    Detach(switchUuid, old);
    Attach(switchUuid, domain, runtime);
}

void L2App::Attach(const std::string& switchUuid, const std::string& domain, LoftDBUpdateList& runtime) {
    auto [it, added] = _routingDomains.try_emplace(domain);
    RoutingDomain& entry = it->second;
    entry.switches.push_back(switchUuid);
    if (added) {
        CFG_LOG(LL_INFO, "%1: Add a new routingDomain ID %2", kName, IdText(domain));
    } else {
        CFG_LOG(LL_INFO, "%1: Attach LS %2 to routingDomainID %3", kName, IdText(switchUuid), IdText(domain));
    }
    uint32_t vni = 0;
    const bool hasVni = VniOfSwitch(switchUuid, vni);
    auto joined = hasVni ? _vniMap.find(vni) : _vniMap.end();
    if (entry.switchId == kNoSwitchId) {
        if (!hasVni) {
            CFG_LOG(LL_INFO, "%1: VNI is not found for this logical switch %2", kName, IdText(switchUuid));
        } else if (joined == _vniMap.end()) {
            CFG_LOG(LL_INFO, "%1: switch ID is not found for this logical switch %2, vni %3", kName,
                    IdText(switchUuid), vni);
        } else {
            entry.switchId = joined->second.switchId;
            CFG_LOG(LL_INFO, "%1: Update routingDomainID %2 with switchID %3", kName, IdText(domain), entry.switchId);
            SyncRoutingDomainToKernel(domain);
            WriteLocalRdVteps(domain, entry.switchId, runtime);
        }
    }
    if (joined == _vniMap.end()) {
        CFG_LOG(LL_DEBUG, "%1: VNI is not found for this logical switch %2", kName, IdText(switchUuid));
        return;
    }
    SendRoutingDomainId(switchUuid, domain);
}

void L2App::WriteLocalRdVteps(const std::string& domain, uint32_t switchId, LoftDBUpdateList& runtime) {
    const std::pair<const std::map<uint32_t, std::string>*, const char*> families[] = {
        {&_localRDVTEP, "%1: Insert routing domain %2 VTEP switchID %3 to queued message list"},
        {&_localRDVTEPv6, "%1: Insert routing domain %2 VTEP for v6 switchID %3 to queued message list"},
    };
    for (const auto& [local, line] : families) {
        auto it = local->find(switchId);
        if (it == local->end()) {
            continue;
        }
        LoftDBUpdateList& target = _inFullSync ? _queuedRDVtep : runtime;
        if (_inFullSync) {
            CFG_LOG(LL_DEBUG, line, kName, IdText(domain), switchId);
        }
        target.push_back(ObjectRecord(ROUTING_DOMAIN_VTEP, domain, OP_UPDATE));
        target.push_back(EntryRecord(ROUTING_DOMAIN_VTEP, domain, OP_UPDATE, L2_VTEP, it->second));
    }
}

void L2App::Detach(const std::string& switchUuid, const std::string& domain) {
    auto it = _routingDomains.find(domain);
    if (it != _routingDomains.end()) {
        RoutingDomain& entry = it->second;
        std::erase(entry.switches, switchUuid);
        const bool known = entry.switchId < kNoSwitchId;
        if (known) {
            CFG_LOG(LL_INFO, "%1: Detach LS %2 from routingDomainID %3", kName, IdText(switchUuid), IdText(domain));
        }
        if (entry.switches.empty()) {
            if (known) {
                CFG_LOG(LL_INFO,
                        "%1: Delete runtime and desired states when routing domain %2 is detached. Global routing "
                        "domain %3",
                        kName, IdText(domain), false);
                _l2Table->RemoveLocalObject(domain);
                ReleaseDomainGroups(domain, entry.switchId);
                Send(VxlanControlCodec::BuildRdMembership({entry.switchId, VXLAN_LEAVE, DomainBytes(domain), 0}),
                     LL_INFO);
                CFG_LOG(LL_INFO, "%1: Delete the routingDomain ID %2", kName, IdText(domain));
            }
            _routingDomains.erase(it);
        }
    }
    uint32_t vni = 0;
    if (VniOfSwitch(switchUuid, vni)) {
        SendRoutingDomainItem(vni, VxlanUuid{});
    }
}

// A deleted domain's uses of transport node groups go as a switch's would.
void L2App::ReleaseDomainGroups(const std::string& domain, uint32_t switchId) {
    L2TlvBatch batch;
    for (uint32_t label : _vtepGroups.LabelsOf(domain)) {
        if (!L2VtepGroups::IsTransportNodeLabel(label)) {
            continue;
        }
        CFG_LOG(LL_INFO, "%1: RD(%2)/VG(%3) is to be unrefed after RD is deleted", kName, IdText(domain), label);
        _vtepGroups.Disassociate(domain, {true, switchId, 0, DomainBytes(domain), true, label}, batch);
    }
    SendBatch(batch);
    _vtepGroups.ForgetUser(domain);
}

void L2App::SendRoutingDomainId(const std::string& switchUuid, const std::string& domain) {
    uint32_t vni = 0;
    if (VniOfSwitch(switchUuid, vni)) {
        SendRoutingDomainItem(vni, DomainBytes(domain));
    }
}

void L2App::SendRoutingDomainItem(uint32_t vni, const VxlanUuid& domain) {
    uint32_t switchId = 0;
    if (!SwitchIdOfVni(vni, switchId)) {
        return;
    }
    VxlanConfigureItem item;
    item.type = VXLAN_CFG_ROUTING_DOMAIN;
    item.switchId = switchId;
    item.vni = vni;
    item.routingDomain = domain;
    Bytes message;
    if (VxlanConfigureCodec::Build({item}, message)) {
        Send(message, LL_INFO);
    }
}

void L2App::OnSwitchMacManagement(const LoftDBUpdateMsg& record) {
    uint32_t vni = 0;
    const Vni* joined = JoinedVniOf(
        record, LL_DEBUG, "%1: logical switch property is already deleted before L2 Config updates(op %2)", vni);
    if (joined != nullptr) {
        SendMacLimit(record.propertyValue, vni, joined->switchId);
    }
}

}  // namespace CfgAgent
