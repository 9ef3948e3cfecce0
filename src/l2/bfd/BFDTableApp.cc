#include "l2/bfd/BFDTableApp.h"

#include <algorithm>
#include <mutex>

#include "cache/StateCacheConfigTable.h"
#include "cache/StateCacheL2Table.h"
#include "frame/AgentLock.h"
#include "frame/vocabulary/ComponentType.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/Uuid.h"
#include "frame/vocabulary/UuidText.h"
#include "l2/app/L2App.h"
#include "l2/codec/VxlanBfdUpdateCodec.h"
#include "l2/codec/VxlanConfigureCodec.h"
#include "l2/conversion/L2EntryConvertor.h"
#include "log/Logger.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_switching.pb.h"
#include "store/MsgDispatcher.h"

namespace CfgAgent {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;
namespace lb = halden::zef::loftdb;

constexpr uint32_t kLsTypeEvpn = 5;
constexpr uint32_t kGroupTypeTn = 3;

std::string IdText(const std::string& id) { return BFDSessionIDs::Text(id); }

bool IsNil(const std::string& id) {
    std::optional<Uuid> uuid = Uuid::FromSerialized(id);
    return !uuid || uuid->IsNil();
}

const char* OpText(int op) { return op == 0 ? "add" : "delete"; }

uint32_t LabelOf(const std::string& value) {
    lb::VtepLabelMsg label;
    label.ParseFromString(value);
    return label.label();
}

}  // namespace

BFDTableApp::BFDTableApp(zef::RefPtr<StateCacheConfigTable> configTable, zef::RefPtr<StateCacheL2Table> l2Table,
                         zef::RefPtr<L2App> l2App, zef::RefPtr<MsgDispatcher> dispatcher)
    : _configTable(std::move(configTable)),
      _l2Table(std::move(l2Table)),
      _l2App(std::move(l2App)),
      _dispatcher(std::move(dispatcher)) {}

BFDTableApp::~BFDTableApp() = default;

void BFDTableApp::Start() {
    _configTable->RegisterDesiredStateObserver(LOG_SWITCH_CONFIG, this);
    _configTable->RegisterDesiredStateObserver(TRANSPORT_NODE_CONFIG, this);
    _l2Table->RegisterDesiredStateObserver(this);
    _l2Table->RegisterRuntimeStateObserver(this);
    _l2App->SetBfdCallbacks([this] { SyncBFDSessionsToDataplane(); },
                            [this](const std::string& switchId, bool joined) { OnVniChange(switchId, joined); },
                            [this](const std::string& switchId, uint32_t vni, bool add) {
                                OnLsVniChange(switchId, vni, add);
                            });
    _dispatcher->Register(BFD, zef::RefPtr<Component>(this));
}

void BFDTableApp::Stop() {
    _configTable->UnregisterDesiredStateObserver(this);
    _l2Table->UnregisterDesiredStateObserver(this);
    _l2Table->UnregisterRuntimeStateObserver(this);
    {
        Lock guard(agentLock());
        _l2App->SetBfdCallbacks({}, {}, {});
    }
    _dispatcher->Unregister(zef::RefPtr<Component>(this));
}

// The store's operations to the table's: an update adds, anything else deletes.
BFDTableApp::Op BFDTableApp::OpOf(uint32_t operation) { return operation == OP_UPDATE ? ADD : DELETE; }

// ---- The table and the kernel ----

void BFDTableApp::UpdateBFDTable(const BFDSessionRecord& record, const BFDSessionIDs& ids, Op op, Tlvs& tlvs) {
    CFG_LOG(LL_DEBUG,
            "UpdateBFDTable for Local IP : %1, RemoteIP : %2, local isIPv4 : %3, local isIPv6 : %4 remote isIPv4 : "
            "%5, remote isIPv6 : %6, op : %7, localID: %8, remoteID: %9",
            record.local.Text(), record.remote.Text(), !record.local.ipv6, record.local.ipv6, !record.remote.ipv6,
            record.remote.ipv6, static_cast<int>(op), IdText(ids.localID), IdText(ids.remoteID));
    const bool changed = op == ADD ? _table.Add(record, ids) : _table.Delete(record, ids);
    if (changed) {
        UpdateToBFDSessionInDataplane(tlvs, record.local, record.remote, ids, op);
    }
}

bool BFDTableApp::SwitchOfLogicalSwitch(const std::string& switchUuid, uint32_t& vni, uint32_t& switchId) const {
    auto known = _lsVniMap.find(switchUuid);
    if (known == _lsVniMap.end()) {
        return false;
    }
    vni = known->second;
    return _l2App->SwitchIdOfVni(vni, switchId);
}

bool BFDTableApp::AddSessionTlv(Tlvs& tlvs, uint32_t switchId, const BfdTep& local, const BfdTep& remote,
                                uint32_t vni, const std::string& domain, uint32_t vgLabel, Op op) {
    VxlanBfdEntry entry;
    if (local.ipv6 != remote.ipv6) {
        CFG_LOG(LL_WARN, "%1: BuildBFDSessionEntryMsg type error: Local IP type is v4: %2, RemoteIP type is v4: %3",
                kName, !local.ipv6, !remote.ipv6);
    } else {
        entry.localVtep = local.ip;
        entry.remoteVtep = remote.ip;
        entry.family = local.ipv6 ? 1 : 0;
    }
    entry.vni = vni;
    if (!domain.empty()) {
        entry.routingDomain = L2EntryConvertor::DomainToWire(Uuid::FromSerialized(domain).value_or(Uuid()));
    }
    entry.vgLabel = vgLabel;
    VxlanBfdUpdate update{switchId, {}, {}};
    (op == ADD ? update.added : update.removed).push_back(entry);
    std::vector<uint8_t> tlv;
    if (!VxlanBfdUpdateCodec::Build(update, tlv)) {
        return false;
    }
    tlvs.push_back(std::move(tlv));
    return true;
}

void BFDTableApp::UpdateToBFDSessionInDataplane(Tlvs& tlvs, const BfdTep& local, const BfdTep& remote,
                                                const BFDSessionIDs& ids, Op op) {
    uint32_t vni = 0;
    uint32_t switchId = L2App::kNoSwitchId;
    switch (ids.type) {
        case BFDSessionIDs::LOGICAL_SWITCH:
            if (!SwitchOfLogicalSwitch(ids.remoteID, vni, switchId)) {
                CFG_LOG(LL_INFO,
                        "%1: UpdateToBFDSessionInDataplane cannot send BFD session update msg to datapath, (%2 -> %3) "
                        "for local:%4 --> remote:%5(LS) op:%6.Cannot get VNI by logical switch.",
                        kName, local.Text(), remote.Text(), IdText(ids.localID), IdText(ids.remoteID), OpText(op));
                return;
            }
            AddSessionTlv(tlvs, switchId, local, remote, vni, {}, 0, op);
            return;
        case BFDSessionIDs::ROUTING_DOMAIN:
            if (_l2App->SwitchIdOfRoutingDomain(ids.remoteID, switchId)) {
                AddSessionTlv(tlvs, switchId, local, remote, 0, ids.remoteID, 0, op);
            }
            return;
        default:
            break;
    }
    const uint32_t label = static_cast<uint32_t>(std::stoul(ids.remoteID));
    if (!ids.localID.empty()) {
        if (!SwitchOfLogicalSwitch(ids.localID, vni, switchId)) {
            CFG_LOG(LL_ERROR,
                    "%1: UpdateToBFDSessionInDataplane cannot send BFD session update msg to datapath, (%2 -> %3) for "
                    "local:%4(LS) --> remote:%5(vgLabel) op:%6.Cannot get VNI by logical switch.",
                    kName, local.Text(), remote.Text(), IdText(ids.localID), ids.remoteID, OpText(op))
                .Tag("errorCode:LCP02201");
            return;
        }
        AddSessionTlv(tlvs, switchId, local, remote, 0, {}, label, op);
        return;
    }
    auto users = _vgLSMap.find(ids.remoteID);
    if (users == _vgLSMap.end() || users->second.empty()) {
        CFG_LOG(LL_ERROR,
                "%1: UpdateToBFDSessionInDataplane cannot send BFD session update msg to datapath, (%2 -> %3) for "
                "local:%4(LS) --> remote:%5(vgLabel) op:%6. Cannot get logical switch iterator pair by VTEP group "
                "label.",
                kName, local.Text(), remote.Text(), IdText(ids.localID), ids.remoteID, OpText(op))
            .Tag("errorCode:LCP02202");
        return;
    }
    for (const std::string& switchUuid : users->second) {
        if (!SwitchOfLogicalSwitch(switchUuid, vni, switchId)) {
            CFG_LOG(LL_ERROR,
                    "%1: UpdateToBFDSessionInDataplane cannot send BFD session update msg to datapath, (%2 -> %3) for "
                    "local:%4*(LS) --> remote:%5(vgLabel) op:%6.Cannot get VNI by logical switch.",
                    kName, local.Text(), remote.Text(), IdText(switchUuid), ids.remoteID, OpText(op))
                .Tag("errorCode:LCP02201");
            continue;
        }
        AddSessionTlv(tlvs, switchId, local, remote, 0, {}, label, op);
    }
}

void BFDTableApp::SendTlvs(const Tlvs& tlvs) {
    if (!tlvs.empty()) {
        _l2App->SendUpdateTlvs(tlvs);
    }
}

// ---- What the tables hold ----

std::vector<BfdTep> BFDTableApp::LocalTeps(const std::string& id) const {
    std::vector<std::string> values;
    _l2Table->GetRuntimePropertyValues(id, L2_VTEP, values);
    std::vector<BfdTep> teps;
    for (const std::string& value : values) {
        teps.push_back(BfdTep::FromVtep(value));
    }
    return teps;
}

std::vector<BfdTep> BFDTableApp::RemoteTeps(const std::string& id) const {
    std::vector<std::string> values;
    _l2Table->GetDesiredPropertyValues(id, L2_VTEP, values);
    std::vector<BfdTep> teps;
    for (const std::string& value : values) {
        teps.push_back(BfdTep::FromVtep(value));
    }
    return teps;
}

std::optional<BFDTableApp::Group> BFDTableApp::ParseGroup(const std::string& value) {
    lb::VtepGroupMsg message;
    if (!message.ParseFromString(value)) {
        return std::nullopt;
    }
    Group group{message.label(), message.type(),
                message.has_activeness_protocol() && message.activeness_protocol() == lb::MBR_VTEP_BFD,
                {}};
    for (const lb::LogSwitchVtepEntryMsg& vtep : message.vteps()) {
        group.teps.push_back(BfdTep::FromVtep(vtep.SerializeAsString()));
    }
    return group;
}

std::optional<BFDTableApp::Group> BFDTableApp::FindGroup(uint32_t label) const {
    std::vector<std::string> values;
    if (!_l2Table->GetDesiredPropertyValues(std::to_string(label), L2_VTEP_GROUP, values) || values.empty()) {
        return std::nullopt;
    }
    return ParseGroup(values.front());
}

std::optional<std::string> BFDTableApp::DomainOf(const std::string& switchUuid) const {
    auto it = _lsRDMap.find(switchUuid);
    return it != _lsRDMap.end() ? std::optional<std::string>(it->second) : std::nullopt;
}

std::vector<std::string> BFDTableApp::SwitchesOf(const std::string& domain) const {
    std::vector<std::string> switches;
    auto [first, last] = _rdLSMap.equal_range(domain);
    for (auto it = first; it != last; ++it) {
        switches.push_back(it->second);
    }
    return switches;
}

bool BFDTableApp::IsEVPNLogicalSwitch(const std::string& switchUuid) const {
    std::string value;
    lb::LogSwitchConfigMsg config;
    if (!_configTable->GetObjectProperty(LOG_SWITCH_CONFIG, LS_TYPE, switchUuid, value) ||
        !config.ParseFromString(value) || !config.has_type()) {
        CFG_LOG(LL_DEBUG, "IsEVPNLogicalSwitch: logical switch ID %1is not found", IdText(switchUuid));
        return false;
    }
    const bool evpn = config.type() == kLsTypeEvpn;
    CFG_LOG(LL_DEBUG,
            evpn ? "IsEVPNLogicalSwitch: logical switch ID %1is for EVPN"
                 : "IsEVPNLogicalSwitch: logical switch ID %1is not for EVPN",
            IdText(switchUuid));
    return evpn;
}

bool BFDTableApp::IsTNVtepGroupMsg(uint32_t label) const {
    std::optional<Group> group = FindGroup(label);
    if (!group) {
        CFG_LOG(LL_ERROR, "%1: IsTNVtepGroupMsg: There is no TN vgLabel in desired state cache for vgLabel: %2",
                kName, label);
        return InTnRange(label);
    }
    if (group->type == kGroupTypeTn && !InTnRange(label)) {
        CFG_LOG(LL_ERROR,
                "%1: IsTNVtepGroupMsg: this label: %2 is not TN TEP group label, MP should pass a correct one.", kName,
                label)
            .Tag("errorCode:LCP02204");
        return false;
    }
    return group->type == kGroupTypeTn || InTnRange(label);
}

// ---- Triggers from the L2 table ----

void BFDTableApp::VNIBasedBFDRemoteL2CacheUpdate(const std::string& switchUuid, const BfdTep& remote, Op op,
                                                 Tlvs& tlvs) {
    CFG_LOG(LL_DEBUG, "%1: VNI BFD update from remote L2 state cache  %2", kName, IdText(switchUuid));
    for (const BfdTep& local : LocalTeps(switchUuid)) {
        CFG_LOG(LL_DEBUG, "%1: VNIBasedBFDRemoteL2CacheUpdate: Update BFD session (%2 -> %3) for VNI :%4 , op: %5",
                kName, local.Text(), remote.Text(), IdText(switchUuid), OpText(op));
        UpdateBFDTable({local, remote, 0}, {switchUuid, switchUuid, BFDSessionIDs::LOGICAL_SWITCH}, op, tlvs);
    }
    if (std::optional<std::string> domain = DomainOf(switchUuid)) {
        for (const BfdTep& local : LocalTeps(*domain)) {
            UpdateBFDTable({local, remote, 0}, {*domain, switchUuid, BFDSessionIDs::LOGICAL_SWITCH}, op, tlvs);
        }
    }
}

void BFDTableApp::RoutingDomainBasedBFDRemoteL2CacheUpdate(const std::string& domain, const BfdTep& remote, Op op,
                                                           Tlvs& tlvs) {
    CFG_LOG(LL_DEBUG, "%1: RoutingDomain BFD update from remote L2 state cache  %2", kName, IdText(domain));
    for (const BfdTep& local : LocalTeps(domain)) {
        CFG_LOG(LL_DEBUG,
                "%1: RoutingDomainBasedBFDRemoteL2CacheUpdate: Update BFD session (%2 -> %3) for RD :%4 , op: %5",
                kName, local.Text(), remote.Text(), IdText(domain), OpText(op));
        UpdateBFDTable({local, remote, 0}, {domain, domain, BFDSessionIDs::ROUTING_DOMAIN}, op, tlvs);
    }
    if (!_routingDomains.contains(domain)) {
        CFG_LOG(LL_DEBUG, "%1: No such routing domain exiting for the RD: %2", kName, IdText(domain));
        return;
    }
    for (const std::string& switchUuid : SwitchesOf(domain)) {
        for (const BfdTep& local : LocalTeps(switchUuid)) {
            UpdateBFDTable({local, remote, 0}, {switchUuid, domain, BFDSessionIDs::ROUTING_DOMAIN}, op, tlvs);
        }
    }
}

void BFDTableApp::VNIBasedBFDLocalL2CacheUpdate(const std::string& switchUuid, const BfdTep& local, Op op,
                                                Tlvs& tlvs) {
    CFG_LOG(LL_DEBUG, "%1: VNI BFD update from local L2 state cache  %2", kName, IdText(switchUuid));
    for (const BfdTep& remote : RemoteTeps(switchUuid)) {
        CFG_LOG(LL_DEBUG, "%1: VNIBasedBFDLocalL2CacheUpdate: Update BFD session (%2 -> %3) for VNI :%4 , op: %5",
                kName, local.Text(), remote.Text(), IdText(switchUuid), OpText(op));
        UpdateBFDTable({local, remote, 0}, {switchUuid, switchUuid, BFDSessionIDs::LOGICAL_SWITCH}, op, tlvs);
    }
    UpdateBFDTablebyTNVtepGroupLabel(switchUuid, local, op, tlvs);
    if (std::optional<std::string> domain = DomainOf(switchUuid)) {
        for (const BfdTep& remote : RemoteTeps(*domain)) {
            UpdateBFDTable({local, remote, 0}, {switchUuid, *domain, BFDSessionIDs::ROUTING_DOMAIN}, op, tlvs);
        }
    }
    if (!IsEVPNLogicalSwitch(switchUuid)) {
        return;
    }
    std::vector<std::string> labels;
    _l2Table->GetDesiredPropertyValues(switchUuid, L2_VTEP_GROUP_LABEL, labels);
    for (const std::string& value : labels) {
        const uint32_t label = LabelOf(value);
        std::optional<Group> group = FindGroup(label);
        if (!group || !group->bfd) {
            continue;
        }
        for (const BfdTep& remote : group->teps) {
            UpdateBFDTable({local, remote, 0}, {switchUuid, std::to_string(label), BFDSessionIDs::VTEP_GROUP}, op,
                           tlvs);
        }
    }
}

void BFDTableApp::RoutingDomainBasedBFDLocalL2CacheUpdate(const std::string& domain, const BfdTep& local, Op op,
                                                          Tlvs& tlvs) {
    if (IsNil(domain)) {
        CFG_LOG(LL_DEBUG, "BFDTable::RoutingDomainBasedBFDLocalL2CacheUpdate: Skip global routing domain");
        return;
    }
    CFG_LOG(LL_DEBUG, "%1: RoutingDomain BFD update from local L2 state cache %2", kName, IdText(domain));
    for (const BfdTep& remote : RemoteTeps(domain)) {
        UpdateBFDTable({local, remote, 0}, {domain, domain, BFDSessionIDs::ROUTING_DOMAIN}, op, tlvs);
    }
    for (const std::string& switchUuid : SwitchesOf(domain)) {
        for (const BfdTep& remote : RemoteTeps(switchUuid)) {
            UpdateBFDTable({local, remote, 0}, {domain, switchUuid, BFDSessionIDs::LOGICAL_SWITCH}, op, tlvs);
        }
    }
}

void BFDTableApp::RoutingDomainOfLogicalSwitchUpdate(const std::string& switchUuid, const std::string& domain, Op op,
                                                     Tlvs& tlvs) {
    auto vni = _lsVniMap.find(switchUuid);
    CFG_LOG(LL_DEBUG, "RoutingDomainOfLogicalSwitchUpdate BFD session update for vni %1",
            vni != _lsVniMap.end() ? vni->second : 0);
    for (const BfdTep& local : LocalTeps(switchUuid)) {
        for (const BfdTep& remote : RemoteTeps(domain)) {
            UpdateBFDTable({local, remote, 0}, {switchUuid, domain, BFDSessionIDs::ROUTING_DOMAIN}, op, tlvs);
        }
    }
    for (const BfdTep& local : LocalTeps(domain)) {
        for (const BfdTep& remote : RemoteTeps(switchUuid)) {
            UpdateBFDTable({local, remote, 0}, {domain, switchUuid, BFDSessionIDs::LOGICAL_SWITCH}, op, tlvs);
        }
    }
}

void BFDTableApp::HandleStateCacheVNIUpdate(const std::string& switchUuid, Op op, Tlvs& tlvs) {
    CFG_LOG(LL_DEBUG, "%1: BFD handle the VNI join message", kName);
    std::optional<std::string> domain = DomainOf(switchUuid);
    if (!domain) {
        return;
    }
    for (const BfdTep& local : LocalTeps(*domain)) {
        for (const BfdTep& remote : RemoteTeps(switchUuid)) {
            CFG_LOG(LL_DEBUG, "%1: HandleStateCacheVNIUpdate: Update BFD session (%2 -> %3) for RD:%4 --> vni :%5 op: %6",
                    kName, local.Text(), remote.Text(), IdText(*domain), IdText(switchUuid), OpText(op));
            UpdateToBFDSessionInDataplane(tlvs, local, remote, {*domain, switchUuid, BFDSessionIDs::LOGICAL_SWITCH},
                                          op);
        }
    }
}

// ---- VTEP groups ----

void BFDTableApp::SetBFDInfoAndUpdateBFDTable(const BFDSessionIDs& ids, const Group& group, const BfdTep& local,
                                              const BfdTep& remote, Op op, Tlvs& tlvs) {
    const bool tn = group.type == kGroupTypeTn || InTnRange(group.label);
    BFDSessionIDs session = ids;
    if (tn) {
        session.type = _lsVniMap.contains(ids.remoteID) ? BFDSessionIDs::LOGICAL_SWITCH : BFDSessionIDs::ROUTING_DOMAIN;
    } else {
        session.remoteID = std::to_string(group.label);
        session.type = BFDSessionIDs::VTEP_GROUP;
    }
    CFG_LOG(LL_DEBUG,
            "%1: SetBFDInfoAndUpdateBFDTable: BFD session (%2 -> %3) for VTEP group label :%4 , op: %5, tnVgLabel: %6",
            kName, local.Text(), remote.Text(), group.label, OpText(op), tn ? group.label : 0);
    UpdateBFDTable({local, remote, tn ? group.label : 0}, session, op, tlvs);
}

void BFDTableApp::SetBFDInfoByTNGroupAndUpdateBFDTable(const BFDSessionIDs& ids, const Group& group,
                                                       const BfdTep& local, Op op, Tlvs& tlvs) {
    for (const BfdTep& remote : group.teps) {
        CFG_LOG(LL_DEBUG,
                "%1: SetBFDInfoByTNGroupAndUpdateBFDTable: BFD session (%2 -> %3) for VTEP group label :%4 , op: %5, "
                "tnVgLabel: %6",
                kName, local.Text(), remote.Text(), group.label, OpText(op), group.label);
        SetBFDInfoAndUpdateBFDTable(ids, group, local, remote, op, tlvs);
    }
}

void BFDTableApp::UpdateBFDTablebyTNVtepGroupLabel(const std::string& switchUuid, const BfdTep& local, Op op,
                                                   Tlvs& tlvs) {
    std::vector<std::string> labels;
    _l2Table->GetDesiredPropertyValues(switchUuid, L2_VTEP_GROUP_LABEL, labels);
    for (const std::string& value : labels) {
        const uint32_t label = LabelOf(value);
        std::optional<Group> group = FindGroup(label);
        if (!group) {
            CFG_LOG(LL_ERROR,
                    "%1: UpdateBFDTablebyTNVtepGroupLabel: VTEP GROUP (%2) msg cannot be found from desired state cache",
                    kName, label)
                .Tag("errorCode:LCP02204");
            return;
        }
        if (group->type == kGroupTypeTn && !InTnRange(label)) {
            CFG_LOG(LL_ERROR,
                    "%1: UpdateBFDTablebyTNVtepGroupLabel: this label: %2 is not TN TEP group label, MP should pass a "
                    "correct one.",
                    kName, label)
                .Tag("errorCode:LCP02204");
            return;
        }
        if (group->type == kGroupTypeTn || InTnRange(label)) {
            SetBFDInfoByTNGroupAndUpdateBFDTable({switchUuid, switchUuid, BFDSessionIDs::LOGICAL_SWITCH}, *group, local,
                                                 op, tlvs);
        }
    }
}

void BFDTableApp::VGLabelBasedBFDRemoteL2CacheUpdate(uint32_t label, const std::string& object, Op op,
                                                     const LoftDBUpdateList& batch, Tlvs& tlvs) {
    CFG_LOG(LL_DEBUG, "%1: VTEP group Label BFD update from remote L2 state cache  %2", kName, label);
    std::optional<Group> group = FindGroup(label);
    if (!group && op == DELETE && InTnRange(label)) {
        // A group deleted in the same batch is no longer in the table.
        for (const LoftDBUpdateMsg& record : batch) {
            if (record.objectType == L2_VTEP_GROUP_OBJECT && record.objectId == std::to_string(label)) {
                group = ParseGroup(record.propertyValue);
            }
        }
    }
    if (!group) {
        CFG_LOG(LL_ERROR,
                "%1: VGLabelBasedBFDRemoteL2CacheUpdate: VTEP GROUP (%2) msg cannot be found from desired state cache",
                kName, label)
            .Tag("errorCode:LCP02204");
        return;
    }
    const bool tn = group->type == kGroupTypeTn || InTnRange(label);
    if (group->type == kGroupTypeTn && !InTnRange(label)) {
        CFG_LOG(LL_ERROR,
                "%1: VGLabelBasedBFDRemoteL2CacheUpdate: this label: %2 is not TN TEP group label, MP should pass a "
                "correct one.",
                kName, label)
            .Tag("errorCode:LCP02204");
        return;
    }
    if (!tn && !group->bfd) {
        CFG_LOG(LL_ERROR,
                "%1: VGLabelBasedBFDRemoteL2CacheUpdate: The activeness_protocol of VTEP GROUP (%2) is not MBR_VTEP_BFD "
                "or doesn't exist.",
                kName, label)
            .Tag("errorCode:LCP02205");
        return;
    }
    if (group->teps.empty()) {
        CFG_LOG(LL_ERROR, "%1: VGLabelBasedBFDRemoteL2CacheUpdate: vtep list of VtepGroupMsg is empty", kName)
            .Tag("errorCode:LCP02205");
        return;
    }
    auto users = _vgLSMap.find(std::to_string(label));
    if (users == _vgLSMap.end() || users->second.empty()) {
        CFG_LOG(LL_ERROR,
                "%1: VGLabelBasedBFDRemoteL2CacheUpdate: Failed to get logical switch from _lsVGMap, vgLabel: %2", kName,
                label)
            .Tag("errorCode:LCP02206");
        return;
    }
    const std::set<std::string> objects = op == DELETE ? std::set<std::string>{object} : users->second;
    for (const std::string& user : objects) {
        for (const BfdTep& local : LocalTeps(user)) {
            SetBFDInfoByTNGroupAndUpdateBFDTable({user, user, BFDSessionIDs::LOGICAL_SWITCH}, *group, local, op,
                                                 tlvs);
        }
    }
}

void BFDTableApp::VGBasedBFDRemoteL2CacheUpdate(const Group& group, Op op, Tlvs& tlvs) {
    const uint32_t label = group.label;
    CFG_LOG(LL_DEBUG, "%1: VTEP group BFD update from remote L2 state cache %2", kName, label);
    const bool tn = group.type == kGroupTypeTn || InTnRange(label);
    if (group.type == kGroupTypeTn && !InTnRange(label)) {
        CFG_LOG(LL_ERROR,
                "%1: VGBasedBFDRemoteL2CacheUpdate: this label: %2 is not TN TEP group label, MP should pass a correct "
                "one.",
                kName, label)
            .Tag("errorCode:LCP02204");
        return;
    }
    if (!tn && op == ADD && !group.bfd) {
        CFG_LOG(LL_ERROR,
                "%1: VGBasedBFDRemoteL2CacheUpdate: The activeness_protocol of VTEP GROUP (%2) is not MBR_VTEP_BFD or "
                "doesn't exist.",
                kName, label)
            .Tag("errorCode:LCP02205");
        return;
    }
    const std::string labelText = std::to_string(label);
    auto users = _vgLSMap.find(labelText);
    if (users == _vgLSMap.end() || users->second.empty()) {
        CFG_LOG(LL_WARN, "%1: VGBasedBFDRemoteL2CacheUpdate: There is no vgLabel mapping to logical switch for vgLabel: %2",
                kName, label);
        return;
    }
    // The group's TEPs as the table has them now.
    std::set<BfdTep> current;
    for (const auto& [key, entry] : _table.Entries()) {
        const bool ours = tn ? entry.sessionType == BFDTable::TUNNEL && entry.tnVgLabel == label
                             : entry.sessionType == BFDTable::EVPN && entry.remoteIDs.contains(labelText);
        if (ours) {
            current.insert(entry.remote);
        }
    }
    std::vector<BfdTep> added;
    if (op == ADD) {
        for (const BfdTep& tep : group.teps) {
            if (current.erase(tep) == 0) {
                added.push_back(tep);
            }
        }
    }
    auto apply = [&](const std::string& owner) {
        for (const BfdTep& local : LocalTeps(owner)) {
            for (const BfdTep& remote : added) {
                SetBFDInfoAndUpdateBFDTable({owner, owner, BFDSessionIDs::LOGICAL_SWITCH}, group, local, remote, ADD,
                                            tlvs);
            }
            for (const BfdTep& remote : current) {
                SetBFDInfoAndUpdateBFDTable({owner, owner, BFDSessionIDs::LOGICAL_SWITCH}, group, local, remote,
                                            DELETE, tlvs);
            }
        }
    };
    for (const std::string& user : users->second) {
        apply(user);
        if (!tn) {
            continue;
        }
        if (std::optional<std::string> domain = DomainOf(user)) {
            apply(*domain);
        }
        if (!_lsVniMap.contains(user)) {
            for (const std::string& member : SwitchesOf(user)) {
                apply(member);
            }
        }
    }
}

void BFDTableApp::ApplyGroupLabels(const LoftDBUpdateList& records, Op op, const LoftDBUpdateList& batch,
                                   Tlvs& tlvs) {
    for (const LoftDBUpdateMsg& record : records) {
        const uint32_t label = LabelOf(record.propertyValue);
        const std::string labelText = std::to_string(label);
        if (op == ADD) {
            CFG_LOG(LL_DEBUG, "%1: Update _vgLSMap, vgLabel: %2, lsStr: %3, op: %4", kName, label,
                    IdText(record.objectId), record.operation);
            if (!_vgLSMap[labelText].insert(record.objectId).second) {
                CFG_LOG(LL_DEBUG, "%1: BFD VG2LS map exist logical switch(%2) to vgLabel(%3)", kName,
                        IdText(record.objectId), label);
                continue;
            }
            VGLabelBasedBFDRemoteL2CacheUpdate(label, record.objectId, ADD, batch, tlvs);
        } else {
            VGLabelBasedBFDRemoteL2CacheUpdate(label, record.objectId, DELETE, batch, tlvs);
            auto users = _vgLSMap.find(labelText);
            if (users != _vgLSMap.end()) {
                users->second.erase(record.objectId);
                if (users->second.empty()) {
                    _vgLSMap.erase(users);
                }
            }
        }
    }
}

// ---- The observers ----

void BFDTableApp::ProcessL2DesiredStateUpdate(const LoftDBUpdateList& list, bool) {
    LoftDBUpdateList tnAdd, tnDelete, otherAdd, otherDelete, rest;
    for (const LoftDBUpdateMsg& record : list) {
        const bool labelRecord = record.propertyType == L2_VTEP_GROUP_LABEL &&
                                 (record.objectType == LOG_SWITCH_FIB || record.objectType == ROUTING_DOMAIN_FIB);
        if (!labelRecord) {
            rest.push_back(record);
            continue;
        }
        if (record.operation != OP_UPDATE && record.operation != OP_DELETE) {
            continue;
        }
        const bool tn = IsTNVtepGroupMsg(LabelOf(record.propertyValue));
        const bool add = record.operation == OP_UPDATE;
        (tn ? (add ? tnAdd : tnDelete) : (add ? otherAdd : otherDelete)).push_back(record);
    }
    Tlvs tlvs;
    ApplyGroupLabels(otherAdd, ADD, list, tlvs);
    ApplyGroupLabels(otherDelete, DELETE, list, tlvs);
    for (const LoftDBUpdateMsg& record : rest) {
        const Op op = OpOf(record.operation);
        if (record.propertyType == L2_VTEP && record.objectType == LOG_SWITCH_FIB) {
            VNIBasedBFDRemoteL2CacheUpdate(record.objectId, BfdTep::FromVtep(record.propertyValue), op, tlvs);
        } else if (record.propertyType == L2_VTEP && record.objectType == ROUTING_DOMAIN_FIB && !IsNil(record.objectId)) {
            RoutingDomainBasedBFDRemoteL2CacheUpdate(record.objectId, BfdTep::FromVtep(record.propertyValue), op, tlvs);
        } else if (record.objectType == L2_VTEP_GROUP_OBJECT && record.propertyType == L2_VTEP_GROUP) {
            if (std::optional<Group> group = ParseGroup(record.propertyValue)) {
                VGBasedBFDRemoteL2CacheUpdate(*group, op, tlvs);
            }
        }
    }
    ApplyGroupLabels(tnDelete, DELETE, list, tlvs);
    ApplyGroupLabels(tnAdd, ADD, list, tlvs);
    SendTlvs(tlvs);
}

void BFDTableApp::ProcessL2RuntimeStateUpdate(const LoftDBUpdateList& list, bool) {
    Tlvs tlvs;
    for (const LoftDBUpdateMsg& record : list) {
        const Op op = OpOf(record.operation);
        if (record.objectType == LOG_SWITCH_STATE && record.propertyType == L2_VTEP) {
            VNIBasedBFDLocalL2CacheUpdate(record.objectId, BfdTep::FromVtep(record.propertyValue), op, tlvs);
        } else if (record.objectType == ROUTING_DOMAIN_VTEP && record.propertyType == L2_VTEP) {
            RoutingDomainBasedBFDLocalL2CacheUpdate(record.objectId, BfdTep::FromVtep(record.propertyValue), op, tlvs);
        } else if (record.objectType == LOG_SWITCH_STATE && record.propertyType == INVALID_PROPERTY &&
                   record.operation == OP_UPDATE) {
            HandleStateCacheVNIUpdate(record.objectId, ADD, tlvs);
        }
    }
    SendTlvs(tlvs);
}

// ---- The L2 application's moments ----

void BFDTableApp::SyncBFDSessionsToDataplane() {
    CFG_LOG(LL_INFO, "Sync BFD sessions to dataplane");
    Tlvs tlvs;
    for (const auto& [key, entry] : _table.Entries()) {
        for (const auto& [remoteId, value] : entry.remoteIDs) {
            UpdateToBFDSessionInDataplane(tlvs, entry.local, entry.remote, {std::string(), remoteId, value.type}, ADD);
        }
    }
    SendTlvs(tlvs);
}

// The join's reading of the operation codes: a join adds the sessions, a
// leave removes them.
void BFDTableApp::OnVniChange(const std::string& switchId, bool joined) {
    Tlvs tlvs;
    HandleStateCacheVNIUpdate(switchId, joined ? ADD : DELETE, tlvs);
    SendTlvs(tlvs);
}

void BFDTableApp::OnLsVniChange(const std::string& switchId, uint32_t vni, bool add) {
    if (add) {
        if (!_lsVniMap.try_emplace(switchId, vni).second) {
            CFG_LOG(LL_DEBUG, "%1: Invalid operation to add logical switch(%2) to VNI(%3)", kName, IdText(switchId),
                    vni);
        }
    } else if (_lsVniMap.erase(switchId) == 0) {
        CFG_LOG(LL_DEBUG, "%1: Invalid operation to delete logical switch(%2) to VNI(%3)", kName, IdText(switchId), vni);
    }
}

// ---- Configuration ----

void BFDTableApp::UpdateRoutingDomainMap(const std::string& value, const std::string& switchUuid,
                                         uint32_t operation, Tlvs& tlvs) {
    lb::LogSwitchConfigMsg config;
    config.ParseFromString(value);
    const std::string domain =
        config.has_routing_domain_id() ? Uuid::FromMsg(config.routing_domain_id()).Serialized() : std::string();
    const bool none = domain.empty() || IsNil(domain);
    std::optional<std::string> old = DomainOf(switchUuid);
    std::optional<std::string> entering;
    if (operation == OP_UPDATE) {
        if (!old && none) {
            CFG_LOG(LL_DEBUG, "BFDTable::UpdateRoutingDomainMap: invalid routingDomainID for LS %1, skip adding",
                    IdText(switchUuid));
            return;
        }
        if (!none) {
            entering = domain;
        }
    } else if (!old) {
        if (none) {
            CFG_LOG(LL_DEBUG, "BFDTable::UpdateRoutingDomainMap: invalid routingDomainID for LS %1, skip deleting",
                    IdText(switchUuid));
        }
        return;
    }
    if (old) {
        _lsRDMap.erase(switchUuid);
        auto [first, last] = _rdLSMap.equal_range(*old);
        auto member = std::find_if(first, last, [&](const auto& pair) { return pair.second == switchUuid; });
        if (member == last) {
            CFG_LOG(LL_INFO, "BFD DeleteRDLSMapMember no %1 in _rdLSMap", IdText(switchUuid));
        } else {
            _rdLSMap.erase(member);
        }
        RoutingDomainOfLogicalSwitchUpdate(switchUuid, *old, DELETE, tlvs);
        auto known = _routingDomains.find(*old);
        if (known != _routingDomains.end()) {
            std::erase(known->second, switchUuid);
            if (known->second.empty()) {
                _routingDomains.erase(known);
                CFG_LOG(LL_DEBUG, "%1: Delete the routingDomain ID %2", kName, IdText(*old));
            }
        }
    }
    if (entering) {
        _lsRDMap[switchUuid] = *entering;
        _rdLSMap.emplace(*entering, switchUuid);
        RoutingDomainOfLogicalSwitchUpdate(switchUuid, *entering, ADD, tlvs);
        auto [known, added] = _routingDomains.try_emplace(*entering);
        known->second.push_back(switchUuid);
        if (added) {
            CFG_LOG(LL_DEBUG, "%1: Add a new routingDomain ID %2", kName, IdText(*entering));
        }
    }
}

std::optional<std::vector<uint8_t>> BFDTableApp::BFDPB2TLV(const std::string& nodeId,
                                                           const std::string& config) const {
    lb::BfdMonitoringConfigMsg bfd;
    bfd.ParseFromString(config);
    if (!bfd.has_transport_zone_id()) {
        CFG_LOG(LL_INFO, "BFDPB2TLV, Exit, empty transport zone, skipping");
        return std::nullopt;
    }
    const std::string zone = Uuid::FromMsg(bfd.transport_zone_id()).Serialized();
    std::string switches;
    lb::TransportNodeConfigMsg node;
    std::string hostSwitch;
    if (_configTable->GetObjectProperty(TRANSPORT_NODE_CONFIG, TN_TRANSPORT_SWITCHES, nodeId, switches) &&
        node.ParseFromString(switches)) {
        for (const lb::TransportSwitchMsg& transportSwitch : node.transport_switches()) {
            for (const lb::UuidMsg& id : transportSwitch.transport_zone_ids()) {
                if (Uuid::FromMsg(id).Serialized() == zone) {
                    hostSwitch = transportSwitch.host_switch_id();
                }
            }
        }
    }
    if (hostSwitch.empty()) {
        CFG_LOG(LL_INFO, "BFDPB2TLV, Exit, transport zone %1 not found in cache, skipping", IdText(zone));
        return std::nullopt;
    }
    VxlanConfigureItem item;
    item.type = VXLAN_CFG_BFD;
    item.hdsId = hostSwitch;
    if (bfd.has_enabled()) {
        item.flags |= 1;
        item.enable = bfd.enabled() ? 1 : 0;
    }
    if (bfd.has_vtep_health_interval()) {
        item.flags |= 2;
        item.interval = bfd.vtep_health_interval();
    }
    if (bfd.has_latency_enable()) {
        item.flags |= 4;
        item.latencyEnable = bfd.latency_enable() ? 1 : 0;
    }
    CFG_LOG(LL_INFO,
            "BFDPB2TLV, Exit, sending dvsUUID: %1, flags: %2, enabled: %3, vtep_health_interval: %4, latency_enable: %5",
            hostSwitch, item.flags, item.enable, item.interval, item.latencyEnable);
    std::vector<uint8_t> message;
    if (!VxlanConfigureCodec::Build({item}, message)) {
        return std::nullopt;
    }
    return message;
}

void BFDTableApp::PushTransportNodeBfd(const std::string& nodeId, const std::string& bfdValue) {
    lb::TransportNodeConfigMsg node;
    node.ParseFromString(bfdValue);
    std::vector<std::vector<uint8_t>> messages;
    for (const lb::BfdMonitoringConfigMsg& bfd : node.bfd()) {
        if (std::optional<std::vector<uint8_t>> message = BFDPB2TLV(nodeId, bfd.SerializeAsString())) {
            messages.push_back(std::move(*message));
        }
    }
    if (!messages.empty()) {
        _l2App->SendMessages(messages);
    }
}

void BFDTableApp::ProcessConfigDesiredStateUpdate(const LoftDBUpdateList& list, bool) {
    Tlvs tlvs;
    for (const LoftDBUpdateMsg& record : list) {
        if (record.objectType == LOG_SWITCH_CONFIG && record.propertyType == LS_ROUTING_DOMAIN_ID) {
            std::optional<Uuid> id = Uuid::FromSerialized(record.objectId);
            if (id) {
                UpdateRoutingDomainMap(record.propertyValue, record.objectId, record.operation, tlvs);
            }
        } else if (record.objectType == TRANSPORT_NODE_CONFIG && record.operation == OP_UPDATE) {
            if (record.propertyType == TN_BFD) {
                PushTransportNodeBfd(record.objectId, record.propertyValue);
            } else if (record.propertyType == TN_TRANSPORT_SWITCHES) {
                std::string bfd;
                if (_configTable->GetObjectProperty(TRANSPORT_NODE_CONFIG, TN_BFD, record.objectId, bfd)) {
                    CFG_LOG(LL_INFO, "Push down BFD config after receiving transport switch property");
                    PushTransportNodeBfd(record.objectId, bfd);
                }
            }
        }
    }
    SendTlvs(tlvs);
}

void BFDTableApp::UpdateDesiredState(const LoftDBUpdateList& list, bool) {
    Lock guard(agentLock());
    std::vector<std::vector<uint8_t>> messages;
    for (const LoftDBUpdateMsg& record : list) {
        if (record.objectType != BFD_GLOBAL_CONFIG) {
            CFG_LOG(LL_ERROR, "unexpected loftdb object type %1", record.objectType).Tag("errorCode:LCP02203");
            continue;
        }
        if (record.operation != OP_UPDATE) {
            continue;
        }
        lb::BfdGlobalConfigMsg config;
        config.ParseFromString(record.propertyValue);
        VxlanConfigureItem item;
        item.type = VXLAN_CFG_EVPN_BFD;
        item.flags = 1;
        item.enable = config.enabled() ? 1 : 0;
        if (config.has_vtep_health_interval()) {
            item.flags |= 2;
            item.interval = config.vtep_health_interval();
        }
        if (config.has_multiplier()) {
            item.flags |= 8;
            item.multiplier = config.multiplier();
        }
        CFG_LOG(LL_INFO,
                "BFDPB2TLV for EVPN BFD conifg, sending flags: %1, enabled: %2, vtep_health_interval: %3, multiple: %4",
                item.flags, item.enable, item.interval, item.multiplier);
        std::vector<uint8_t> message;
        if (VxlanConfigureCodec::Build({item}, message)) {
            messages.push_back(std::move(message));
        }
    }
    if (!messages.empty()) {
        _l2App->SendMessages(messages);
    }
}

}  // namespace CfgAgent
