#include "port/ipdisc/IpDiscovery.h"

#include <boost/property_tree/ptree.hpp>
#include <mutex>
#include <set>

#include "cache/IStateCacheConfigTable.h"
#include "frame/AgentLock.h"
#include "log/Logger.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_profile.pb.h"
#include "loftdb_store.pb.h"
#include "loftdb_switching.pb.h"
#include "dplink/BigEndian.h"
#include "dplink/DataplaneTaklink.h"
#include "port/ipdisc/IIpDiscoveryOwner.h"
#include "port/kcp/KcpTypes.h"
#include "dplink/MacNumber.h"
#include "port/swsec/SwsecCodec.h"
#include "store/ILoftdbClient.h"
#include "zef/upm/UPMService.h"

namespace CfgAgent {

namespace {

using Lock = std::lock_guard<std::recursive_mutex>;
namespace lb = halden::zef::loftdb;

void SetAddress(const KcpDiscoveredBinding& binding, lb::IpAddressMsg& address) {
    if (binding.ipv4) {
        CFG_LOG(LL_DEBUG, "IpDiscovery: Setting v4 address");
        address.set_ipv4(BigEndian::Get32(binding.ip.data()));
    } else {
        CFG_LOG(LL_DEBUG, "IpDiscovery: Setting v6 address");
        address.set_ipv6(std::string(binding.ip.begin(), binding.ip.end()));
    }
}

// A tools binding the kernel can use: both an address and a MAC.
bool ToEntry(const lb::DaVifBindingMsg& binding, KcpContainerEntry& entry) {
    if (!binding.has_mac() || !binding.has_ip_address()) {
        return false;
    }
    const lb::IpAddressMsg& ip = binding.ip_address();
    if (ip.has_ipv4()) {
        entry.ipv4 = true;
        BigEndian::Put32(entry.ip.data(), ip.ipv4());
    } else if (ip.ipv6().size() == entry.ip.size()) {
        entry.ipv4 = false;
        std::copy(ip.ipv6().begin(), ip.ipv6().end(), entry.ip.begin());
    } else {
        return false;
    }
    entry.mac = MacFromNumber(binding.mac());
    return true;
}

}  // namespace

IpDiscovery::IpDiscovery(IStateCacheConfigTable& configTable, ILoftdbClient& loftdbClient,
                         IIpDiscoveryOwner& owner, std::shared_ptr<zef::upm::UPMService> upm)
    : _configTable(configTable), _loftdbClient(loftdbClient), _owner(owner), _upm(std::move(upm)) {}

IpDiscovery::~IpDiscovery() = default;

void IpDiscovery::Init(const boost::property_tree::ptree& config) {
    _linkName = config.get<std::string>("features.ipdisc.taklink.path", kDefaultLink);
    _link = zef::RefPtr<DataplaneLink>(new DataplaneTaklink(
        _linkName, [this](const unsigned char* message, int length) { OnData(message, length); },
        [this](DataplaneLink* link, DataplaneLink::LinkStatus status) { OnStatus(link, status); },
        nullptr, kBufferSize));
}

void IpDiscovery::Start() {
    CFG_LOG(LL_INFO, "IpDiscovery: Start called");
    if (_link) {
        _link->open();
    }
}

void IpDiscovery::Stop() {
    CFG_LOG(LL_INFO, "IpDiscovery: Stop called");
    if (_link) {
        _link->close();
        _link->stop();
        _link.reset();
    }
}

uint32_t IpDiscovery::StoredSource(uint8_t method) {
    switch (method) {
        case 1: return 3;
        case 2: return 2;
        case 8: return 5;
        case 16: return 6;
        case 32: return 4;
        case 64: return 7;
        default: return 0;
    }
}

void IpDiscovery::OnStatus(DataplaneLink*, DataplaneLink::LinkStatus status) {
    _linkUp = status == DataplaneLink::LINK_UP;
}

void IpDiscovery::OnData(const unsigned char* message, int length) {
    std::span<const uint8_t> bytes(message, static_cast<size_t>(std::max(length, 0)));
    if (bytes.size() < 4) {
        CFG_LOG(LL_WARN, "IpDiscovery: DP MSG length shorter than expected.");
    } else if (BigEndian::Get16(bytes.data()) != SwsecCodec::SWSEC_SOLICITATION) {
        CFG_LOG(LL_WARN, "IpDiscovery: DP MSG type not supported");
    }
    const std::string vifId = SwsecCodec::ReadSolicitation(bytes);
    CFG_LOG(LL_INFO, "IpDiscovery: Received DP vm_tools binding solicitation. vif ID: %1", vifId);
    CFG_LOG(LL_INFO, "IpDiscovery: Query loftdb for davif.");
    zef::RefPtr<IpDiscovery> self(this);
    _loftdbClient.ReadObject(DA_VIF_OBJECT, vifId,
                             [self](bool ok, const std::vector<lb::TypedObjectMsg>& objects) {
                                 self->OnDaVifRead(ok, objects);
                             });
}

void IpDiscovery::OnDaVifRead(bool ok, const std::vector<lb::TypedObjectMsg>& objects) {
    if (!ok) {
        CFG_LOG(LL_ERROR, "IpDiscovery: Loftdb get failed.");
        return;
    }
    lb::DaVifMsg daVif;
    if (objects.empty() || !daVif.ParseFromString(objects.front().body())) {
        CFG_LOG(LL_INFO, "IpDiscovery: No da_vif found.");
        return;
    }
    CFG_LOG(LL_INFO, "IpDiscovery: retrieved da_vif from loftDB with binding sz = %1",
            daVif.bindings_size());
    Lock guard(agentLock());
    SendToolsBindings(daVif);
}

void IpDiscovery::SendToolsBindings(const lb::DaVifMsg& daVif) {
    if (!_linkUp || !_link) {
        CFG_LOG(LL_INFO, "IpDiscovery: DAVIF_MSG received. Swsec taklink not ready.");
        return;
    }
    CFG_LOG(LL_INFO, "IpDiscovery: Msg vmtools bindings to SwSec");
    SwsecBindings bindings;
    if (!_owner.PortOfVif(daVif.id(), bindings.portId, bindings.switchId)) {
        CFG_LOG(LL_ERROR, "IpDiscovery: davif contains vif id %1 that is not connected", daVif.id());
        return;
    }
    if (bindings.switchId.empty()) {
        CFG_LOG(LL_ERROR, "IpDiscovery: failed to get switch ID");
        return;
    }
    for (const lb::DaVifBindingMsg& binding : daVif.bindings()) {
        KcpContainerEntry entry;
        if (!ToEntry(binding, entry)) {
            CFG_LOG(LL_INFO, "IpDiscovery: Skipped davif binding item");
            continue;
        }
        CFG_LOG(LL_INFO, "IpDiscovery: vmtools discovered bindings: %1/%2",
                binding.ip_address().ShortDebugString(), binding.mac());
        bindings.entries.push_back(entry);
    }
    std::vector<uint8_t> message;
    if (SwsecCodec::BuildBindings(bindings, message)) {
        _link->sendCopy(message);
    }
}

void IpDiscovery::UpdateDesiredState(const LoftDBUpdateList& objects, bool isFullSync) {
    if (objects.empty() && !isFullSync) {
        CFG_LOG(LL_INFO, "IpDiscovery: Received empty msgs from LoftDb");
        return;
    }
    Lock guard(agentLock());
    std::set<std::string> present;
    for (const LoftDBUpdateMsg& object : objects) {
        if (object.operation != OP_UPDATE && object.operation != OP_DELETE) {
            CFG_LOG(LL_ERROR, "IpDiscovery: DaVif invalid op %1, not caching or writing to StateCache",
                    object.operation);
            continue;
        }
        lb::DaVifMsg daVif;
        if (object.propertyValue.empty()) {
            CFG_LOG(LL_ERROR, "IpDiscovery: received empty property valuefrom LoftDb");
            _daVifs.erase(object.objectId);
            continue;
        }
        if (!daVif.ParseFromString(object.propertyValue)) {
            continue;
        }
        CFG_LOG(LL_INFO, "IpDiscovery: DaVifMsg id : %1", daVif.id());
        if (object.operation == OP_UPDATE) {
            _daVifs[daVif.id()] = daVif;
            present.insert(daVif.id());
        } else {
            _daVifs.erase(daVif.id());
        }
        SendToolsBindings(daVif);
    }
    if (!isFullSync) {
        return;
    }
    for (auto it = _daVifs.begin(); it != _daVifs.end();) {
        if (present.count(it->first) != 0) {
            ++it;
            continue;
        }
        // Gone while the store was away: the module forgets its tools bindings.
        CFG_LOG(LL_INFO, "IpDiscovery: UpdateDesiredState : full sync scenario for VIF : %1", it->first);
        lb::DaVifMsg gone;
        gone.set_id(it->first);
        SendToolsBindings(gone);
        it = _daVifs.erase(it);
    }
}

LoftDBUpdateMsg IpDiscovery::BindingRecord(const IpDiscEntry& entry) const {
    lb::VifStateMsg state;
    state.set_id(entry.vifId);
    auto daVif = _daVifs.find(entry.vifId);
    if (daVif != _daVifs.end() && daVif->second.has_kind()) {
        state.set_kind(daVif->second.kind());
    }
    if (entry.operation == KCP_OP_DELETE) {
        CFG_LOG(LL_DEBUG, "IpDiscovery: ProcessIpDiscList, KCP_OP_DELETE");
    } else {
        CFG_LOG(LL_DEBUG, "IpDiscovery: ProcessIpDiscList, KCP_OP_UPDATE");
        for (const KcpDiscoveredBinding& binding : entry.bindings) {
            lb::VifDiscoveredBindingMsg* stored = state.add_discovered_bindings();
            SetAddress(binding, *stored->mutable_ip());
            stored->set_mac(MacToNumber(binding.mac));
            stored->set_vlan(binding.vlan);
            if (const uint32_t source = StoredSource(binding.method); source != 0) {
                stored->set_source(source);
            } else {
                CFG_LOG(LL_ERROR,
                        "IP Discovery: Received unsupported discovery source binding from datapath");
            }
            stored->set_timestamp(binding.timestamp);
        }
    }
    return LoftDBUpdateMsg(VIF_STATE, entry.vifId, OP_UPDATE, VIF_IP_DISCOVEREDBINDING,
                           state.SerializeAsString());
}

void IpDiscovery::ProcessIpDiscList(const std::vector<IpDiscEntry>& list, bool isVifFullSync) {
    LoftDBUpdateList result;
    for (const IpDiscEntry& entry : list) {
        CFG_LOG(LL_INFO,
                "IpDiscovery: ProcessIpDiscList, received , update related to VIF : %1, operation : %2",
                entry.vifId, entry.operation);
        result.push_back(BindingRecord(entry));
    }
    MergeWithToolsBindings(result, isVifFullSync);
    if (isVifFullSync) {
        CFG_LOG(LL_INFO,
                "IpDiscovery: ProcessIpDiscList, full sync scenario, not updating runtime state directly");
        _owner.OnIpDiscoveryReady(result, false);
        return;
    }
    CFG_LOG(LL_INFO, "IpDiscovery: ProcessIpDiscList, full sync done , updating runtime state directly");
    _configTable.UpdateRuntimeState(result, false);
}

void IpDiscovery::MergeWithToolsBindings(LoftDBUpdateList& result, bool isVifFullSync) {
    LoftDBUpdateList head;
    for (auto it = result.begin(); it != result.end();) {
        if (_daVifs.count(it->objectId) == 0) {
            ++it;
            continue;
        }
        lb::VifStateMsg state;
        state.ParseFromString(it->propertyValue);
        if (state.discovered_bindings_size() == 0) {
            CFG_LOG(LL_INFO, "IpDiscovery: no discovery binding with vif %1", it->objectId);
            if (!isVifFullSync) {
                _configTable.UpdateRuntimeState(
                    {LoftDBUpdateMsg(VIF_STATE, it->objectId, OP_DELETE, VIF_IP_DISCOVEREDBINDING, {})},
                    false);
            }
            it = result.erase(it);
            continue;
        }
        std::string previous;
        if (!_configTable.GetRuntimeValue(it->objectId, INVALID_PROPERTY, previous)) {
            CFG_LOG(LL_INFO, "IpDiscovery: Add invalid property with Vif %1", it->objectId);
            head.push_back(LoftDBUpdateMsg(VIF_STATE, it->objectId, OP_UPDATE, INVALID_PROPERTY, {}));
        }
        ++it;
    }
    result.splice(result.begin(), head);
}

void IpDiscovery::ProcessVifUpdate(const LoftDBUpdateList& upds, bool isVifFullSync) {
    CFG_LOG(LL_INFO, "IpDiscovery: ProcessVifUpdate with upds size : %1, isVifFullSync : %2",
            upds.size(), isVifFullSync);
    if (isVifFullSync) {
        CFG_LOG(LL_INFO,
                "IpDiscovery: ProcessVifUpdate, full sync scenario, not updating runtime state directly");
        _owner.OnIpDiscoveryReady(upds, true);
    }
    CFG_LOG(LL_INFO, "IpDiscovery: ProcessVifUpdate Done");
}

bool IpDiscovery::ChooseEffective(const lb::IpDiscoveryConfigMsg* property,
                                  const lb::IpDiscoveryConfigMsg* profile,
                                  lb::IpDiscoveryConfigMsg& out, uint32_t& outSource) {
    if (property == nullptr) {
        outSource = SOURCE_NONE;
        return false;
    }
    if (property->has_use_profile() && property->use_profile() && profile != nullptr) {
        out = *profile;
        outSource = SOURCE_PROFILE;
        return true;
    }
    out = *property;
    outSource = SOURCE_PROPERTY;
    return true;
}

bool IpDiscovery::SelectEffectiveProfile(const std::string& portId, uint32_t source,
                                         const std::string& message, lb::IpDiscoveryConfigMsg& out,
                                         uint32_t& outSource) {
    CFG_LOG(LL_INFO, "IpDiscovery: SelectEffectiveProfile: Getting profiles for port %1",
            UuidBytesToString(portId));
    std::string stored = source == SOURCE_PROPERTY ? message : std::string();
    lb::LogSwitchPortConfigMsg port;
    const bool hasProperty =
        (source == SOURCE_PROPERTY ||
         _configTable.GetObjectProperty(LOG_SWITCH_PORT_CONFIG, LSP_IP_DISCOVERY, portId, stored)) &&
        port.ParseFromString(stored) && port.has_ip_discovery();
    std::string body = source == SOURCE_PROFILE ? message : std::string();
    lb::ProfileMsg profile;
    const bool hasProfile =
        (source == SOURCE_PROFILE ||
         (_upm && _upm->GetProfile(portId, kIpDiscoveryProfileKind, body))) &&
        profile.ParseFromString(body) && profile.has_ip_discovery();
    return ChooseEffective(hasProperty ? &port.ip_discovery() : nullptr,
                           hasProfile ? &profile.ip_discovery() : nullptr, out, outSource);
}

}  // namespace CfgAgent
