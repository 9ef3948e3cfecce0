#include "port/conversion/DVSPropConvertor.h"

#include <algorithm>
#include <cctype>
#include <mutex>

#include "cache/ConfigTableQueries.h"
#include "cache/IStateCacheConfigTable.h"
#include "frame/AgentLock.h"
#include "frame/IoContexts.h"
#include "frame/NodeType.h"
#include "log/Logger.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/Uuid.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_switching.pb.h"
#include "loftdb_system.pb.h"
#include "cache/ConfigEntry.h"
#include "port/conversion/KCPMsgConvertor.h"
#include "port/kcp/KcpTypes.h"
#include "port/conversion/PortList.h"
#include "port/conversion/PortPropertyValues.h"

namespace CfgAgent {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;

constexpr const char* kCradleTaknic = "cradleTaknic";
constexpr uint32_t kCcpConnected = 1;

bool StartsWith(const std::string& text, const char* prefix) {
    return text.rfind(prefix, 0) == 0;
}

bool IsUuidText(const std::string& text) { return Uuid::FromText(text).has_value(); }

// The id of a table's object; nil when the bytes are no UuidMsg.
Uuid IdOf(const std::string& serialized) { return Uuid::FromSerialized(serialized).value_or(Uuid{}); }

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

template <typename Message>
bool Stored(IStateCacheConfigTable& table, uint32_t objectType, uint32_t propertyType,
            const std::string& serializedId, Message& message) {
    std::string value;
    return !serializedId.empty() &&
           table.GetObjectProperty(objectType, propertyType, serializedId, value) &&
           message.ParseFromString(value);
}

bool StoredSwitch(IStateCacheConfigTable& table, uint32_t propertyType, const Uuid& ls,
                  halden::zef::loftdb::LogSwitchConfigMsg& message) {
    return !ls.IsNil() && Stored(table, LOG_SWITCH_CONFIG, propertyType, ls.Serialized(), message);
}

bool StoredPort(IStateCacheConfigTable& table, uint32_t propertyType, const Uuid& lsp,
                halden::zef::loftdb::LogSwitchPortConfigMsg& message) {
    return !lsp.IsNil() && Stored(table, LOG_SWITCH_PORT_CONFIG, propertyType, lsp.Serialized(), message);
}

constexpr const char* kSpfPrefix = "spfPort";

bool IsSpfPort(const PortEntry& port) { return StartsWith(port.portId, kSpfPrefix); }

// What the kernel's report says of a port, before the tables add theirs.
PortEntry ReportedEntry(const VifInfo& vif) {
    PortEntry entry;
    entry.switchId = vif.switchId;
    entry.portId = vif.portId;
    entry.vifId = vif.vifId;
    entry.type = vif.type;
    return entry;
}

// The properties a port reads from its logical port, in the order they are built.
constexpr uint32_t kPortBuildOrder[] = {
    LSP_SWITCH_ID,      LSP_IP_DISCOVERY,    LSP_SWITCH_SECURITY,   LSP_QOS,
    LSP_ADMIN_STATE_UP, LSP_MAC_MANAGEMENT,  LSP_ATTACHMENT,        LSP_EXTRA_CONFIGS,
    LSP_IGNORE_BINDINGS, LSP_REALTIME_PROFINET, LSP_REALTIME_LATENCY, LSP_REALTIME_PRP,
};

// A switch's properties that a port carries, in the order they are built.
constexpr uint32_t kSwitchBuildOrder[] = {
    LS_VNI, LS_REPLICATION_MODE, LS_VLAN, LS_VLAN_TRUNK, LS_UPLINK_TEAMING_POLICY,
};

}  // namespace

DVSPropConvertor::DVSPropConvertor(IStateCacheConfigTable& configTable, IConfigApp& configApp)
    : _configTable(configTable),
      _kcpMsgConvertor(zef::MakeRef<KCPMsgConvertor>(configApp)),
      _portList(std::make_unique<PortList>()) {
    InitHandlerMap();
}

DVSPropConvertor::~DVSPropConvertor() = default;

void DVSPropConvertor::InitHandlerMap() {
    for (uint32_t type : {LS_VNI, LS_REPLICATION_MODE, LS_VLAN, LS_ADMIN_STATE_UP, LS_VLAN_TRUNK,
                          LS_UPLINK_TEAMING_POLICY}) {
        _cfgUpdateHandlerMap[type] = &DVSPropConvertor::HandleLogicalSwitchUpdate;
    }
    _cfgUpdateHandlerMap[LSP_SWITCH_ID] = &DVSPropConvertor::HandleLogicalPortSwitchId;
    _cfgUpdateHandlerMap[LSP_ATTACHMENT] = &DVSPropConvertor::HandleLogicalPortAttachment;
    _cfgUpdateHandlerMap[LSP_ADMIN_STATE_UP] = &DVSPropConvertor::HandleLogicalPortAdminState;
    _cfgUpdateHandlerMap[LSP_MAC_MANAGEMENT] = &DVSPropConvertor::HandleMacManagement;
    _cfgUpdateHandlerMap[LSP_EXTRA_CONFIGS] = &DVSPropConvertor::HandleLogicalPortExtraConfig;
    _cfgUpdateHandlerMap[LS_EXTRA_CONFIGS] = &DVSPropConvertor::HandleLogicalSwitchExtraConfig;
    _cfgUpdateHandlerMap[LS_ATTACHMENT] = &DVSPropConvertor::HandleChildLogicalSwitch;
    _cfgUpdateHandlerMap[TN_TRANSPORT_SWITCHES] = &DVSPropConvertor::HandleTransportSwitches;
}

void DVSPropConvertor::Start() {
    Lock guard(agentLock());
    _kcpMsgConvertor->SendGlobalProperties(
        KCP_OP_UPDATE, {{"", PortPropertyValues::Text(PortPropertyValues::HDS_CCP_STATE, "down")}});
    _resyncTimer = std::make_shared<Timer>(IoContexts::Timer(), &DVSPropConvertor::OnResyncTimer,
                                           nullptr, this);
    _resyncTimer->Start(kResyncMicros);
}

void DVSPropConvertor::Stop() {
    CFG_LOG(LL_INFO, "DVSPropConvertor stop");
    Lock guard(agentLock());
    for (std::shared_ptr<Timer>* timer : {&_hotmoveSyncTimer, &_resyncTimer}) {
        if (*timer) {
            (*timer)->Close();
            timer->reset();
        }
    }
}

bool DVSPropConvertor::Send(const DPUpdate& update) {
    return !update.Empty() && _kcpMsgConvertor->SendPropertyUpdate(update);
}

// ---- Desired state ----

void DVSPropConvertor::ProcessConfigPropertyUpdate(uint32_t objectType, const std::string& id,
                                                   uint32_t operation, uint32_t propertyType,
                                                   const std::string& value) {
    // Only a type or subtype can make a switch newly service plane; an SPF
    // port that took it already gets its changes through the switch index.
    if (objectType == LOG_SWITCH_CONFIG && operation == OP_UPDATE &&
        (propertyType == LS_TYPE || propertyType == LS_SP_SUBTYPE)) {
        OfferSwitchToSpfPorts(IdOf(id));
    }
    if (objectType == LOG_SWITCH_PORT_CONFIG && PortsOfLogicalPort(id).empty()) {
        if (operation == OP_DELETE) {
            CFG_LOG(LL_INFO, "Port [%1] has been removed during VIF disconnecting", IdOf(id).Text());
        }
        if (operation == OP_DELETE && propertyType == LSP_EXTRA_CONFIGS) {
            for (const auto& change : _lspExtraConfigs.Remove(IdOf(id))) {
                CFG_LOG(LL_INFO, "Remove extra config %1 for port %2", change.key, IdOf(id).Text());
            }
            return;
        }
        // What later needs no VIF to be recorded goes on; the rest waits in the table.
        if (propertyType != LSP_ATTACHMENT && propertyType != LSP_SWITCH_SECURITY &&
            propertyType != LSP_ADDRESS_BINDINGS && propertyType != LSP_EXTRA_CONFIGS) {
            return;
        }
    }
    auto handler = _cfgUpdateHandlerMap.find(propertyType);
    if (handler == _cfgUpdateHandlerMap.end()) {
        CFG_LOG(LL_DEBUG, "DvsPropConvertor received unknown update message property type: %1",
                propertyType);
        return;
    }
    DPUpdate update;
    update.operation = KCP_OP_UPDATE;
    if ((this->*handler->second)(id, operation, propertyType, value, update) && Send(update)) {
        CFG_LOG(LL_DEBUG, "DvsPropConvertor sent msg to data plane");
    }
}

// A whole object coming or going changes no port, its properties say what
// counts; but an SPF port loses the switch it took.
void DVSPropConvertor::ProcessConfigEntityUpdate(uint32_t objectType, const std::string& id, uint32_t operation) {
    if (objectType != LOG_SWITCH_CONFIG || operation != OP_DELETE) {
        return;
    }
    const Uuid ls = IdOf(id);
    DPUpdate update;
    update.operation = KCP_OP_UPDATE;
    for (PortEntry port : _portList->OfSwitch(ls)) {
        if (!IsSpfPort(port)) {
            continue;
        }
        CFG_LOG(LL_INFO, "Clear lSwitch properties on SPF port [%1]", port.vifId);
        CFG_LOG(LL_INFO, "Delete LSwitch %1 for SPF port %2", ls.Text(), port.vifId);
        _portList->Modify(port.vifId, [](PortEntry& entry) { entry.lsId = Uuid{}; });
        update.Add(port.vifId, PortPropertyValues::Block(true));
    }
    Send(update);
}

// ---- SPF ports ----

// A service plane switch: type 3, with no subtype or subtype 2.
bool DVSPropConvertor::IsServicePlaneSwitch(const Uuid& ls) {
    halden::zef::loftdb::LogSwitchConfigMsg config;
    if (!StoredSwitch(_configTable, LS_TYPE, ls, config) || config.type() != 3) {
        return false;
    }
    return !StoredSwitch(_configTable, LS_SP_SUBTYPE, ls, config) || config.sp_subtype() == 2;
}

Uuid DVSPropConvertor::ServicePlaneSwitch() {
    std::vector<ConfigEntry> rows;
    _configTable.GetObjectsByType(LOG_SWITCH_CONFIG, LS_TYPE, rows);
    for (const ConfigEntry& row : rows) {
        const Uuid ls = IdOf(row.objectId);
        if (IsServicePlaneSwitch(ls)) {
            return ls;
        }
    }
    return {};
}

void DVSPropConvertor::OfferSwitchToSpfPorts(const Uuid& ls) {
    if (!IsServicePlaneSwitch(ls)) {
        return;
    }
    DPUpdate update;
    update.operation = KCP_OP_UPDATE;
    _portList->ForEach([&](const PortEntry& port) {
        if (!IsSpfPort(port) || (!port.lsId.IsNil() && port.lsId != ls)) {
            return;
        }
        if (port.lsId.IsNil()) {
            CFG_LOG(LL_INFO, "Add LSwitch %1 for SPF port %2", ls.Text(), port.vifId);
        }
        PortEntry attached = port;
        attached.lsId = ls;
        CFG_LOG(LL_INFO, "Set lSwitch properties on SPF port [%1]", port.vifId);
        AddSwitchSet(attached, update);
    });
    for (const auto& [vifId, entry] : update.entries) {
        _portList->Modify(vifId, [&ls](PortEntry& port) { port.lsId = ls; });
    }
    Send(update);
}

void DVSPropConvertor::SendMacLearnStatic(const PortEntry& port, bool enable) {
    CFG_LOG(LL_INFO, enable ? "%1: Enable mac learn static property" : "%1: Disable mac learn static property",
            port.vifId);
    CFG_LOG(LL_DEBUG, "SPF port MAC learn static config [%1]: op = %2", port.vifId,
            enable ? KCP_OP_UPDATE : KCP_OP_DELETE);
    _kcpMsgConvertor->SendGlobalProperties(
        enable ? KCP_OP_UPDATE : KCP_OP_DELETE,
        {{port.switchId, PortPropertyValues::Text(PortPropertyValues::HDS_MAC_LEARN_STATIC, enable ? "true" : "false")}});
}

void DVSPropConvertor::ConnectSpfPort(const VifInfo& vif) {
    PortEntry entry = ReportedEntry(vif);
    entry.lsId = ServicePlaneSwitch();
    if (entry.lsId.IsNil()) {
        CFG_LOG(LL_ERROR, "Cannot get LogSwitch for SPF port");
    } else {
        CFG_LOG(LL_INFO, "Attach SPF port %1 to LSwitch %2", entry.vifId, entry.lsId.Text());
    }
    _portList->Insert(entry);
    CFG_LOG(LL_INFO, "Add SPF port [%1] to port list, type [%2]", entry.portId, static_cast<uint32_t>(entry.type));
    CFG_LOG(LL_INFO, "%1: Set default mac mgmt property", entry.vifId);
    SendMacLearnStatic(entry, true);
    CFG_LOG(LL_INFO, "%1: Set lSwitch properties ", entry.vifId);
    DPUpdate update;
    update.operation = KCP_OP_UPDATE;
    BuildPortProperties(entry, update);
    Send(update);
}

std::vector<PortEntry> DVSPropConvertor::PortsOfLogicalPort(const std::string& id) const {
    return _portList->OfLogicalPort(IdOf(id));
}

bool DVSPropConvertor::HandleLogicalSwitchUpdate(const std::string& id, uint32_t operation,
                                                 uint32_t propertyType, const std::string& value,
                                                 DPUpdate& update) {
    const Uuid ls = IdOf(id);
    bool added = false;
    for (const PortEntry& port : _portList->OfSwitch(ls)) {
        added |= AddSwitchProperty(port, ls, operation, propertyType, value, update);
    }
    return added;
}

bool DVSPropConvertor::AddSwitchProperty(const PortEntry& port, const Uuid& ls,
                                         uint32_t operation, uint32_t propertyType,
                                         const std::string& value, DPUpdate& update) {
    using Values = PortPropertyValues;
    halden::zef::loftdb::LogSwitchConfigMsg config;
    const bool isDelete = operation == OP_DELETE;
    if (!isDelete && !config.ParseFromString(value)) {
        return false;
    }
    if (isDelete && (propertyType == LS_VNI || propertyType == LS_VLAN ||
                     propertyType == LS_VLAN_TRUNK)) {
        update.Add(port.vifId, propertyType == LS_VNI ? Values::Removal(Values::KEY_VNI)
                                                      : RemainingVlan(ls, propertyType));
        if (!SwitchHasVniOrVlan(ls)) {
            CFG_LOG(LL_INFO, "Remove vlan or vni, block port [%1]", port.vifId);
            update.Add(port.vifId, Values::Block(true));
        }
        return true;
    }
    switch (propertyType) {
        case LS_VNI:
            CFG_LOG(LL_DEBUG, "Update vni %1", config.vni());
            update.Add(port.vifId, Values::Number32(Values::KEY_VNI, config.vni()));
            return true;
        case LS_REPLICATION_MODE:
            CFG_LOG(LL_DEBUG, "Update replication_mod %1", config.replication_mode());
            update.Add(port.vifId, Values::Replication(config.replication_mode()));
            return true;
        case LS_VLAN:
            CFG_LOG(LL_DEBUG, "Update vlanId on async switch %1", config.vlan());
            update.Add(port.vifId, Values::Vlan(static_cast<uint16_t>(config.vlan())));
            return true;
        case LS_VLAN_TRUNK:
            if (config.vlan_trunk().ranges_size() == 0) {
                CFG_LOG(LL_DEBUG, "empty trunk vlan is received");
            }
            for (const auto& range : config.vlan_trunk().ranges()) {
                CFG_LOG(LL_DEBUG, "Update trunk vlan on async switch start %1, end %2", range.start(),
                        range.end());
            }
            update.Add(port.vifId, Values::Trunk(config.vlan_trunk()));
            return true;
        case LS_UPLINK_TEAMING_POLICY:
            if (!config.uplink_teaming_policy().has_name()) {
                return false;
            }
            update.Add(port.vifId, Values::Text(Values::KEY_TEAMING, config.uplink_teaming_policy().name()));
            return true;
        case LS_ADMIN_STATE_UP:
            if (isDelete) {
                CFG_LOG(LL_INFO, "Ignore logical switch admin state DELETE operation");
                return false;
            }
            CFG_LOG(LL_DEBUG, "Get logical switch admin state %1 message for port [%2]",
                    config.admin_state_up(), port.vifId);
            if (config.admin_state_up()) {
                return false;
            }
            CFG_LOG(LL_INFO, "LS admin state down, block port [%1]", port.vifId);
            update.Add(port.vifId, Values::Block(true));
            return true;
        default:
            return false;
    }
}

// Key 102 after a plain VLAN or a trunk went away: the other one if the
// switch still has it, else cleared.
DPProperty DVSPropConvertor::RemainingVlan(const Uuid& ls, uint32_t removed) {
    halden::zef::loftdb::LogSwitchConfigMsg config;
    if (removed == LS_VLAN_TRUNK && StoredSwitch(_configTable, LS_VLAN, ls, config)) {
        return PortPropertyValues::Vlan(static_cast<uint16_t>(config.vlan()));
    }
    if (removed == LS_VLAN && StoredSwitch(_configTable, LS_VLAN_TRUNK, ls, config)) {
        return PortPropertyValues::Trunk(config.vlan_trunk());
    }
    return PortPropertyValues::ClearedVlan();
}

bool DVSPropConvertor::SwitchHasVniOrVlan(const Uuid& ls) {
    halden::zef::loftdb::LogSwitchConfigMsg config;
    for (uint32_t property : {LS_VNI, LS_VLAN, LS_VLAN_TRUNK}) {
        if (StoredSwitch(_configTable, property, ls, config)) {
            return true;
        }
    }
    return false;
}

// The switch's properties and extra configs on one port, and its block decision.
void DVSPropConvertor::AddSwitchSet(const PortEntry& port, DPUpdate& update) {
    const std::string lsId = port.lsId.IsNil() ? std::string() : port.lsId.Serialized();
    for (uint32_t property : kSwitchBuildOrder) {
        std::string switchValue;
        if (!lsId.empty() && _configTable.GetObjectProperty(LOG_SWITCH_CONFIG, property, lsId, switchValue)) {
            AddSwitchProperty(port, port.lsId, OP_UPDATE, property, switchValue, update);
        }
    }
    AddSwitchExtraConfigs(port, port.lsId, {}, update);
    BuildBlockUpdate(port, update);
}

bool DVSPropConvertor::HandleLogicalPortSwitchId(const std::string& id, uint32_t operation,
                                                 uint32_t, const std::string& value,
                                                 DPUpdate& update) {
    halden::zef::loftdb::LogSwitchPortConfigMsg config;
    Uuid ls;
    if (operation != OP_DELETE && config.ParseFromString(value) && config.has_switch_id()) {
        ls = Uuid::FromMsg(config.switch_id());
    }
    // Every port of it gets the switch's properties and a block decision.
    const std::vector<PortEntry> ports = PortsOfLogicalPort(id);
    for (PortEntry port : ports) {
        _portList->Modify(port.vifId, [&](PortEntry& entry) { entry.lsId = ls; });
        port.lsId = ls;
        AddSwitchSet(port, update);
    }
    return !ports.empty();
}

bool DVSPropConvertor::HandleLogicalPortAdminState(const std::string& id, uint32_t operation,
                                                   uint32_t, const std::string& value,
                                                   DPUpdate& update) {
    if (operation == OP_DELETE) {
        CFG_LOG(LL_INFO, "Ignore logical port admin state DELETE operation");
        return false;
    }
    halden::zef::loftdb::LogSwitchPortConfigMsg config;
    if (!config.ParseFromString(value)) {
        return false;
    }
    bool added = false;
    for (const PortEntry& port : PortsOfLogicalPort(id)) {
        CFG_LOG(LL_DEBUG, "Get logical port [%1] admin state %2 message", port.lspId.Text(),
                config.admin_state_up());
        if (!config.admin_state_up()) {
            CFG_LOG(LL_INFO, "LSP admin down, block port [%1]", port.vifId);
            update.Add(port.vifId, PortPropertyValues::Block(true));
            added = true;
        }
    }
    return added;
}

bool DVSPropConvertor::HandleLogicalPortAttachment(const std::string& id, uint32_t operation, uint32_t,
                                                   const std::string& value, DPUpdate& update) {
    halden::zef::loftdb::LogSwitchPortConfigMsg config;
    if (operation == OP_DELETE || !config.ParseFromString(value)) {
        return false;
    }
    if (config.attachment().has_vif()) {
        CFG_LOG(LL_DEBUG, "Get logical switch port attachment update message");
    } else {
        CFG_LOG(LL_DEBUG, "No vif attachment, ignore other update");
    }
    return TieDvPort(IdOf(id), config.attachment(), update);
}

// The attachment's VIF, connected under a DVPort, belongs to this logical
// port from now on: it gets the port's whole set.
bool DVSPropConvertor::TieDvPort(const Uuid& lsp, const halden::zef::loftdb::LogSwitchPortAttachmentMsg& attachment,
                                 DPUpdate& update) {
    const PortEntry* entry = attachment.has_id() ? _portList->FindByVif(attachment.id()) : nullptr;
    if (entry == nullptr || !IsValidDVPortID(entry->portId) || !attachment.has_dvport_id()) {
        return false;
    }
    PortEntry port = *entry;
    CFG_LOG(LL_INFO, "Update DVPortID %1 for LSP %2", attachment.dvport_id(), lsp.Text());
    if (attachment.dvport_id() != port.portId) {
        CFG_LOG(LL_ERROR, "Mis-match for dvport ID %1 to %2", port.portId, attachment.dvport_id());
        port.portId = attachment.dvport_id();
    }
    port.lspId = lsp;
    halden::zef::loftdb::LogSwitchPortConfigMsg stored;
    if (StoredPort(_configTable, LSP_SWITCH_ID, lsp, stored) && stored.has_switch_id()) {
        port.lsId = Uuid::FromMsg(stored.switch_id());
    }
    if (port == *entry) {
        return false;
    }
    _portList->Erase(port.vifId);
    _portList->Insert(port);
    return BuildPortProperties(port, update);
}

bool DVSPropConvertor::HandleMacManagement(const std::string& id, uint32_t operation,
                                           uint32_t propertyType, const std::string& value,
                                           DPUpdate& update) {
    const std::vector<PortEntry> ports = PortsOfLogicalPort(id);
    if (operation == OP_DELETE) {
        for (const PortEntry& port : ports) {
            update.Add(port.vifId, PortPropertyValues::Removal(PortPropertyValues::KEY_MAC_MANAGEMENT));
        }
        return !ports.empty();
    }
    halden::zef::loftdb::LogSwitchPortConfigMsg config;
    if (operation != OP_UPDATE) {
        CFG_LOG(LL_ERROR, "Unsupported operation input");
        return false;
    }
    if (!config.ParseFromString(value) || !config.has_mac_management()) {
        CFG_LOG(LL_ERROR, "Invalid MAC mgmt config [%1]: op = %2 propType = %3",
                IdOf(id).Text(), operation, propertyType);
        return false;
    }
    const auto& learning = config.mac_management().mac_learning();
    if (!learning.has_limit()) {
        CFG_LOG(LL_INFO, "Setting default MAC limit[%1] and MAC limit policy[%2] values",
                PortPropertyValues::kMaxMacLimit, 0);
    }
    DPProperty property;
    std::string problem;
    if (!PortPropertyValues::MacManagement(config.mac_management(), property, problem)) {
        if (problem == "limit") {
            CFG_LOG(LL_ERROR, "Invalid MAC Limit value [%1]. Max value is [%2]", learning.limit(),
                    PortPropertyValues::kMaxMacLimit);
        } else {
            CFG_LOG(LL_ERROR, "Unsupported MAC Limit Policy [%1]", learning.limit_policy());
        }
        return false;
    }
    for (const PortEntry& port : ports) {
        update.Add(port.vifId, property);
    }
    return !ports.empty();
}

namespace {

// The stored pairs into the table; nothing for an operation neither update nor delete.
template <typename Message>
std::optional<std::vector<ExtraConfigTable::Change>> StoreExtraConfigs(
    ExtraConfigTable& table, const Uuid& id, uint32_t operation, const std::string& value,
    const char* emptyLine) {
    if (operation == OP_DELETE) {
        return table.Remove(id);
    }
    if (operation != OP_UPDATE) {
        CFG_LOG(LL_ERROR, "Unsupported operation input");
        return std::nullopt;
    }
    Message config;
    config.ParseFromString(value);
    if (config.extra_configs_size() == 0) {
        CFG_LOG(LL_INFO, emptyLine);
    }
    ExtraConfigTable::Pairs pairs;
    for (const auto& pair : config.extra_configs()) {
        pairs[pair.key()] = pair.value();
    }
    return table.Update(id, pairs);
}

}  // namespace

bool DVSPropConvertor::HandleLogicalPortExtraConfig(const std::string& id, uint32_t operation,
                                                    uint32_t, const std::string& value,
                                                    DPUpdate& update) {
    const Uuid lsp = IdOf(id);
    const auto changes = StoreExtraConfigs<halden::zef::loftdb::LogSwitchPortConfigMsg>(
        _lspExtraConfigs, lsp, operation, value, "Extra Config propList is empty");
    if (!changes) {
        return false;
    }
    const std::vector<PortEntry> ports = PortsOfLogicalPort(id);
    const ExtraConfigTable::Pairs* current = _lspExtraConfigs.Of(lsp);
    for (const PortEntry& port : ports) {
        for (const ExtraConfigTable::Change& change : *changes) {
            if (!change.value) {
                AddExtraConfig(port, change.key, std::nullopt, update);
            }
        }
        for (const auto& [key, pairValue] : current != nullptr ? *current : ExtraConfigTable::Pairs{}) {
            AddExtraConfig(port, key, pairValue, update);
        }
    }
    return !ports.empty() && !update.Empty();
}

void DVSPropConvertor::AddExtraConfig(const PortEntry& port, const std::string& key,
                                      const std::optional<std::string>& value, DPUpdate& update) {
    const std::optional<uint16_t> portKey = PortPropertyValues::ExtraConfigKey(key);
    if (!portKey) {
        CFG_LOG(LL_ERROR, "Unsupported Extra Config Key %1 to update", key);
        return;
    }
    if (*portKey == 0) {
        return;
    }
    if (PortPropertyValues::IsServiceVmKey(*portKey) && IsSpfPort(port)) {
        CFG_LOG(LL_INFO, *portKey == 261 ? "Skip setting GVM for TMR port %1" : "Skip setting SVM for TMR port %1",
                port.vifId);
        return;
    }
    update.Add(port.vifId, value ? PortPropertyValues::Text(*portKey, *value)
                                 : PortPropertyValues::Removal(*portKey));
}

bool DVSPropConvertor::HandleLogicalSwitchExtraConfig(const std::string& id, uint32_t operation,
                                                      uint32_t, const std::string& value,
                                                      DPUpdate& update) {
    const Uuid ls = IdOf(id);
    const auto changes = StoreExtraConfigs<halden::zef::loftdb::LogSwitchConfigMsg>(
        _lsExtraConfigs, ls, operation, value, "LS Extra Config update propList is empty");
    if (!changes) {
        return false;
    }
    const std::vector<PortEntry> ports = _portList->OfSwitch(ls);
    for (const PortEntry& port : ports) {
        AddSwitchExtraConfigs(port, ls, *changes, update);
    }
    return !update.Empty();
}

// A port's own value of a key wins over its switch's.
void DVSPropConvertor::AddSwitchExtraConfigs(const PortEntry& port, const Uuid& ls,
                                             const std::vector<ExtraConfigTable::Change>& changes,
                                             DPUpdate& update) {
    for (const ExtraConfigTable::Change& change : changes) {
        if (!change.value && !_lspExtraConfigs.Find(port.lspId, change.key)) {
            AddExtraConfig(port, change.key, std::nullopt, update);
        }
    }
    const ExtraConfigTable::Pairs* pairs = _lsExtraConfigs.Of(ls);
    for (const auto& [key, value] : pairs != nullptr ? *pairs : ExtraConfigTable::Pairs{}) {
        std::optional<std::string> own = _lspExtraConfigs.Find(port.lspId, key);
        if (own) {
            CFG_LOG(LL_DEBUG, "Found LSP %1 key %2 value %3", port.lspId.Text(), key, *own);
        }
        CFG_LOG(LL_DEBUG, "Update LSP %1 with LS extraConfig %2 %3", port.lspId.Text(), key,
                own.value_or(value));
        AddExtraConfig(port, key, own.value_or(value), update);
    }
}

bool DVSPropConvertor::HandleChildLogicalSwitch(const std::string& id, uint32_t operation, uint32_t,
                                                const std::string& value, DPUpdate&) {
    const std::string child = UuidBytesToString(id);
    halden::zef::loftdb::LogSwitchConfigMsg config;
    config.ParseFromString(value);
    if (operation == OP_DELETE) {
        const size_t before = _lsAttachmentMap.size();
        std::erase_if(_lsAttachmentMap, [&](const auto& entry) { return entry.second.first == child; });
        if (before == _lsAttachmentMap.size()) {
            CFG_LOG(LL_INFO,
                    "The entry doesn't exist in LS attachment map with child LS[%1] and parent LS[%2]",
                    child, "");
        }
        return false;
    }
    if (config.attachment().vlans_size() == 0) {
        CFG_LOG(LL_INFO, "LS %1 doesn't include attachment", child);
        return false;
    }
    for (const auto& attachment : config.attachment().vlans()) {
        const std::string parent = UuidToString(attachment.parent_switch_id());
        const uint32_t vlan = attachment.vlan();
        CFG_LOG(LL_INFO, "Handle child LS %1 with attachment vlan %2 parent LS %3, op %4", child, vlan,
                parent, operation);
        if (vlan == 0 || vlan > 4094) {
            CFG_LOG(LL_ERROR, "Invalid LS attachment vlan ID %1 for child LS[%2] and Parent LS[%3] ",
                    vlan, child, parent);
            continue;
        }
        auto [first, last] = _lsAttachmentMap.equal_range(parent);
        auto same = std::find_if(first, last, [&](const auto& entry) { return entry.second.second == vlan; });
        if (same != last && same->second.first != child) {
            CFG_LOG(LL_ERROR,
                    "Parent LS[%1] already has a child LS[%2] with vlan[%3], failed to add new child LS %4",
                    parent, same->second.first, vlan, child);
            continue;
        }
        if (same == last) {
            _lsAttachmentMap.emplace(parent, std::make_pair(child, vlan));
        }
    }
    return false;
}

void DVSPropConvertor::AddForwardingModes(const std::string& value,
                                          std::vector<DPGlobalProperty>& properties) {
    halden::zef::loftdb::TransportNodeConfigMsg node;
    if (!node.ParseFromString(value)) {
        return;
    }
    for (const auto& transportSwitch : node.transport_switches()) {
        if (transportSwitch.zef_security_enabled()) {
            CFG_LOG(LL_INFO, "Skip transport switch enabled with ZEF security: %1",
                    transportSwitch.host_switch_id());
            continue;
        }
        CFG_LOG(LL_DEBUG, "Build forwarding mode global property");
        uint32_t mode = transportSwitch.forwarding_mode();
        if (mode == 0) {
            mode = 1;
        } else if (mode > 3) {
            CFG_LOG(LL_ERROR, "Unexpected Forwarding mode %1, defaulting to %2", mode, 1);
            mode = 1;
        }
        CFG_LOG(LL_DEBUG, "Forwarding mode is %1 for host switch [%2]", mode,
                transportSwitch.host_switch_id());
        properties.push_back({transportSwitch.host_switch_id(),
                              PortPropertyValues::Number32(PortPropertyValues::HDS_FORWARDING_MODE, mode)});
    }
}

bool DVSPropConvertor::HandleTransportSwitches(const std::string&, uint32_t operation, uint32_t,
                                               const std::string& value, DPUpdate&) {
    UpdateTaknics(value, operation);
    halden::zef::loftdb::TransportNodeConfigMsg node;
    node.ParseFromString(value);
    if (node.transport_switches_size() == 0) {
        CFG_LOG(LL_INFO, "No host switch is configured!");
        return false;
    }
    if (operation == OP_DELETE) {
        std::vector<DPGlobalProperty> cleared;
        for (const auto& transportSwitch : node.transport_switches()) {
            CFG_LOG(LL_INFO, "Reset global property for tSwitch %1", transportSwitch.host_switch_id());
            cleared.push_back({transportSwitch.host_switch_id(),
                               PortPropertyValues::Removal(PortPropertyValues::HDS_FORWARDING_MODE)});
        }
        _kcpMsgConvertor->SendGlobalProperties(KCP_OP_FULL_SYNC, cleared);
        for (const auto& transportSwitch : node.transport_switches()) {
            CFG_LOG(LL_INFO, "clean global opaque property for tSwitch %1", transportSwitch.host_switch_id());
        }
        return false;
    }
    for (const auto& transportSwitch : node.transport_switches()) {
        CFG_LOG(LL_INFO, "Set global properties for tSwitch %1", transportSwitch.host_switch_id());
    }
    std::vector<DPGlobalProperty> properties;
    AddForwardingModes(value, properties);
    _kcpMsgConvertor->SendGlobalProperties(KCP_OP_UPDATE, properties);
    return false;
}

// The devices that carry the node's tunnel endpoints, by name; each new or
// relabelled one waits for the next reSync tick to get its label.
void DVSPropConvertor::UpdateTaknics(const std::string& value, uint32_t operation) {
    if (operation == OP_DELETE) {
        for (const auto& [name, taknic] : _taknicList) {
            CFG_LOG(LL_INFO, "Remove dev name %1 for delete operation", name);
        }
        _taknicList.clear();
        return;
    }
    CFG_LOG(LL_DEBUG, "Get transport node vtep label update message");
    halden::zef::loftdb::TransportNodeConfigMsg node;
    node.ParseFromString(value);
    std::set<std::string> seen;
    for (const auto& transportSwitch : node.transport_switches()) {
        if (OffloadedOnThisHost(transportSwitch.host_switch_id())) {
            CFG_LOG(LL_INFO, "Hostswitch %1 is offloaded", transportSwitch.host_switch_id());
            continue;
        }
        for (const auto& vtep : transportSwitch.vteps()) {
            if (!vtep.has_dev_name()) {
                continue;
            }
            const uint32_t label = vtep.vtep_label().label();
            CFG_LOG(LL_DEBUG, "Get dev name %1 label %2", vtep.dev_name(), label);
            seen.insert(vtep.dev_name());
            auto [it, added] = _taknicList.try_emplace(vtep.dev_name(), Taknic{transportSwitch.host_switch_id()});
            if (added) {
                CFG_LOG(LL_INFO, "Insert dev name %1 label %2", vtep.dev_name(), label);
            } else {
                it->second.outOfSync = true;
            }
        }
    }
    std::erase_if(_taknicList, [&seen](const auto& entry) {
        if (seen.count(entry.first) != 0) {
            return false;
        }
        CFG_LOG(LL_INFO, "Remove dev name %1", entry.first);
        return true;
    });
}

bool DVSPropConvertor::OffloadedOnThisHost(const std::string& hostSwitch) const {
    return NodeType::Get() == NodeType::kSmartnicHost && _offloadedHostSwitches.count(hostSwitch) != 0;
}

std::optional<uint32_t> DVSPropConvertor::VtepLabelOf(const std::string& device) {
    std::vector<ConfigEntry> nodes;
    if (!_configTable.GetObjectsByType(TRANSPORT_NODE_CONFIG, TN_TRANSPORT_SWITCHES, nodes)) {
        CFG_LOG(LL_ERROR, "Failed to query vtep label from stateCache");
        return std::nullopt;
    }
    for (const ConfigEntry& row : nodes) {
        halden::zef::loftdb::TransportNodeConfigMsg node;
        node.ParseFromString(row.value);
        for (const auto& transportSwitch : node.transport_switches()) {
            for (const auto& vtep : transportSwitch.vteps()) {
                if (vtep.dev_name() == device && vtep.has_vtep_label()) {
                    return vtep.vtep_label().label();
                }
            }
        }
    }
    CFG_LOG(LL_ERROR, "No vtep label in stateCache");
    return std::nullopt;
}

void DVSPropConvertor::ResyncTaknics(bool fullSync) {
    for (auto& [name, taknic] : _taknicList) {
        if (!fullSync && !taknic.outOfSync) {
            continue;
        }
        CFG_LOG(LL_DEBUG, "OnResyncProperty label reSync: %1", name);
        const std::optional<uint32_t> label = VtepLabelOf(name);
        if (!label) {
            CFG_LOG(LL_ERROR, "Failed to build labelSync msg for %1", name);
            continue;
        }
        DPUpdate update;
        update.type = DPUpdate::TAKNIC_UPDATE;
        update.operation = KCP_OP_FULL_SYNC;
        update.Add(name, PortPropertyValues::Number32(PortPropertyValues::TAKNIC_LABEL, *label));
        if (!_kcpMsgConvertor->SendPropertyUpdate(update)) {
            CFG_LOG(LL_ERROR, "Failed to build dataplane taknic property update msg for %1", name);
            continue;
        }
        CFG_LOG(LL_DEBUG, "OnResyncProperty Enqueue vtep label reSync");
        taknic.outOfSync = false;
    }
}

std::vector<std::string> DVSPropConvertor::HostSwitchIds() {
    std::vector<std::string> ids;
    std::vector<ConfigEntry> rows;
    if (!_configTable.GetObjectsByType(TRANSPORT_NODE_CONFIG, TN_TRANSPORT_SWITCHES, rows)) {
        return ids;
    }
    for (const ConfigEntry& row : rows) {
        halden::zef::loftdb::TransportNodeConfigMsg node;
        node.ParseFromString(row.value);
        for (const auto& transportSwitch : node.transport_switches()) {
            ids.push_back(transportSwitch.host_switch_id());
        }
    }
    return ids;
}

// ---- Blocking ----

void DVSPropConvertor::BuildBlockUpdate(const PortEntry& port, DPUpdate& update) {
    halden::zef::loftdb::LogSwitchPortConfigMsg portConfig;
    halden::zef::loftdb::LogSwitchConfigMsg switchConfig;
    if (port.type == KCP_VIF_DVPGPORT) {
        const bool secured = StoredPort(_configTable, LSP_SWITCH_SECURITY, port.lspId, portConfig);
        if (!secured) {
            CFG_LOG(LL_DEBUG, "No security is configured, will unblock port %1 after security is set",
                    port.vifId);
        }
        update.Add(port.vifId, PortPropertyValues::Block(!secured));
        return;
    }
    bool unblock = true;
    if (!IsSpfPort(port)) {
        if (!StoredPort(_configTable, LSP_ADMIN_STATE_UP, port.lspId, portConfig)) {
            CFG_LOG(LL_DEBUG, "Will unblock port %1 after port admin state update", port.vifId);
            unblock = false;
        } else if (!portConfig.admin_state_up()) {
            CFG_LOG(LL_DEBUG, "Will unblock port %1 after port admin state update UP", port.vifId);
            unblock = false;
        }
    }
    if (unblock && !StoredSwitch(_configTable, LS_ADMIN_STATE_UP, port.lsId, switchConfig)) {
        CFG_LOG(LL_DEBUG, "Will unblock port after LS %1 admin state update", port.lsId.Text());
        unblock = false;
    } else if (unblock && !switchConfig.admin_state_up()) {
        CFG_LOG(LL_DEBUG, "Will unblock port after LS %1 admin state update UP", port.lsId.Text());
        unblock = false;
    }
    if (unblock && !SwitchHasVniOrVlan(port.lsId)) {
        CFG_LOG(LL_DEBUG, "Will unblock port after LS %1 VNI/VLAN update", port.lsId.Text());
        unblock = false;
    }
    if (!StoredSwitch(_configTable, LS_TYPE, port.lsId, switchConfig)) {
        CFG_LOG(LL_DEBUG, "No LS type is configured for %1", port.lsId.Text());
    } else if (switchConfig.type() == 3) {
        CFG_LOG(LL_DEBUG, "LSP %1 belongs to Service Plane", port.lspId.Text());
        update.Add(port.vifId, PortPropertyValues::Number32(PortPropertyValues::KEY_QOS_MODE, 0));
    }
    if (unblock) {
        CFG_LOG(LL_DEBUG, "Build UNBLOCK update for port %1", port.vifId);
    } else {
        CFG_LOG(LL_DEBUG, "Build BLOCK update for port %1", port.vifId);
    }
    update.Add(port.vifId, PortPropertyValues::Block(!unblock));
}

void DVSPropConvertor::SendPortUnblockUpdate(const std::vector<std::string>& ports,
                                             const std::vector<std::string>& switches) {
    DPUpdate update;
    update.operation = KCP_OP_UPDATE;
    for (const std::string& id : ports) {
        for (const PortEntry& port : PortsOfLogicalPort(id)) {
            BuildBlockUpdate(port, update);
        }
    }
    for (const std::string& id : switches) {
        for (const PortEntry& port : _portList->OfSwitch(IdOf(id))) {
            BuildBlockUpdate(port, update);
        }
    }
    if (Send(update)) {
        CFG_LOG(LL_INFO, "DvsPropConvertor sent UNBLOCK msg to data plane");
    }
}

// ---- Whole ports ----

bool DVSPropConvertor::BuildPortProperties(const PortEntry& port, DPUpdate& update) {
    if (port.type == KCP_VIF_CRXPORT) {
        CFG_LOG(LL_INFO, "BuildDvfilterPropUpdate, port [%1]", port.vifId);
        update.Add(port.vifId, PortPropertyValues::Text(PortPropertyValues::KEY_DVFILTER,
                                                        "1:halden-sfw:failClosed"));
        update.operation = KCP_OP_UPDATE;
    }
    if (IsSpfPort(port)) {
        // No logical port of its own: the switch it took says it all.
        update.Add(port.vifId, PortPropertyValues::DefaultMacManagement());
        AddSwitchSet(port, update);
        return true;
    }
    if (port.lspId.IsNil()) {
        CFG_LOG(LL_DEBUG, "The port %1 fails to get the LSP UUID", port.vifId);
        return !update.Empty();
    }
    const std::string lspId = port.lspId.Serialized();
    for (uint32_t property : kPortBuildOrder) {
        std::string value;
        auto handler = _cfgUpdateHandlerMap.find(property);
        if (handler != _cfgUpdateHandlerMap.end() &&
            _configTable.GetObjectProperty(LOG_SWITCH_PORT_CONFIG, property, lspId, value)) {
            (this->*handler->second)(lspId, OP_UPDATE, property, value, update);
        }
    }
    const PortEntry* current = _portList->FindByVif(port.vifId);
    const PortEntry& latest = current != nullptr ? *current : port;
    AddSwitchExtraConfigs(latest, latest.lsId, {}, update);
    BuildBlockUpdate(latest, update);
    return !update.Empty();
}

void DVSPropConvertor::FullSync(bool) {
    Lock guard(agentLock());
    std::vector<std::string> ports;
    _portList->ForEach([&](const PortEntry& port) {
        if (IsValidDVPortID(port.portId) && port.lspId.IsNil()) {
            CFG_LOG(LL_INFO, "Skip DVPort %1 when doing config full sync", port.portId);
            return;
        }
        ports.push_back(port.vifId);
    });
    std::vector<std::string> taknics;
    for (const auto& [name, taknic] : _taknicList) {
        taknics.push_back(name);
    }
    if (_kcpMsgConvertor->SendLists({}, ports, taknics)) {
        CFG_LOG(LL_INFO, "Send portList fullSync message");
    } else {
        CFG_LOG(LL_ERROR, "Failed to build portList fullSync msg");
    }
    OnResyncProperty(true);
    for (const std::string& vifId : _portList->VifIds()) {
        _portList->Modify(vifId, [](PortEntry& entry) { entry.outOfSync = false; });
    }
    for (auto& [name, taknic] : _taknicList) {
        taknic.outOfSync = false;
    }
}

void DVSPropConvertor::OnResyncProperty(bool fullSync) {
    Lock guard(agentLock());
    if (fullSync) {
        CFG_LOG(LL_INFO, "OnResyncProperty DVS global property");
        std::vector<DPGlobalProperty> globals = {
            {"", PortPropertyValues::Text(PortPropertyValues::HDS_CCP_STATE,
                                          CcpSessionUp() ? "up" : "down")}};
        AddGlobalOpaque(globals, HostSwitchIds(), false);
        _portList->ForEach([&globals](const PortEntry& port) {
            if (IsSpfPort(port)) {
                globals.push_back({port.switchId, PortPropertyValues::Text(PortPropertyValues::HDS_MAC_LEARN_STATIC, "true")});
            }
        });
        std::vector<ConfigEntry> nodes;
        _configTable.GetObjectsByType(TRANSPORT_NODE_CONFIG, TN_TRANSPORT_SWITCHES, nodes);
        for (const ConfigEntry& node : nodes) {
            AddForwardingModes(node.value, globals);
        }
        if (_kcpMsgConvertor->SendHDSList(HostSwitchIds())) {
            CFG_LOG(LL_INFO, "Send DVSList FullSync message");
        } else {
            CFG_LOG(LL_ERROR, "Failed to send portList fullSync msg");
        }
        _kcpMsgConvertor->SendGlobalProperties(KCP_OP_FULL_SYNC, globals);
    }
    std::vector<PortEntry> due;
    _portList->ForEach([&](const PortEntry& port) {
        if (fullSync || port.outOfSync) {
            due.push_back(port);
        }
    });
    for (const PortEntry& port : due) {
        halden::zef::loftdb::LogSwitchPortConfigMsg attachment;
        if (!port.lspId.IsNil() && !StoredPort(_configTable, LSP_ATTACHMENT, port.lspId, attachment)) {
            CFG_LOG(LL_INFO, "Failed to reSync port [%1] as it does not have VIF attachment property",
                    port.vifId);
            continue;
        }
        CFG_LOG(LL_DEBUG, "OnResyncProperty port reSync:[ %1]", port.vifId);
        DPUpdate update;
        update.operation = KCP_OP_FULL_SYNC;
        if (!BuildPortProperties(port, update)) {
            CFG_LOG(LL_INFO, "Failed to build portSync msg for port [%1]", port.vifId);
            continue;
        }
        update.operation = KCP_OP_FULL_SYNC;
        if (!_kcpMsgConvertor->SendPropertyUpdate(update)) {
            CFG_LOG(LL_ERROR, "Failed to build dataplane port property update msg for port [%1]",
                    port.vifId);
            continue;
        }
        CFG_LOG(LL_DEBUG, "OnResyncProperty Enqueue port reSync");
        _portList->Modify(port.vifId, [](PortEntry& entry) { entry.outOfSync = false; });
    }
    ResyncTaknics(fullSync);
}

void DVSPropConvertor::OnResyncTimer() {
    Lock guard(agentLock());
    OnResyncProperty(false);
    if (_resyncTimer) {
        _resyncTimer->Start(kResyncMicros);
    }
}

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
    if (StartsWith(vif.portId, kSpfPrefix)) {
        ConnectSpfPort(vif);
        return;
    }
    const PortEntry entry = CreatePortEntry(vif);
    _portList->Insert(entry);
    CFG_LOG(LL_INFO, "Add port [%1] VIF [%2] to port list, type [%3], outofsync[%4]", entry.portId,
            entry.vifId, static_cast<uint32_t>(entry.type), entry.outOfSync);
    DPUpdate update;
    update.operation = KCP_OP_UPDATE;
    if (BuildPortProperties(entry, update)) {
        update.operation = KCP_OP_UPDATE;
        Send(update);
    }
}

bool DVSPropConvertor::IsValidPortId(const std::string& portId) const {
    if (IsUuidText(portId) || StartsWith(portId, "cr-") || StartsWith(portId, kSpfPrefix) ||
        IsValidDVPortID(portId)) {
        return true;
    }
    CFG_LOG(LL_INFO, "Port [%1] ID is not a valid logical switch port UUID, ignore the update",
            portId);
    return false;
}

// A UUID names its logical port; a DVPort finds it through the attachment
// that names the DVPort. Nil when neither says.
Uuid DVSPropConvertor::LogicalPortOf(const std::string& portId) const {
    if (std::optional<Uuid> lsp = Uuid::FromText(portId)) {
        return *lsp;
    }
    if (!IsValidDVPortID(portId)) {
        CFG_LOG(LL_INFO, "Add unknown port %1 to switch port list", portId);
        return {};
    }
    const std::optional<std::string> lsp = ConfigTableQueries(_configTable).LogicalPortByDvPort(portId);
    return lsp ? IdOf(*lsp) : Uuid{};
}

PortEntry DVSPropConvertor::CreatePortEntry(const VifInfo& vif) const {
    PortEntry entry = ReportedEntry(vif);
    entry.lspId = LogicalPortOf(vif.portId);
    halden::zef::loftdb::LogSwitchPortConfigMsg port;
    if (StoredPort(_configTable, LSP_SWITCH_ID, entry.lspId, port) && port.has_switch_id()) {
        entry.lsId = Uuid::FromMsg(port.switch_id());
    }
    entry.outOfSync = !StartsWith(vif.portId, "cr-") && !StartsWith(vif.vifId, kCradleTaknic);
    return entry;
}

void DVSPropConvertor::HandleVifDisconnection(const std::string& vifId) {
    const PortEntry* entry = _portList->FindByVif(vifId);
    if (entry == nullptr) {
        CFG_LOG(LL_DEBUG, "Disconnect port [%1] not in the list, ignore the update", vifId);
        return;
    }
    if (IsSpfPort(*entry)) {
        SendMacLearnStatic(*entry, false);
    }
    _portList->Erase(vifId);
    if (_hotmovePortSyncQueue.erase(vifId) != 0) {
        CFG_LOG(LL_INFO, "Delete port %1 from hotMove sync queue", vifId);
    }
}

void DVSPropConvertor::OnVifReportComplete() {
    for (const std::string& vifId : _portList->VifIds()) {
        if (_fullSyncVifs.count(vifId) == 0) {
            _portList->Erase(vifId);
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
    if (OffloadedOnThisHost(it->second.hostSwitch)) {
        CFG_LOG(LL_INFO, "Do not process label update for offloaded host switch %1", it->second.hostSwitch);
        return;
    }
    it->second.outOfSync = true;
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
            // This host keeps no container interfaces of its own yet: the
            // port's list is empty, and the kernel hears so.
            _kcpMsgConvertor->SendPortContainerList(vifId, {});
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
    if (entry == nullptr || entry->lspId.IsNil()) {
        return false;
    }
    std::vector<ConfigEntry> rows = _configTable.GetObjectById(entry->lspId.Serialized());
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

namespace {

std::optional<uint16_t> GlobalOpaqueKey(const std::string& key) {
    if (key == "com.halden.zef.extraConfig.mcloud.management.clusterVirtualIp") {
        return PortPropertyValues::HDS_CLUSTER_VIRTUAL_IP;
    }
    if (key == "com.halden.zef.extraConfig.mcloud.management.clusterMasterIp") {
        return PortPropertyValues::HDS_CLUSTER_MASTER_IP;
    }
    return std::nullopt;
}

}  // namespace

void DVSPropConvertor::ProcessGlobalOpaqueConfig(const LoftDBUpdateList& list, bool isFullSync) {
    if (isFullSync) {
        _globalOpaque.clear();
    }
    for (const LoftDBUpdateMsg& record : list) {
        halden::zef::loftdb::GlobalConfigMsg config;
        if (record.operation == OP_DELETE || !config.ParseFromString(record.propertyValue)) {
            _globalOpaque.clear();
            continue;
        }
        _globalOpaque.clear();
        for (const auto& pair : config.tmr_global_opaque_config().opaque_configs()) {
            const std::optional<uint16_t> key = GlobalOpaqueKey(pair.key());
            if (!key) {
                CFG_LOG(LL_ERROR, "Unsupported Global Opaque Config Key to update");
                continue;
            }
            _globalOpaque[*key] = pair.value();
        }
    }
    std::vector<DPGlobalProperty> properties;
    AddGlobalOpaque(properties, HostSwitchIds(), true);
    _kcpMsgConvertor->SendGlobalProperties(KCP_OP_UPDATE, properties);
}

void DVSPropConvertor::AddGlobalOpaque(std::vector<DPGlobalProperty>& properties,
                                       const std::vector<std::string>& hostSwitches, bool withRemovals) const {
    for (const std::string& hostSwitch : hostSwitches) {
        for (uint16_t key : {PortPropertyValues::HDS_CLUSTER_VIRTUAL_IP, PortPropertyValues::HDS_CLUSTER_MASTER_IP}) {
            auto value = _globalOpaque.find(key);
            if (value != _globalOpaque.end()) {
                properties.push_back({hostSwitch, PortPropertyValues::Text(key, value->second)});
            } else if (withRemovals) {
                properties.push_back({hostSwitch, PortPropertyValues::Removal(key)});
            }
        }
    }
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
        ReportCcpChange(before);
    }
}

void DVSPropConvertor::OnDaemonHealthStateUpdate(uint32_t value, uint32_t source) {
    const bool before = CcpSessionUp();
    (source == HEALTH_LOFTDB ? _loftdbHealthy : _proxyHealthy) = value != 0;
    ReportCcpChange(before);
}

void DVSPropConvertor::ReportCcpChange(bool before) {
    if (before == CcpSessionUp()) {
        return;
    }
    const char* state = CcpSessionUp() ? "up" : "down";
    CFG_LOG(LL_INFO, "DVSPropConvertor::OnDaemonHealthStateUpdate: CCPSessionState changed to %1",
            state);
    _kcpMsgConvertor->SendGlobalProperties(
        KCP_OP_UPDATE, {{"", PortPropertyValues::Text(PortPropertyValues::HDS_CCP_STATE, state)}});
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
