#include "port/session/ConfigApp.h"

#include <boost/property_tree/ptree.hpp>
#include <mutex>
#include <unordered_set>

#include "cache/StateCacheConfigTable.h"
#include "frame/AgentLock.h"
#include "frame/DaemonHealthMonitor.h"
#include "frame/IoContexts.h"
#include "frame/NodeType.h"
#include "log/Logger.h"
#include "frame/vocabulary/ComponentType.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "loftdb_runtime.pb.h"
#include "port/conversion/DVSPropConvertor.h"
#include "dplink/DataplaneTaklink.h"
#include "dplink/SessionIdSeed.h"
#include "port/ipdisc/IpDiscovery.h"
#include "port/kcp/KcpDump.h"
#include "port/kcp/KcpFragmentJoiner.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpNotificationCodec.h"
#include "port/kcp/KcpQueryCodec.h"
#include "port/kcp/KcpSessionCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUplinkUpdateCodec.h"
#include "port/kcp/KcpVifUpdateCodec.h"
#include "dplink/MacNumber.h"
#include "store/ILoftdbClient.h"
#include "store/MsgDispatcher.h"

namespace CfgAgent {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;
namespace lb = halden::zef::loftdb;

bool StartsWith(const std::string& text, const char* prefix) {
    return text.rfind(prefix, 0) == 0;
}

// A record with no property says the VIF left.
bool IsDisconnect(const KcpVifRecord& record, uint8_t operation) {
    return operation == KCP_OP_DELETE && !record.status && record.macs.empty() &&
           record.bindings.empty();
}

bool IsConnect(const KcpVifRecord& record) {
    return record.status && *record.status == KCP_VIF_CONNECT;
}

LoftDBUpdateMsg ObjectRecord(uint32_t objectType, const std::string& id, uint32_t operation) {
    return LoftDBUpdateMsg(objectType, id, operation, INVALID_PROPERTY, std::string());
}

}  // namespace

ConfigApp::ConfigApp(zef::RefPtr<StateCacheConfigTable> configTable,
                     zef::RefPtr<MsgDispatcher> dispatcher, ILoftdbClient& loftdbClient,
                     zef::AsioZefProvider* provider, std::shared_ptr<zef::upm::UPMService> upm)
    : _configTable(std::move(configTable)),
      _dispatcher(std::move(dispatcher)),
      _loftdbClient(loftdbClient),
      _dvsPropConvertor(zef::MakeRef<DVSPropConvertor>(*_configTable, *this)),
      _ipDiscovery(zef::MakeRef<IpDiscovery>(*_configTable, loftdbClient, *this, std::move(upm))),
      _sessionId(SessionIdSeed::Now()) {
    if (provider != nullptr) {
        _healthMonitor =
            zef::MakeRef<DaemonHealthMonitor>(_dvsPropConvertor.get(), &_loftdbClient, *provider);
    }
}

ConfigApp::~ConfigApp() = default;

bool ConfigApp::Init(const boost::property_tree::ptree& config) {
    // Required: a missing path ends the start, before anything is made,
    // rather than dialling nothing forever.
    const std::string linkName = config.get<std::string>("taklink.path");
    _ipDiscovery->Init(config);
    _link = zef::RefPtr<DataplaneLink>(new DataplaneTaklink(
        linkName, [this](const unsigned char* message, int length) { OnData(message, length); },
        [this](DataplaneLink* link, DataplaneLink::LinkStatus status) { OnLinkStatus(link, status); },
        nullptr, kBufferSize));
    for (uint32_t type : {LOG_SWITCH_CONFIG, LOG_SWITCH_PORT_CONFIG, TRANSPORT_NODE_CONFIG,
                          PORT_MIRROR_SESSION, BRIDGE_CLUSTER_CONFIG}) {
        _configTable->RegisterDesiredStateObserver(type, this);
    }
    _dispatcher->Register(CONFIGAPP, zef::RefPtr<Component>(this));
    _dvsPropConvertor->Start();
    if (_healthMonitor) {
        _healthMonitor->Start();
    }
    return true;
}

void ConfigApp::Start() {
    _ipDiscovery->Start();
    _link->open();
    _statusQueryTimer = std::make_shared<Timer>(IoContexts::Health(), &ConfigApp::OnStatusQueryTimer,
                                                nullptr, this);
    _statusQueryTimer->Start(kStatusQueryMicros);
}

void ConfigApp::Stop() {
    // The links' loops take agentLock, so they are stopped outside it.
    if (_ipDiscovery) {
        _ipDiscovery->Stop();
    }
    {
        Lock guard(agentLock());
        _ipDiscovery.reset();
        _ipDisBindingList.clear();
        _vifConnectList.clear();
        CloseHotmoveStatusTimer();
        if (_statusQueryTimer) {
            _statusQueryTimer->Close();
            _statusQueryTimer.reset();
        }
    }
    if (_link) {
        _link->close();
        _link->stop();
    }
    _configTable->UnregisterDesiredStateObserver(this);
    _dispatcher->Unregister(zef::RefPtr<Component>(this));
    if (_healthMonitor) {
        _healthMonitor->Stop();
    }
    if (_dvsPropConvertor) {
        _dvsPropConvertor->Stop();
    }
}

bool ConfigApp::LoftdbConnected() const {
    return _healthMonitor && _healthMonitor->LoftdbConnected() != 0;
}

bool ConfigApp::SendToDP(std::span<const uint8_t> message) {
    return _link && _link->sendCopy(message);
}

// ---- Desired state ----

void ConfigApp::UpdateDesiredState(const LoftDBUpdateList& objects, bool isFullSync) {
    LoftDBUpdateList daVifs, transportNodes, offloaded, spans, ccpSessions, globals;
    for (const LoftDBUpdateMsg& object : objects) {
        switch (object.objectType) {
            case DA_VIF_OBJECT: daVifs.push_back(object); break;
            case TRANSPORT_NODE_CONFIG: transportNodes.push_back(object); break;
            case HOST_SWITCH_SMARTNIC_BACKING: offloaded.push_back(object); break;
            case CONFIG_SPAN: spans.push_back(object); break;
            case CCP_SESSION: ccpSessions.push_back(object); break;
            case GLOBAL_CONFIG: globals.push_back(object); break;
            default: break;
        }
    }
    // A transaction still queued when the application stops finds it stopped.
    Lock guard(agentLock());
    if (!_ipDiscovery) {
        return;
    }
    if (isFullSync || !daVifs.empty()) {
        _ipDiscovery->UpdateDesiredState(daVifs, isFullSync);
    }
    if (isFullSync || !offloaded.empty()) {
        _dvsPropConvertor->ProcessOffloadedHostSwitches(offloaded, isFullSync);
    }
    if (isFullSync || !ccpSessions.empty()) {
        _dvsPropConvertor->ProcessCcpSession(ccpSessions);
    }
    if (isFullSync || !globals.empty()) {
        _dvsPropConvertor->ProcessGlobalOpaqueConfig(globals, isFullSync);
    }
}

void ConfigApp::ProcessConfigDesiredStateUpdate(const LoftDBUpdateList& updates, bool isFullSync) {
    // In order of first mention, each once; a full load names every port.
    std::vector<std::string> ports;
    std::vector<std::string> switches;
    std::unordered_set<std::string> gatheredPorts;
    std::unordered_set<std::string> gatheredSwitches;
    auto gather = [](std::vector<std::string>& ids, std::unordered_set<std::string>& seen,
                     const std::string& id) {
        if (seen.insert(id).second) {
            ids.push_back(id);
        }
    };
    for (const LoftDBUpdateMsg& update : updates) {
        if (update.propertyValue.empty()) {
            _dvsPropConvertor->ProcessConfigEntityUpdate(update.objectType, update.objectId,
                                                         update.operation);
            continue;
        }
        _dvsPropConvertor->ProcessConfigPropertyUpdate(update.objectType, update.objectId,
                                                       update.operation, update.propertyType,
                                                       update.propertyValue);
        if (update.objectType == LOG_SWITCH_PORT_CONFIG && update.propertyType == LSP_ADMIN_STATE_UP) {
            gather(ports, gatheredPorts, update.objectId);
        } else if (update.objectType == LOG_SWITCH_CONFIG &&
                   (update.propertyType == LS_VNI || update.propertyType == LS_VLAN ||
                    update.propertyType == LS_ADMIN_STATE_UP || update.propertyType == LS_VLAN_TRUNK)) {
            gather(switches, gatheredSwitches, update.objectId);
        }
    }
    _dvsPropConvertor->SendPortUnblockUpdate(ports, switches);
    StartFullSyncWithDp(isFullSync, updates.empty());
}

void ConfigApp::StartFullSyncWithDp(bool isFullSync, bool batchEmpty) {
    if (isFullSync) {
        _storeSyncHandled = false;
        if (!_linkUp) {
            return;
        }
        if (batchEmpty) {
            CFG_LOG(LL_INFO, "ConfigApp: No updates from loftdb during host reboot");
            return;
        }
        CFG_LOG(LL_INFO, "ConfigApp: Start full sync with DP after sync with loftdb");
    } else {
        if (!_linkUp || _storeSyncHandled) {
            return;
        }
        CFG_LOG(LL_INFO, "ConfigApp: Start full sync with DP after host reboot");
    }
    _dvsPropConvertor->FullSync(true);
    _storeSyncHandled = true;
}

// ---- The kernel session ----

void ConfigApp::StartKernelSession() {
    _dpFullSyncDone = false;
    _ipDisFullSyncDone = false;
    _fullSyncUpdateList.clear();
    _deltaUpdateList.clear();
    _ipDisBindingList.clear();
    _vifConnectList.clear();
    _uplinkList.clear();
    _dvsPropConvertor->ResetSync();
    CFG_LOG(LL_INFO, "ConfigApp: start FullSync with DP");
    _sessionState = SESSION_NONE;
    const std::vector<uint8_t> open = KcpSessionCodec::Build(KCP_SESSION_OPEN, ++_sessionId);
    KcpDump::Log(LL_INFO, open);
    SendToDP(open);
    _sessionState = SESSION_OPEN_SENT;
}

void ConfigApp::SimulateOutOfSync() {
    Lock guard(agentLock());
    CFG_LOG(LL_INFO, "ConfigApp: re-init control plane due to DP out of sync");
    StartKernelSession();
    _dvsPropConvertor->FullSync(true);
}

void ConfigApp::OnLinkStatus(DataplaneLink*, DataplaneLink::LinkStatus status) {
    Lock guard(agentLock());
    if (status != DataplaneLink::LINK_UP) {
        CFG_LOG(LL_INFO, "ConfigApp: DP link status turns to DOWN");
        _linkUp = false;
        return;
    }
    CFG_LOG(LL_INFO, "ConfigApp: DP link status turns to UP");
    StartKernelSession();
    _linkUp = true;
    if (_configTable->FullLoadDone() && _configTable->DesiredCount() != 0) {
        CFG_LOG(LL_INFO, "ConfigApp: Start full sync with DP after DP connection is up");
        _dvsPropConvertor->FullSync(true);
    }
}

void ConfigApp::OnData(const unsigned char* message, int length) {
    const std::span<const uint8_t> bytes(message, static_cast<size_t>(std::max(length, 0)));
    std::optional<Tlv> header = KcpMessage::Header(bytes);
    const uint16_t type = header ? header->Type() : 0;
    switch (type) {
        case KCP_MSG_UPDATE:
            KcpDump::Log(LL_INFO, bytes);
            HandleUpdate(bytes);
            break;
        case KCP_MSG_NOTIFICATION:
            HandleNotification(bytes);
            break;
        case KCP_MSG_QUERY:
            break;
        case KCP_MSG_SESSION_CONTROL:
            KcpDump::Log(LL_INFO, bytes);
            HandleSessionControl(bytes);
            break;
        default:
            CFG_LOG(LL_ERROR, "ConfigApp: received unknown KCP msg %1", type)
                .Tag("errorCode:LCP00506");
            break;
    }
}

void ConfigApp::HandleSessionControl(std::span<const uint8_t> message) {
    std::optional<Tlv> data = KcpMessage::FirstData(message);
    KcpSessionControl control;
    if (!data || data->Type() != KCP_VIF_SESSION_CONTROL || !KcpSessionCodec::Read(message, control)) {
        CFG_LOG(LL_ERROR, "ConfigApp: unsupported session control data type %1",
                data ? data->Type() : 0)
            .Tag("errorCode:LCP00505");
        return;
    }
    if (control.sessionId != _sessionId) {
        CFG_LOG(LL_ERROR, "ConfigApp: skipped messages with sessionID %1, current sessionID %2",
                control.sessionId, _sessionId.load())
            .Tag("errorCode:LCP00504");
        return;
    }
    if (control.controlType == KCP_SESSION_OPEN_ACK) {
        CFG_LOG(LL_INFO, "ConfigApp: received session control open ack message from dataplane");
        _sessionState = SESSION_ACKED;
    } else if (control.controlType == KCP_SESSION_FULL_SYNC_END) {
        CFG_LOG(LL_INFO, "ConfigApp: received session control full sync end message from dataplane");
        HandleFullSyncEnd();
    }
}

void ConfigApp::HandleFullSyncEnd() {
    Lock guard(agentLock());
    if (!_ipDiscovery) {
        return;
    }
    _sessionState = SESSION_REPORTED;
    _dpFullSyncDone = true;
    std::vector<IpDiscEntry> bindings = std::exchange(_ipDisBindingList, {});
    _ipDiscovery->ProcessIpDiscList(bindings, true);
    LoftDBUpdateList connections = std::exchange(_vifConnectList, {});
    _ipDiscovery->ProcessVifUpdate(connections, true);
    std::vector<UplinkInfo> uplinks = std::exchange(_uplinkList, {});
    _dvsPropConvertor->ProcessUplinkFullSync(uplinks);
    _dvsPropConvertor->OnVifReportComplete();
}

void ConfigApp::HandleUpdate(std::span<const uint8_t> message) {
    if (_sessionState < SESSION_ACKED) {
        return;
    }
    // A stray part neither starts a sequence nor swallows the real message
    // that follows it.
    const bool part = KcpFragmentJoiner::CanBePart(message);
    const bool continues = part && (_fragmentList.empty() ||
                                    KcpFragmentJoiner::SameRecord(_fragmentList.front(), message));
    if (!_fragmentList.empty() && !continues) {
        CFG_LOG(LL_ERROR, "ConfigApp: dropped %1 split parts that no last part of theirs ended",
                _fragmentList.size());
        _fragmentList.clear();
    }
    if (KcpMessage::More(message)) {
        if (!part) {
            CFG_LOG(LL_ERROR, "ConfigApp: refused a split part of %1 bytes without a VIF record and property",
                    message.size());
            return;
        }
        _fragmentList.emplace_back(message.begin(), message.end());
        return;
    }
    if (_fragmentList.empty()) {
        HandleUpdateData(message);
        return;
    }
    _fragmentList.emplace_back(message.begin(), message.end());
    const std::vector<uint8_t> joined = KcpFragmentJoiner::Join(_fragmentList);
    if (joined.empty()) {
        CFG_LOG(LL_ERROR, "ConfigApp: could not join %1 split parts", _fragmentList.size());
    }
    _fragmentList.clear();
    if (!joined.empty()) {
        HandleUpdateData(joined);
    }
}

void ConfigApp::HandleUpdateData(std::span<const uint8_t> message) {
    Lock guard(agentLock());
    if (!_ipDiscovery) {
        return;
    }
    for (auto data = KcpMessage::FirstData(message); data; data = KcpMessage::NextData(message, *data)) {
        if (data->Type() != KCP_VIF_UPDATE) {
            HandleUplinks(data->Value());
            continue;
        }
        KcpVifUpdate update;
        if (!KcpVifUpdateCodec::Decode(data->Value(), update)) {
            continue;
        }
        ReportVifInfo(update.records, update.operation);
        HandleVifRecords(update.records, update.operation);
    }
}

void ConfigApp::ReportVifInfo(const std::vector<KcpVifRecord>& records, uint8_t operation) {
    for (const KcpVifRecord& record : records) {
        if (!IsDisconnect(record, operation) && !IsConnect(record)) {
            continue;
        }
        VifInfo info{record.vifId, record.portId, record.switchId, record.parentVifId, record.vifType};
        _dvsPropConvertor->ProcessVifInfoUpdate(
            info, IsDisconnect(record, operation) ? KCP_OP_DELETE : KCP_OP_UPDATE, _dpFullSyncDone);
    }
}

void ConfigApp::HandleVifRecords(const std::vector<KcpVifRecord>& records, uint8_t operation) {
    const bool isDelete = operation == KCP_OP_DELETE;
    LoftDBUpdateList batch;
    std::vector<std::string> hotmoves;
    std::vector<std::string> connected;
    for (const KcpVifRecord& record : records) {
        HandleVifRecord(record, isDelete, batch, hotmoves, connected);
    }
    DropHotmoveStatus(connected, batch);
    DeliverVifBatch(std::move(batch), hotmoves);
}

bool ConfigApp::HandleVifRecord(const KcpVifRecord& record, bool isDelete, LoftDBUpdateList& batch,
                                std::vector<std::string>& hotmoves,
                                std::vector<std::string>& connected) {
    if (StartsWith(record.vifId, "cradleTaknic")) {
        CFG_LOG(LL_DEBUG, "ConfigApp: ignore VIF type CRADLE_TAKNIC");
        return false;
    }
    if (NodeType::Get() == NodeType::kSmartnicHost && record.smartNic != 0) {
        return false;
    }
    if (isDelete && IsDisconnect(record, KCP_OP_DELETE)) {
        if (record.hotmove != 0) {
            CFG_LOG(LL_INFO, "ConfigApp: delete VIF %1 due to hotmove", record.vifId);
            batch.push_back(ObjectRecord(HOTMOVE_STATUS, record.vifId, OP_UPDATE));
            hotmoves.push_back(record.vifId);
        }
        batch.push_back(ObjectRecord(VIF_STATE, record.vifId, OP_DELETE));
        _dvsPropConvertor->RemoveFromHotmoveQueue(record.vifId);
        CFG_LOG(LL_INFO, "ConfigApp: delete VIF %1", record.vifId);
        return true;
    }
    CFG_LOG(LL_INFO, "ConfigApp: update VIF %1, op %2", record.vifId,
            isDelete ? KCP_OP_DELETE : KCP_OP_UPDATE);
    const bool isContainer = record.vifType == KCP_VIF_CONTAINER;
    if (isContainer && !isDelete && record.bindings.empty()) {
        return false;
    }
    const bool isConnected = isContainer ? !record.bindings.empty() : IsConnect(record);
    if (isConnected) {
        LoftDBUpdateMsg state = ObjectRecord(VIF_STATE, record.vifId, OP_UPDATE);
        batch.push_back(state);
        _vifConnectList.push_back(state);
        connected.push_back(record.vifId);
    }
    if (!record.macs.empty()) {
        lb::VifStateMsg macs;
        macs.set_id(record.vifId);
        for (const KcpMac& mac : record.macs) {
            macs.add_macs()->set_mac(MacToNumber(mac));
        }
        batch.push_back(LoftDBUpdateMsg(VIF_STATE, record.vifId, OP_UPDATE, VIF_MAC,
                                        macs.SerializeAsString()));
    }
    if (!record.bindings.empty()) {
        _ipDisBindingList.push_back(
            {record.vifId, record.bindings, isDelete ? uint32_t{KCP_OP_DELETE} : uint32_t{KCP_OP_UPDATE}});
    }
    return true;
}

void ConfigApp::DropHotmoveStatus(const std::vector<std::string>& connected, LoftDBUpdateList& batch) {
    for (const std::string& vifId : connected) {
        auto it = std::find_if(_hotmoveStatusList.begin(), _hotmoveStatusList.end(),
                               [&](const auto& entry) { return entry.first == vifId; });
        if (it == _hotmoveStatusList.end()) {
            continue;
        }
        batch.push_back(ObjectRecord(HOTMOVE_STATUS, vifId, OP_DELETE));
        _hotmoveStatusList.erase(it);
        CFG_LOG(LL_INFO, "ConfigApp: delete hotmove status message with VIF %1.", vifId);
        if (_hotmoveStatusList.empty()) {
            CloseHotmoveStatusTimer();
        }
    }
}

void ConfigApp::DeliverVifBatch(LoftDBUpdateList batch, const std::vector<std::string>& hotmoves) {
    if (!_dpFullSyncDone) {
        _fullSyncUpdateList.splice(_fullSyncUpdateList.end(), batch);
        return;
    }
    if (_ipDisFullSyncDone) {
        _configTable->UpdateRuntimeState(batch, false);
        CFG_LOG(LL_INFO, "ConfigApp: write to ConfigCache on VIF update (delta update)");
    } else {
        _deltaUpdateList.splice(_deltaUpdateList.end(), batch);
    }
    if (!_ipDisBindingList.empty()) {
        std::vector<IpDiscEntry> bindings = std::exchange(_ipDisBindingList, {});
        _ipDiscovery->ProcessIpDiscList(bindings, false);
    }
    if (!_vifConnectList.empty()) {
        LoftDBUpdateList connections = std::exchange(_vifConnectList, {});
        _ipDiscovery->ProcessVifUpdate(connections, false);
    }
    if (hotmoves.empty()) {
        return;
    }
    const auto now = std::chrono::system_clock::now();
    for (const std::string& vifId : hotmoves) {
        _hotmoveStatusList.emplace_back(vifId, now);
    }
    if (!_hotmoveStatusTimer) {
        _hotmoveStatusTimer = std::make_shared<Timer>(
            IoContexts::Timer(), &ConfigApp::OnHotmoveStatusTimer, nullptr, this);
    }
    _hotmoveStatusTimer->Start(kHotmoveStatusMicros);
}

void ConfigApp::OnHotmoveStatusTimer() {
    Lock guard(agentLock());
    CFG_LOG(LL_DEBUG, "ConfigApp: Hotmove status message timer call back");
    const auto now = std::chrono::system_clock::now();
    LoftDBUpdateList records;
    for (auto it = _hotmoveStatusList.begin(); it != _hotmoveStatusList.end();) {
        if (now - it->second < kHotmoveHold) {
            ++it;
            continue;
        }
        records.push_back(ObjectRecord(HOTMOVE_STATUS, it->first, OP_DELETE));
        CFG_LOG(LL_INFO, "ConfigApp: delete hotmove status message with VIF %1", it->first);
        it = _hotmoveStatusList.erase(it);
    }
    _configTable->UpdateRuntimeState(records, false);
    if (!_hotmoveStatusList.empty() && _hotmoveStatusTimer) {
        _hotmoveStatusTimer->Start(kHotmoveStatusMicros);
    }
}

void ConfigApp::CloseHotmoveStatusTimer() {
    if (_hotmoveStatusTimer) {
        _hotmoveStatusTimer->Close();
        _hotmoveStatusTimer.reset();
    }
}

std::vector<std::string> ConfigApp::PendingHotmoveStatus() const {
    std::vector<std::string> vifs;
    for (const auto& [vifId, since] : _hotmoveStatusList) {
        vifs.push_back(vifId);
    }
    return vifs;
}

void ConfigApp::HandleUplinks(std::span<const uint8_t> value) {
    KcpUplinkUpdate update;
    if (!KcpUplinkUpdateCodec::Decode(value, update)) {
        return;
    }
    const uint32_t operation = update.operation == KCP_OP_DELETE ? KCP_OP_DELETE : KCP_OP_UPDATE;
    for (const KcpUplinkRecord& record : update.records) {
        UplinkInfo uplink{record.clientName, record.alias, record.uplinkPortId, record.switchId};
        if (!_dpFullSyncDone) {
            _uplinkList.push_back(std::move(uplink));
        } else {
            _dvsPropConvertor->ProcessUplinkUpdate(uplink, operation);
        }
    }
}

void ConfigApp::HandleNotification(std::span<const uint8_t> message) {
    std::vector<KcpNotification> notifications;
    if (!KcpNotificationCodec::Read(message, notifications)) {
        return;
    }
    for (const KcpNotification& notification : notifications) {
        switch (notification.type) {
            case KCP_NOTIFY_DP_STATUS: {
                KcpDump::Log(LL_DEBUG, message);
                if (notification.dpStatus != KCP_DP_OUT_OF_SYNC) {
                    break;
                }
                SimulateOutOfSync();
                break;
            }
            case KCP_NOTIFY_PORT_PROPERTY_OUT_OF_SYNC: {
                KcpDump::Log(LL_INFO, message);
                Lock guard(agentLock());
                _dvsPropConvertor->SetPortOutOfSync(notification.id);
                break;
            }
            case KCP_NOTIFY_TAKNIC_PROPERTY_OUT_OF_SYNC: {
                KcpDump::Log(LL_INFO, message);
                Lock guard(agentLock());
                _dvsPropConvertor->SetTaknicOutOfSync(notification.id);
                break;
            }
            case KCP_NOTIFY_PORT_CONTAINER_FULL_SYNC: {
                KcpDump::Log(LL_INFO, message);
                Lock guard(agentLock());
                _dvsPropConvertor->QueueHotmovePortSync(notification.id, notification.syncType);
                break;
            }
            default:
                break;
        }
    }
}

void ConfigApp::OnStatusQueryTimer() {
    SendToDP(KcpQueryCodec::BuildStatusQuery());
    if (_statusQueryTimer) {
        _statusQueryTimer->Start(kStatusQueryMicros);
    }
}

// ---- IP discovery ----

void ConfigApp::OnIpDiscoveryReady(const LoftDBUpdateList& records, bool vifConnectionUpdate) {
    Lock guard(agentLock());
    if (!vifConnectionUpdate) {
        for (const LoftDBUpdateMsg& record : records) {
            _ipDisPendingMap[record.objectId] = record;
        }
        return;
    }
    for (LoftDBUpdateMsg record : records) {
        auto pending = _ipDisPendingMap.find(record.objectId);
        if (pending != _ipDisPendingMap.end()) {
            lb::VifStateMsg merged;
            lb::VifStateMsg found;
            merged.ParseFromString(record.propertyValue);
            found.ParseFromString(pending->second.propertyValue);
            merged.set_id(record.objectId);
            merged.mutable_discovered_bindings()->MergeFrom(found.discovered_bindings());
            record.propertyType = VIF_IP_DISCOVEREDBINDING;
            record.propertyValue = merged.SerializeAsString();
            _ipDisPendingMap.erase(pending);
        }
        _fullSyncUpdateList.push_back(std::move(record));
    }
    for (auto& [vifId, record] : _ipDisPendingMap) {
        _fullSyncUpdateList.push_back(record);
    }
    _ipDisPendingMap.clear();
    CFG_LOG(LL_DEBUG, "ConfigApp: _fullSyncUpdateList size : %1 before updating config state cache",
            _fullSyncUpdateList.size());
    _configTable->UpdateRuntimeState(_fullSyncUpdateList, true);
    _fullSyncUpdateList.clear();
    CFG_LOG(LL_INFO, "ConfigApp: finished write to ConfigCache on IP Discovery ready (FullSync)");
    if (!_deltaUpdateList.empty()) {
        _configTable->UpdateRuntimeState(_deltaUpdateList, false);
        CFG_LOG(LL_INFO, "ConfigApp: finished write to ConfigCache on VIF update (delta update)");
        _deltaUpdateList.clear();
    }
    _ipDisFullSyncDone = true;
    CFG_LOG(LL_INFO, "ConfigApp: _ipDisFullSyncDone set to true");
}

bool ConfigApp::PortOfVif(const std::string& vifId, std::string& portId, std::string& switchId) {
    Lock guard(agentLock());
    return _dvsPropConvertor->PortOfVif(vifId, portId, switchId);
}

}  // namespace CfgAgent
