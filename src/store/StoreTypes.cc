#include "store/StoreTypes.h"

#include <google/protobuf/message.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>

#include "frame/vocabulary/ObjectType.h"
#include "store/Decoder.h"
#include "zef/loftdb/ObjectTypes.h"

namespace CfgAgent {

namespace {

using Watch = StoreTypes::Watch;
using Select = StoreTypes::Select;
using D = Decoder;

constexpr Watch kAlways = Watch::Always;

const StoreTypes::Row kRows[] = {
    {LOG_SWITCH_CONFIG, kAlways, 1, Select::None, {D::DecodeLogSwitchConfig, {CONFIGCACHE}}},
    {LOG_SWITCH_PORT_CONFIG, kAlways, 1, Select::None, {D::DecodeLogSwitchPortConfig, {CONFIGCACHE}}},
    {TRANSPORT_NODE_CONFIG, kAlways, 1, Select::None, {D::DecodeTransportNodeConfig, {CONFIGCACHE, CONFIGAPP}}},
    {BRIDGE_CLUSTER_CONFIG, kAlways, 0, Select::None, {D::DecodeBridgeClusterConfig, {CONFIGCACHE}}},
    {PORT_MIRROR_SESSION, kAlways, 0, Select::None, {D::DecodePortMirrorSession, {CONFIGCACHE}}},
    {IPFIX_CONFIGURATION, kAlways, 0, Select::None, {D::DecodeIpfixConfiguration, {CONFIGCACHE}}},
    {PROFILE, kAlways, 1, Select::None, {D::DecodeProfile, {CONFIGCACHE}}},
    {CONTAINER, kAlways, 1, Select::None, {D::DecodeDFWContainer, {DFW, LB}}},
    // Group members for the config table; the whole relation for the firewall.
    {ENTITY_GROUP_RELATION, kAlways, 1, Select::None, {D::DecodeEntityGroupRelation, {CONFIGCACHE}},
     {D::DecodeEntityGroupRelationObject, {DFW, LB}}},
    {CONTEXT_PROFILE, kAlways, 1, Select::None, {D::DecodeDFWContextProfile, {DFW, IDS}}},
    {IDS_SIGNATURES, kAlways, 1, Select::None, {D::DecodeIdsSignatures, {IDS}}},
    {L2_VTEP_GROUP_OBJECT, kAlways, 1, Select::None, {D::DecodeVtepGroup, {L2CACHE}}},
    {LOG_SWITCH_FIB, kAlways, 1, Select::Lists, {D::DecodeLogSwitchFib, {L2CACHE}}},
    {ROUTING_DOMAIN_FIB, kAlways, 1, Select::Lists, {D::DecodeRoutingDomainFib, {L2CACHE}}},
    {LOG_ROUTER_CONFIG, kAlways, 0, Select::None, {D::DecodeLogRouterConfig, {L3CACHE}}},
    {LOG_ROUTER_PORT_CONFIG, kAlways, 0, Select::None, {D::DecodeLogRouterPortConfig, {L3CACHE}}},
    {FIB, kAlways, 1, Select::Lists, {D::DecodeFib, {L3CACHE}}},
    {ARP_TABLE_CONFIG, kAlways, 1, Select::Lists, {D::DecodeArpTableConfig, {L3CACHE}}},
    {PREFIX_LIST, kAlways, 0, Select::None, {D::DecodePrefixList, {L3CACHE}}},
    {DA_VIF_OBJECT, kAlways, 0, Select::None, {D::DecodeDaVifMsg, {CONFIGAPP}}},
    {GLOBAL_CONFIG, kAlways, 1, Select::None,
     {D::DecodeGlobalConfig, {L3CACHE, L2APP, DFW, IDS, CONFIGAPP, TF}}},
    {MULTICAST_CONFIG, kAlways, 1, Select::None, {D::DecodeMulticastConfig, {L3CACHE}}},
    {NDRA_PROFILE_CONFIG, kAlways, 0, Select::None, {D::DecodeNdraProfileConfig, {L3CACHE}}},
    {DAD_PROFILE_CONFIG, kAlways, 0, Select::None, {D::DecodeDadProfileConfig, {L3CACHE}}},
    {LOG_ROUTER_PORT_FIB_DAD_STATE, kAlways, 0, Select::None, {D::DecodeLogRouterPortFibDadState, {L3CACHE}}},
    {LOG_ROUTER_PORT_DAD_REQUEST, kAlways, 0, Select::None, {D::DecodeLogRouterPortDadRequest, {L3CACHE}}},
    {NSG_MEMBERSHIP_STATUS, kAlways, 0, Select::None, {D::DecodeNsgMemberShipStatus, {CONFIGCACHE}}},
    {MULTICAST_STATIC_ROUTE, kAlways, 0, Select::None, {D::DecodeMulticastStaticRoute, {L3CACHE}}},
    {HOST_SWITCH_SMARTNIC_BACKING, Watch::SmartnicHost, 0, Select::None,
     {D::DecodeHostSwitchSmartnicBacking, {CONFIGAPP}}},
    {RULE, kAlways, 1, Select::None, {D::DecodeDFWRule, {DFW, IDS}}},
    {RULE_SECTION, kAlways, 1, Select::None, {D::DecodeDFWRuleSection, {DFW, IDS}}},
    {CONFIG_SPAN, kAlways, 1, Select::None, {D::DecodeDFWConfigSpan, {DFW, CONFIGAPP}}},
    {IP_REPUTATION_CONFIG, kAlways, 1, Select::None, {D::DecodeDFWIpReputationConfig, {DFW}}},
    {CRADLE_CHANNEL_GLOBAL_CONFIG, kAlways, 0, Select::None, {D::DecodeCradleGlobalConfig, {CONFIGAPP}}, {},
     true},
    {CCP_SESSION, kAlways, 0, Select::None, {D::DecodeCcpSession, {CONFIGAPP, L2APP}}},
    {SI_SERVICE_CHAIN, kAlways, 0, Select::Self, {D::DecodeSiServiceChain, {SIAPP}}},
    {SI_SERVICE_PATH, kAlways, 0, Select::Self, {D::DecodeSiServicePath, {SIAPP}}},
    {SI_REDIRECTION_POLICY, kAlways, 0, Select::Self, {D::DecodeSiRedirectionPolicy, {SIAPP}}},
    {LB_SERVICE, kAlways, 1, Select::None, {D::DecodeLbService, {LB}}},
    {LB_VIRTUAL_SERVER, kAlways, 1, Select::None, {D::DecodeLbVirtualServer, {LB}}},
    {LB_POOL, kAlways, 1, Select::None, {D::DecodeLbPool, {LB}}},
    {LB_APPLICATION_PROFILE, kAlways, 1, Select::None, {D::DecodeLbApplicationProfile, {LB}}},
    {LB_PERSISTENCE_PROFILE, kAlways, 1, Select::None, {D::DecodeLbPersistenceProfile, {LB}}},
    {FLT_CLUSTER_HOST_CONFIG, kAlways, 1, Select::None, {D::DecodeFltClusterHostConfig, {IDS, DFW}}},
    {SECURITY_FEATURE_TOGGLE, kAlways, 1, Select::None, {D::DecodeSecurityFeatureToggle, {IDS, DFW}}},
    {BARRIER, kAlways, 0, Select::None, {D::DecodeBarrier, {DFW, IDS, L3CACHE}}},
    {BFD_GLOBAL_CONFIG, kAlways, 0, Select::None, {D::DecodeBfdGlobalConfig, {BFD}}},
    {CRADLE_CHANNEL_VIF_CONFIG, Watch::OnDemand, 0, Select::None, {D::DecodeCradleVIFConfig, {CONFIGAPP}}},
};

void Refuse(const StoreTypes::Row& row, const char* what) {
    throw std::logic_error("store type " + std::to_string(row.type) + ": " + what);
}

}  // namespace

std::span<const ComponentType> StoreTypes::Delivery::Receivers() const {
    const ComponentType* end = std::find(std::begin(to), std::end(to), COMPONENT_NONE);
    return {to, static_cast<size_t>(end - to)};
}

std::span<const StoreTypes::Row> StoreTypes::Rows() { return kRows; }

const StoreTypes::Row* StoreTypes::Find(uint32_t type) {
    for (const Row& row : kRows) {
        if (row.type == type) {
            return &row;
        }
    }
    return nullptr;
}

void StoreTypes::Check() {
    std::set<uint32_t> seen;
    bool cradleVifsAsked = false;
    for (const Row& row : kRows) {
        if (!seen.insert(row.type).second) {
            Refuse(row, "has a twin row");
        }
        if (row.delivery.decode == nullptr || row.delivery.Receivers().empty()) {
            Refuse(row, "has no decoder or no receiver");
        }
        if ((row.second.decode == nullptr) != row.second.Receivers().empty()) {
            Refuse(row, "has half a second reading");
        }
        if (!zef::loftdb::ObjectTypes::NewObject(row.type)) {
            Refuse(row, "is not in the store's schema");
        }
        cradleVifsAsked = cradleVifsAsked || row.startsCradleVifWatch;
    }
    for (const Row& row : kRows) {
        if (row.watch == Watch::OnDemand && (row.type != CRADLE_CHANNEL_VIF_CONFIG || !cradleVifsAsked)) {
            Refuse(row, "is watched on demand but nothing asks for it");
        }
    }
}

}  // namespace CfgAgent
