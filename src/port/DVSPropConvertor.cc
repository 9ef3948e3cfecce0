#include "port/DVSPropConvertor.h"

#include <algorithm>
#include <cctype>
#include <mutex>

#include "cache/IStateCacheConfigTable.h"
#include "frame/AgentLock.h"
#include "frame/IoContexts.h"
#include "frame/log/Logger.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_switching.pb.h"
#include "loftdb_system.pb.h"
#include "port/KcpTypes.h"
#include "port/PortList.h"

namespace CfgAgent {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

constexpr const char* kCradleTaknic = "cradleTaknic";
constexpr uint32_t kCcpConnected = 1;

bool StartsWith(const std::string& text, const char* prefix) {
    return text.rfind(prefix, 0) == 0;
}

bool IsUuidText(const std::string& text) {
    halden::zef::loftdb::UuidMsg uuid;
    return UuidFromString(text, uuid);
}

// Logs the first character that is not a digit.
bool IsValidDVPortID(const std::string& portId) {
    auto bad = std::find_if(portId.begin(), portId.end(),
                            [](unsigned char c) { return std::isdigit(c) == 0; });
    if (bad == portId.end()) {
        return !portId.empty();
    }
    CFG_LOG(LL_DEBUG, "IsValidDVPortID portID %1, %2", portId, std::string(1, *bad));
    return false;
}

std::string SerializedUuid(const std::string& text) {
    halden::zef::loftdb::UuidMsg uuid;
    return UuidFromString(text, uuid) ? uuid.SerializeAsString() : std::string();
}

}  // namespace

DVSPropConvertor::DVSPropConvertor(IStateCacheConfigTable& configTable)
    : _configTable(configTable), _portList(std::make_unique<PortList>()) {}

DVSPropConvertor::~DVSPropConvertor() = default;

void DVSPropConvertor::Start() {}

void DVSPropConvertor::Stop() {
    CFG_LOG(LL_INFO, "DVSPropConvertor stop");
    Lock guard(agentLock());
    if (_hotmoveSyncTimer) {
        _hotmoveSyncTimer->Close();
        _hotmoveSyncTimer.reset();
    }
}

// Desired state reaches the kernel through the property handlers, which
// come with the port property conversion; until then the table keeps it.
void DVSPropConvertor::ProcessConfigPropertyUpdate(uint32_t, const std::string&, uint32_t, uint32_t,
                                                   const std::string&) {}
void DVSPropConvertor::ProcessConfigEntityUpdate(uint32_t, const std::string&, uint32_t) {}
void DVSPropConvertor::SendPortUnblockUpdate(const std::vector<std::string>&,
                                             const std::vector<std::string>&) {}
void DVSPropConvertor::FullSync(bool) {}

void DVSPropConvertor::ProcessVifInfoUpdate(const VifInfo& vif, uint32_t operation,
                                            bool dpFullSyncDone) {
    if (operation == KCP_OP_DELETE) {
        HandleVifDisconnection(vif.vifId);
        return;
    }
    HandleVifConnection(vif);
    if (!dpFullSyncDone) {
        _fullSyncVifs.insert(vif.vifId);
    }
}

void DVSPropConvertor::HandleVifConnection(const VifInfo& vif) {
    if (_portList->FindByVif(vif.vifId) != nullptr || _portList->FindByPort(vif.portId) != nullptr) {
        CFG_LOG(LL_INFO, "Port [%1] is already in list, ignore the update", vif.portId);
        return;
    }
    if (!IsValidPortId(vif.portId)) {
        return;
    }
    if (StartsWith(vif.vifId, kCradleTaknic)) {
        CFG_LOG(LL_INFO, "Host switch ID: %1", vif.switchId);
    }
    const PortEntry entry = CreatePortEntry(vif);
    _portList->Insert(entry);
    CFG_LOG(LL_INFO, "Add port [%1] VIF [%2] to port list, type [%3], outofsync[%4]", entry.portId,
            entry.vifId, static_cast<uint32_t>(entry.type), entry.outOfSync);
}

bool DVSPropConvertor::IsValidPortId(const std::string& portId) const {
    if (IsUuidText(portId) || StartsWith(portId, "cr-") || IsValidDVPortID(portId)) {
        return true;
    }
    CFG_LOG(LL_INFO, "Port [%1] ID is not a valid logical switch port UUID, ignore the update",
            portId);
    return false;
}

PortEntry DVSPropConvertor::CreatePortEntry(const VifInfo& vif) const {
    PortEntry entry;
    entry.switchId = vif.switchId;
    entry.portId = vif.portId;
    entry.vifId = vif.vifId;
    entry.type = vif.type;
    if (IsUuidText(vif.portId)) {
        entry.lspId = vif.portId;
    }
    if (!entry.lspId.empty()) {
        entry.lsId = SwitchOfLogicalPort(entry.lspId);
    }
    entry.outOfSync = !StartsWith(vif.portId, "cr-") && !StartsWith(vif.vifId, kCradleTaknic);
    return entry;
}

std::string DVSPropConvertor::SwitchOfLogicalPort(const std::string& lspId) const {
    std::string value;
    halden::zef::loftdb::LogSwitchPortConfigMsg port;
    if (!_configTable.GetObjectProperty(LOG_SWITCH_PORT_CONFIG, LSP_SWITCH_ID, SerializedUuid(lspId),
                                        value) ||
        !port.ParseFromString(value) || !port.has_switch_id()) {
        return {};
    }
    return UuidToString(port.switch_id());
}

void DVSPropConvertor::HandleVifDisconnection(const std::string& vifId) {
    const PortEntry* entry = _portList->FindByVif(vifId);
    if (entry == nullptr) {
        CFG_LOG(LL_DEBUG, "Disconnect port [%1] not in the list, ignore the update", vifId);
        return;
    }
    RemovePort(*entry);
    if (_hotmovePortSyncQueue.erase(vifId) != 0) {
        CFG_LOG(LL_INFO, "Delete port %1 from hotMove sync queue", vifId);
    }
}

void DVSPropConvertor::RemovePort(const PortEntry& entry) {
    const std::string vifId = entry.vifId;
    _portList->Erase(vifId);
}

void DVSPropConvertor::OnVifReportComplete() {
    for (const std::string& vifId : _portList->VifIds()) {
        if (_fullSyncVifs.count(vifId) == 0) {
            RemovePort(*_portList->FindByVif(vifId));
        }
    }
    _fullSyncVifs.clear();
}

void DVSPropConvertor::ResetSync() {
    _fullSyncVifs.clear();
}

void DVSPropConvertor::SetPortOutOfSync(const std::string& vifId) {
    if (!_portList->Modify(vifId, [](PortEntry& entry) { entry.outOfSync = true; })) {
        CFG_LOG(LL_DEBUG, "Failed to set reSync for port %1 as it is already disconnected", vifId);
        return;
    }
    CFG_LOG(LL_INFO, "Port %1 is out of sync with DP", vifId);
}

void DVSPropConvertor::SetTaknicOutOfSync(const std::string& name) {
    auto it = _taknicList.find(name);
    if (it == _taknicList.end()) {
        CFG_LOG(LL_INFO, "Failed to find taknic %1 to set reSync as it is already removed.", name);
        return;
    }
    it->second = true;
}

void DVSPropConvertor::QueueHotmovePortSync(const std::string& vifId, uint32_t flags) {
    if (_hotmovePortSyncQueue.empty()) {
        _hotmovePortSyncQueue[vifId] = flags;
        CFG_LOG(LL_INFO, "Add port (%1:%2) to hotMove port sync queue", vifId, flags);
        CFG_LOG(LL_INFO, "Schedule hotMove port sync timer");
        StartHotmoveSyncTimer();
        return;
    }
    auto it = _hotmovePortSyncQueue.find(vifId);
    if (it != _hotmovePortSyncQueue.end()) {
        it->second |= flags;
        CFG_LOG(LL_INFO, "Existing port(%1:%2), merge sync flag to %3", vifId, flags, it->second);
        return;
    }
    _hotmovePortSyncQueue[vifId] = flags;
}

void DVSPropConvertor::StartHotmoveSyncTimer() {
    if (!_hotmoveSyncTimer) {
        _hotmoveSyncTimer = std::make_shared<Timer>(
            IoContexts::Timer(), &DVSPropConvertor::OnHotmoveSyncTimer, nullptr, this);
    }
    _hotmoveSyncTimer->Start(kHotmoveSyncMicros);
}

void DVSPropConvertor::OnHotmoveSyncTimer() {
    Lock guard(agentLock());
    for (auto it = _hotmovePortSyncQueue.begin(); it != _hotmovePortSyncQueue.end();) {
        const auto& [vifId, flags] = *it;
        if (!HasLogicalPort(vifId)) {
            CFG_LOG(LL_INFO,
                    "Delay container list sync %1 since the configuration hasn't been pushed down",
                    vifId);
            ++it;
            continue;
        }
        if ((flags & KCP_SYNC_PORT_CONTAINER_LIST) != 0) {
            CFG_LOG(LL_INFO, "Do container list full sync(type %1)", flags);
        }
        if ((flags & KCP_SYNC_PORT_PROPERTIES) != 0) {
            CFG_LOG(LL_INFO, "Do full sync for VIF VIFID %1", vifId);
            SetPortOutOfSync(vifId);
        }
        it = _hotmovePortSyncQueue.erase(it);
    }
    if (_hotmovePortSyncQueue.empty()) {
        if (_hotmoveSyncTimer) {
            _hotmoveSyncTimer->Close();
            _hotmoveSyncTimer.reset();
        }
        return;
    }
    _hotmoveSyncTimer->Start(kHotmoveSyncMicros);
}

bool DVSPropConvertor::HasLogicalPort(const std::string& vifId) const {
    const PortEntry* entry = _portList->FindByVif(vifId);
    if (entry == nullptr || entry->lspId.empty()) {
        return false;
    }
    std::vector<ConfigEntry> rows = _configTable.GetObjectById(SerializedUuid(entry->lspId));
    return !rows.empty();
}

void DVSPropConvertor::RemoveFromHotmoveQueue(const std::string& portId) {
    if (_hotmovePortSyncQueue.erase(portId) != 0) {
        CFG_LOG(LL_INFO, "Delete port %1 from hotMove sync queue", portId);
    }
}

void DVSPropConvertor::ProcessUplinkUpdate(const UplinkInfo& uplink, uint32_t operation) {
    if (operation == KCP_OP_DELETE) {
        DeleteUplink(uplink.name, "Delete uplink %1 (alias %2 port %3 switch %4)");
    } else {
        AddUplink(uplink, "Add uplink %1 (alias %2 port %3 switch %4)");
    }
}

void DVSPropConvertor::ProcessUplinkFullSync(const std::vector<UplinkInfo>& uplinks) {
    std::set<std::string> reported;
    for (const UplinkInfo& uplink : uplinks) {
        reported.insert(uplink.name);
    }
    std::vector<std::string> gone;
    for (const auto& [name, uplink] : _uplinks) {
        if (reported.count(name) == 0) {
            gone.push_back(name);
        }
    }
    for (const std::string& name : gone) {
        DeleteUplink(name, "Delete uplink %1 (alias %2 port %3 switch %4) during full sync");
    }
    for (const UplinkInfo& uplink : uplinks) {
        if (_uplinks.count(uplink.name) == 0) {
            AddUplink(uplink, "Add uplink %1 (alias %2 port %3 switch %4) during full sync");
        }
    }
}

void DVSPropConvertor::AddUplink(const UplinkInfo& uplink, const char* format) {
    _uplinks[uplink.name] = uplink;
    CFG_LOG(LL_INFO, format, uplink.name, uplink.alias, uplink.portId, uplink.switchId);
}

void DVSPropConvertor::DeleteUplink(const std::string& name, const char* format) {
    auto it = _uplinks.find(name);
    if (it == _uplinks.end()) {
        return;
    }
    const UplinkInfo& uplink = it->second;
    CFG_LOG(LL_INFO, format, uplink.name, uplink.alias, uplink.portId, uplink.switchId);
    _uplinks.erase(it);
}

void DVSPropConvertor::ProcessOffloadedHostSwitches(const LoftDBUpdateList& list, bool isFullSync) {
    if (isFullSync) {
        _offloadedHostSwitches.clear();
    }
    for (const LoftDBUpdateMsg& record : list) {
        if (record.operation == OP_DELETE) {
            _offloadedHostSwitches.erase(record.objectId);
            CFG_LOG(LL_INFO, "Remove an offloaded hostswitch %1", record.objectId);
        } else {
            _offloadedHostSwitches.insert(record.objectId);
            CFG_LOG(LL_INFO, "Add an offloaded hostswitch %1", record.objectId);
        }
    }
}

bool DVSPropConvertor::CcpSessionUp() const {
    return _ccpSessionConnected && _loftdbHealthy && _proxyHealthy;
}

void DVSPropConvertor::ProcessCcpSession(const LoftDBUpdateList& list) {
    for (const LoftDBUpdateMsg& record : list) {
        const bool before = CcpSessionUp();
        halden::zef::loftdb::CcpSessionMsg session;
        if (record.operation == OP_DELETE) {
            _ccpSessionConnected = false;
        } else if (!record.propertyValue.empty() && session.ParseFromString(record.propertyValue)) {
            _ccpSessionConnected = session.status() == kCcpConnected;
        }
        LogCcpChange(before);
    }
}

void DVSPropConvertor::OnDaemonHealthStateUpdate(uint32_t value, uint32_t source) {
    const bool before = CcpSessionUp();
    (source == HEALTH_LOFTDB ? _loftdbHealthy : _proxyHealthy) = value != 0;
    LogCcpChange(before);
}

// The kernel learns of the change with the host switch properties.
void DVSPropConvertor::LogCcpChange(bool before) const {
    if (before != CcpSessionUp()) {
        CFG_LOG(LL_INFO, "DVSPropConvertor::OnDaemonHealthStateUpdate: CCPSessionState changed to %1",
                CcpSessionUp() ? "up" : "down");
    }
}

bool DVSPropConvertor::PortOfVif(const std::string& vifId, std::string& portId,
                                 std::string& switchId) const {
    const PortEntry* entry = _portList->FindByVif(vifId);
    if (entry == nullptr) {
        return false;
    }
    portId = entry->portId;
    switchId = entry->switchId;
    return true;
}

std::vector<PortEntry> DVSPropConvertor::Ports() const {
    std::vector<PortEntry> ports;
    _portList->ForEach([&](const PortEntry& entry) { ports.push_back(entry); });
    return ports;
}

std::vector<UplinkInfo> DVSPropConvertor::Uplinks() const {
    std::vector<UplinkInfo> uplinks;
    for (const auto& [name, uplink] : _uplinks) {
        uplinks.push_back(uplink);
    }
    return uplinks;
}

}  // namespace CfgAgent
