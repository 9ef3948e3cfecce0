#include "store/Decoder.h"
#include "store/StoreTypes.h"

#include <iterator>
#include <unordered_set>

#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_cradle.pb.h"
#include "loftdb_cradle_op.pb.h"
#include "loftdb_firewall.pb.h"
#include "loftdb_firewall_op.pb.h"
#include "loftdb_lb.pb.h"
#include "loftdb_lb_op.pb.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_overlay_op.pb.h"
#include "loftdb_routing.pb.h"
#include "loftdb_routing_op.pb.h"
#include "loftdb_runtime.pb.h"
#include "loftdb_runtime_op.pb.h"
#include "loftdb_service_insertion.pb.h"
#include "loftdb_service_insertion_op.pb.h"
#include "loftdb_system.pb.h"
#include "loftdb_system_op.pb.h"
#include "store/DecoderFamilies.h"

namespace CfgAgent {

namespace lb = halden::zef::loftdb;
using namespace DecoderDetail;

namespace DecoderDetail {

std::string TraceOf(const MonitorUpdateMsg& update) {
    return update.has_span_context() ? update.span_context().SerializeAsString() : std::string();
}

LoftDBUpdateMsg Record(uint32_t objectType, const std::string& key, uint32_t operation,
                       uint32_t propertyType, std::string value, SharedBytes trace,
                       SharedBytes tenant) {
    LoftDBUpdateMsg record(objectType, key, operation, propertyType, std::move(value));
    record.traceInfo = std::move(trace);
    record.tenantContext = std::move(tenant);
    return record;
}

void LogParseFailure(const MonitorUpdateMsg& update, const char* message) {
    CFG_LOG(LL_ERROR, "Decoder: Failed to parse %1 of monitor update msg: %2", message,
            update.ShortDebugString())
        .Tag("errorCode:LCP00028");
}

}  // namespace DecoderDetail

namespace {

// Family W: SET gives the whole body, CLEAR a delete without value, anything
// else nothing. Returns the record's operation, 0 when there is none.
uint32_t Whole(uint32_t objectType, uint32_t propertyType, uint32_t self, const std::string& key,
               const std::string& value, LoftDBUpdateList& records, const std::string& trace = {},
               const std::string& tenant = {}) {
    if (self == PB_OP_SET) {
        records.push_back(Record(objectType, key, OP_UPDATE, propertyType, value, trace, tenant));
        return OP_UPDATE;
    }
    if (self == PB_OP_CLEAR) {
        records.push_back(Record(objectType, key, OP_DELETE, propertyType, {}, trace, tenant));
        return OP_DELETE;
    }
    return 0;
}

void LogOutcome(uint32_t operation, const char* deleted, const char* updated) {
    if (operation == OP_DELETE) {
        CFG_LOG(LL_INFO, deleted);
    } else if (operation == OP_UPDATE) {
        CFG_LOG(LL_INFO, updated);
    }
}

// Family O: as W, but a delete carries the former object, without which it
// can't be told what went.
LoftDBUpdateList WithOld(uint32_t objectType, uint32_t self, const std::string& key,
                         const MonitorUpdateMsg& update, const char* message) {
    LoftDBUpdateList records;
    if (self == PB_OP_SET) {
        records.push_back(
            Record(objectType, key, OP_UPDATE, INVALID_PROPERTY, update.object_body(), TraceOf(update)));
    } else if (self == PB_OP_CLEAR) {
        if (!update.has_old_object_body()) {
            CFG_LOG(LL_ERROR, "Decoder: No old_object_body in CLEAR %1", message);
            return records;
        }
        records.push_back(Record(objectType, key, OP_DELETE, INVALID_PROPERTY,
                                 update.old_object_body(), TraceOf(update)));
    }
    return records;
}

// The plain whole-object decoders: a received line with the operation, the
// object and the op message, and for some an outcome line.
template <class Msg, class OpMsg>
LoftDBUpdateList PlainWhole(const MonitorUpdateMsg& update, uint32_t objectType, uint32_t propertyType,
                            const char* message, const char* received,
                            const char* deleted = nullptr, const char* updated = nullptr) {
    LoftDBUpdateList records;
    Parsed<Msg, OpMsg> p;
    if (!Parse(update, message, p)) {
        return records;
    }
    CFG_LOG(LL_INFO, received, p.OpName(), p.body.ShortDebugString(), p.op.ShortDebugString());
    const uint32_t operation =
        Whole(objectType, propertyType, p.self, p.key, update.object_body(), records);
    if (deleted != nullptr) {
        LogOutcome(operation, deleted, updated);
    }
    return records;
}

template <class Msg, class OpMsg>
LoftDBUpdateList PlainWithOld(const MonitorUpdateMsg& update, uint32_t objectType,
                              const char* message, const char* received) {
    Parsed<Msg, OpMsg> p;
    if (!Parse(update, message, p)) {
        return {};
    }
    CFG_LOG(LL_INFO, received, p.OpName(), p.body.ShortDebugString());
    return WithOld(objectType, p.self, p.key, update, message);
}

// Service insertion: the delete carries whatever former object came along.
template <class Msg, class OpMsg>
LoftDBUpdateList ServiceInsertion(const MonitorUpdateMsg& update, uint32_t objectType,
                                  const char* message, const char* received) {
    LoftDBUpdateList records;
    Parsed<Msg, OpMsg> p;
    if (!Parse(update, message, p)) {
        return records;
    }
    CFG_LOG(LL_INFO, received, p.OpName(), p.body.ShortDebugString());
    if (p.self == PB_OP_SET) {
        records.push_back(Record(objectType, p.key, OP_UPDATE, INVALID_PROPERTY, update.object_body()));
    } else if (p.self == PB_OP_CLEAR) {
        records.push_back(
            Record(objectType, p.key, OP_DELETE, INVALID_PROPERTY, update.old_object_body()));
    }
    return records;
}

// One update record, whatever the operation: the consumer wants the value.
template <class Msg, class OpMsg>
LoftDBUpdateList AlwaysUpdate(const MonitorUpdateMsg& update, uint32_t objectType,
                              const char* message, const char* received) {
    LoftDBUpdateList records;
    Parsed<Msg, OpMsg> p;
    if (!Parse(update, message, p)) {
        return records;
    }
    CFG_LOG(LL_INFO, received, p.OpName(), p.body.ShortDebugString());
    records.push_back(Record(objectType, p.key, OP_UPDATE, INVALID_PROPERTY, update.object_body()));
    return records;
}

}  // namespace

LoftDBUpdateList Decoder::DecodeLogRouterConfig(const Update& update) {
    LoftDBUpdateList records;
    Parsed<lb::LogRouterConfigMsg, lb::LogRouterConfigOpMsg> p;
    if (!Parse(update, "LogRouterConfigMsg", p)) {
        return records;
    }
    CFG_LOG(LL_INFO, "Decoder: Received LOG_ROUTER_CONFIG msg (Operation %1): %2", p.OpName(),
            p.body.ShortDebugString());
    if (p.self == PB_OP_SET) {
        if (!p.body.has_ndra_profile_id()) {
            CFG_LOG(LL_WARN, "Decoder: No Ndra Profile in LogRouterConfig.");
        }
        if (!p.body.has_dad_profile_id()) {
            CFG_LOG(LL_WARN, "Decoder: No Dad Profile in LogRouterConfig.");
        }
    }
    Whole(LOG_ROUTER_CONFIG, INVALID_PROPERTY, p.self, p.key, update.object_body(), records);
    return records;
}

LoftDBUpdateList Decoder::DecodeLogRouterPortConfig(const Update& update) {
    return PlainWhole<lb::LogRouterPortConfigMsg, lb::LogRouterPortConfigOpMsg>(
        update, LOG_ROUTER_PORT_CONFIG, INVALID_PROPERTY, "LogRouterPortConfigMsg",
        "Decoder: Received LOG_ROUTER_PORT_CONFIG msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodePrefixList(const Update& update) {
    return PlainWhole<lb::PrefixListMsg, lb::PrefixListOpMsg>(
        update, PREFIX_LIST, INVALID_PROPERTY, "PrefixListMsg",
        "Decoder: Received PREFIX_LIST msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeMulticastConfig(const Update& update) {
    return PlainWhole<lb::MulticastConfigMsg, lb::MulticastConfigOpMsg>(
        update, MULTICAST_CONFIG, INVALID_PROPERTY, "MulticastConfigMsg",
        "Decoder: Received MULTICAST_CONFIG msg (Operation %1): %2 : %3",
        "Decoder: Received MULTICAST_CONFIG msg DELETE", "Decoder: Received MULTICAST_CONFIG msg UPDATE");
}

LoftDBUpdateList Decoder::DecodeNdraProfileConfig(const Update& update) {
    return PlainWhole<lb::NdraProfileConfigMsg, lb::NdraProfileConfigOpMsg>(
        update, NDRA_PROFILE_CONFIG, INVALID_PROPERTY, "NdraProfileConfigMsg",
        "Decoder: Received NDRA_PROFILE_CONFIG msg (Operation %1): %2 : %3",
        "Decoder: Received NDRA_PROFILE_CONFIG msg DELETE",
        "Decoder: Received NDRA_PROFILEL_CONFIG msg Update");
}

LoftDBUpdateList Decoder::DecodeDadProfileConfig(const Update& update) {
    return PlainWhole<lb::DadProfileConfigMsg, lb::DadProfileConfigOpMsg>(
        update, DAD_PROFILE_CONFIG, INVALID_PROPERTY, "DadProfileConfigMsg",
        "Decoder: Received DAD_PROFILE_CONFIG msg (Operation %1): %2 : %3",
        "Decoder: Received DAD_PROFILE_CONFIG msg DELETE",
        "Decoder: Received DAD_PROFILEL_CONFIG msg Update");
}

LoftDBUpdateList Decoder::DecodeLogRouterPortFibDadState(const Update& update) {
    return PlainWhole<lb::LogRouterPortFibDadStateMsg, lb::LogRouterPortFibDadStateOpMsg>(
        update, LOG_ROUTER_PORT_FIB_DAD_STATE, L3_DAD_STATUS, "LogRouterPortFibDadStateMsg",
        "Decoder: Received LOG_ROUTER_PORT_FIB_DAD_STATE msg (Operation %1): %2 : %3",
        "Decoder: Received LOG_ROUTER_PORT_FIB_DAD_STATE msg DELETE",
        "Decoder: Received LOG_ROUTER_PORT_FIB_DAD_STATE msg Update");
}

LoftDBUpdateList Decoder::DecodeLogRouterPortDadRequest(const Update& update) {
    return PlainWhole<lb::LogRouterPortDadRequestMsg, lb::LogRouterPortDadRequestOpMsg>(
        update, LOG_ROUTER_PORT_DAD_REQUEST, L3_DAD_REQ, "LogRouterPortDadRequestMsg",
        "Decoder: Received LOG_ROUTER_PORT_DAD_REQUEST msg (Operation %1): %2 : %3",
        "Decoder: Received LOG_ROUTER_PORT_DAD_REQUEST msg DELETE",
        "Decoder: Received LOG_ROUTER_PORT_DAD_REQUEST msg Update");
}

LoftDBUpdateList Decoder::DecodeMulticastStaticRoute(const Update& update) {
    return PlainWhole<lb::MulticastStaticRouteMsg, lb::MulticastStaticRouteOpMsg>(
        update, MULTICAST_STATIC_ROUTE, INVALID_PROPERTY, "MulticastStaticRouteMsg",
        "Decoder: Received MULTICAST_STATIC_ROUTE msg (Operation %1): %2 : %3",
        "Decoder: Received MULTICAST_STATIC_ROUTE msg DELETE",
        "Decoder: Received MULTICAST_STATIC_ROUTE msg UPDATE");
}

LoftDBUpdateList Decoder::DecodeNsgMemberShipStatus(const Update& update) {
    return PlainWhole<lb::NsgMembershipStatusMsg, lb::NsgMembershipStatusOpMsg>(
        update, NSG_MEMBERSHIP_STATUS, INVALID_PROPERTY, "NsgMembershipStatusMsg",
        "Decoder: Received NSG_MEMBERSHIP_STATUS msg (Operation %1): %2 : %3");
}

LoftDBUpdateList Decoder::DecodeHostSwitchSmartnicBacking(const Update& update) {
    return PlainWhole<lb::HostSwitchSmartnicBackingMsg, lb::HostSwitchSmartnicBackingOpMsg>(
        update, HOST_SWITCH_SMARTNIC_BACKING, INVALID_PROPERTY, "HostSwitchSmartnicBackingMsg",
        "Decoder: Received HOST_SWITCH_SMARTNIC_BACKING msg (Operation %1): %2 : %3");
}

LoftDBUpdateList Decoder::DecodeFltClusterHostConfig(const Update& update) {
    return PlainWhole<lb::FltClusterHostConfigMsg, lb::FltClusterHostConfigOpMsg>(
        update, FLT_CLUSTER_HOST_CONFIG, INVALID_PROPERTY, "FltClusterHostConfigMsg",
        "Decoder: Received FLT_CLUSTER_HOST_CONFIG msg (Operation %1): %2 : %3",
        "Decoder: Received FLT_CLUSTER_HOST_CONFIG msg DELETE",
        "Decoder: Received FLT_CLUSTER_HOST_CONFIG msg UPDATE");
}

LoftDBUpdateList Decoder::DecodeSecurityFeatureToggle(const Update& update) {
    return PlainWhole<lb::SecurityFeatureToggleMsg, lb::SecurityFeatureToggleOpMsg>(
        update, SECURITY_FEATURE_TOGGLE, INVALID_PROPERTY, "SecurityFeatureToggleMsg",
        "Decoder: Received SECURITY_FEATURE_TOGGLE msg (Operation %1): %2 : %3",
        "Decoder: Received SECURITY_FEATURE_TOGGLE msg DELETE",
        "Decoder: Received SECURITY_FEATURE_TOGGLE msg UPDATE");
}

LoftDBUpdateList Decoder::DecodeVtepGroup(const Update& update) {
    LoftDBUpdateList records;
    Parsed<lb::VtepGroupMsg, lb::VtepGroupOpMsg> p;
    if (!Parse(update, "VtepGroupMsg", p)) {
        return records;
    }
    CFG_LOG(LL_INFO, "Decoder: Received L2_VTEP_GROUP msg: %1", p.body.ShortDebugString());
    CFG_LOG(LL_INFO, "Decoder: Received L2_VTEP_GROUP OP msg (Operation %1): %2", p.OpName(),
            p.op.ShortDebugString());
    Whole(L2_VTEP_GROUP_OBJECT, L2_VTEP_GROUP, p.self, p.key, update.object_body(), records);
    return records;
}

LoftDBUpdateList Decoder::DecodeGlobalConfig(const Update& update) {
    LoftDBUpdateList records;
    Parsed<lb::GlobalConfigMsg, lb::GlobalConfigOpMsg> p;
    if (!Parse(update, "GlobalConfigMsg", p)) {
        return records;
    }
    const lb::GlobalConfigMsg& tenantSource = p.self == PB_OP_CLEAR ? p.Former() : p.body;
    CFG_LOG(LL_INFO, "Decoder: Received GLOBAL_CONFIG msg (Operation %1): %2 : %3", p.OpName(),
            p.body.ShortDebugString(), p.op.ShortDebugString());
    const uint32_t operation = Whole(GLOBAL_CONFIG, INVALID_PROPERTY, p.self, p.key, update.object_body(),
                                     records, TraceOf(update), TenantOf(tenantSource));
    LogOutcome(operation, "Decoder: Received GLOBAL_CONFIG msg DELETE",
               "Decoder: Received GLOBAL_CONFIG msg Update");
    return records;
}

LoftDBUpdateList Decoder::DecodeCcpSession(const Update& update) {
    return PlainWhole<lb::CcpSessionMsg, lb::CcpSessionOpMsg>(
        update, CCP_SESSION, INVALID_PROPERTY, "CcpSessionMsg",
        "Decoder: Received CCP_SESSION msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeCradleVIFConfig(const Update& update) {
    return PlainWhole<lb::CradleChannelVifConfigMsg, lb::CradleChannelVifConfigOpMsg>(
        update, CRADLE_CHANNEL_VIF_CONFIG, INVALID_PROPERTY, "CradleChannelVifConfigMsg",
        "Decoder: Received CRADLE_CHANNEL_VIF_CONFIG msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeSiRedirectionPolicy(const Update& update) {
    return ServiceInsertion<lb::SiRedirectionPolicyMsg, lb::SiRedirectionPolicyOpMsg>(
        update, SI_REDIRECTION_POLICY, "SiRedirectionPolicyMsg",
        "Decoder: Received SiRedirectionPolicyMsg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeSiServiceChain(const Update& update) {
    return ServiceInsertion<lb::SiServiceChainMsg, lb::SiServiceChainOpMsg>(
        update, SI_SERVICE_CHAIN, "SiServiceChainMsg",
        "Decoder: Received SiServiceChainMsg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeSiServicePath(const Update& update) {
    return ServiceInsertion<lb::SiServicePathMsg, lb::SiServicePathOpMsg>(
        update, SI_SERVICE_PATH, "SiServicePathMsg",
        "Decoder: Received SiServicePathMsg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeBfdGlobalConfig(const Update& update) {
    LoftDBUpdateList records;
    Parsed<lb::BfdGlobalConfigMsg, lb::BfdGlobalConfigOpMsg> p;
    if (!Parse(update, "BfdGlobalConfigMsg", p)) {
        return records;
    }
    CFG_LOG(LL_INFO, "Decoder: Received BFD_GLOBAL_CONFIG msg (Operation %1): %2 : %3", p.OpName(),
            p.body.ShortDebugString(), p.op.ShortDebugString());
    if (p.self == PB_OP_SET) {
        records.push_back(Record(BFD_GLOBAL_CONFIG, p.key, OP_UPDATE, INVALID_PROPERTY, update.object_body()));
    }
    return records;
}

LoftDBUpdateList Decoder::DecodeCradleGlobalConfig(const Update& update) {
    return AlwaysUpdate<lb::CradleChannelGlobalConfigMsg, lb::CradleChannelGlobalConfigOpMsg>(
        update, CRADLE_CHANNEL_GLOBAL_CONFIG, "CradleChannelGlobalConfigMsg",
        "Decoder: Received CRADLE_CHANNEL_GLOBAL_CONFIG msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeBarrier(const Update& update) {
    return AlwaysUpdate<lb::BarrierMsg, lb::BarrierOpMsg>(
        update, BARRIER, "BarrierMsg", "Decoder: Received BARRIER msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeDFWRule(const Update& update) {
    return PlainWithOld<lb::RuleMsg, lb::RuleOpMsg>(
        update, RULE, "RuleMsg", "Decoder: Received DFW RuleMsg msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeDFWRuleSection(const Update& update) {
    Parsed<lb::RuleSectionMsg, lb::RuleSectionOpMsg> p;
    if (!Parse(update, "RuleSectionMsg", p)) {
        return {};
    }
    CFG_LOG(LL_INFO, "Decoder: Received DFW RuleSectionMsg msg (Operation %1): %2, pri: %3", p.OpName(),
            p.body.ShortDebugString(), p.body.priority());
    return WithOld(RULE_SECTION, p.self, p.key, update, "RuleSectionMsg");
}

LoftDBUpdateList Decoder::DecodeDFWContainer(const Update& update) {
    return PlainWithOld<lb::ContainerMsg, lb::ContainerOpMsg>(
        update, CONTAINER, "ContainerMsg", "Decoder: Received DFW ContainerMsg msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeDFWContextProfile(const Update& update) {
    return PlainWithOld<lb::ContextProfileMsg, lb::ContextProfileOpMsg>(
        update, CONTEXT_PROFILE, "ContextProfileMsg",
        "Decoder: Received DFW ContextProfileMsg msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeIdsSignatures(const Update& update) {
    Parsed<lb::IdsSignaturesMsg, lb::IdsSignaturesOpMsg> p;
    if (!Parse(update, "IdsSignaturesMsg", p)) {
        return {};
    }
    // The signatures are megabytes: the id says enough.
    CFG_LOG(LL_INFO, "Decoder: Received IdsSignaturesMsg msg (Op: %1), ID: %2", p.OpName(),
            UuidToString(p.body.id()));
    return WithOld(IDS_SIGNATURES, p.self, p.key, update, "IdsSignaturesMsg");
}

LoftDBUpdateList Decoder::DecodeDFWConfigSpan(const Update& update) {
    return PlainWithOld<lb::ConfigSpanMsg, lb::ConfigSpanOpMsg>(
        update, CONFIG_SPAN, "ConfigSpanMsg", "Decoder: Received DFW ConfigSpanMsg msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeDFWIpReputationConfig(const Update& update) {
    return PlainWithOld<lb::IpReputationConfigMsg, lb::IpReputationConfigOpMsg>(
        update, IP_REPUTATION_CONFIG, "IpReputationConfigMsg",
        "Decoder: Received DFW IpReputationConfigMsg msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeLbService(const Update& update) {
    return PlainWithOld<lb::LbServiceMsg, lb::LbServiceOpMsg>(
        update, LB_SERVICE, "LbServiceMsg", "Decoder: Received LbServiceMsg msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeLbVirtualServer(const Update& update) {
    return PlainWithOld<lb::LbVirtualServerMsg, lb::LbVirtualServerOpMsg>(
        update, LB_VIRTUAL_SERVER, "LbVirtualServerMsg",
        "Decoder: Received LbVirtualServerMsg msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeLbPool(const Update& update) {
    return PlainWithOld<lb::LbPoolMsg, lb::LbPoolOpMsg>(
        update, LB_POOL, "LbPoolMsg", "Decoder: Received LbPoolMsg msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeLbApplicationProfile(const Update& update) {
    return PlainWithOld<lb::LbApplicationProfileMsg, lb::LbApplicationProfileOpMsg>(
        update, LB_APPLICATION_PROFILE, "LbApplicationProfileMsg",
        "Decoder: Received LbApplicationProfileMsg msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeLbPersistenceProfile(const Update& update) {
    return PlainWithOld<lb::LbPersistenceProfileMsg, lb::LbPersistenceProfileOpMsg>(
        update, LB_PERSISTENCE_PROFILE, "LbPersistenceProfileMsg",
        "Decoder: Received LbPersistenceProfileMsg msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::DecodeDaVifMsg(const Update& update) {
    LoftDBUpdateList records;
    Parsed<lb::DaVifMsg, lb::DaVifOpMsg> p;
    if (!Parse(update, "DaVifMsg", p)) {
        return records;
    }
    CFG_LOG(LL_INFO, "Decoder: Received DA_VIF msg (Operation %1): %2", p.OpName(), p.body.ShortDebugString());
    if (p.self == PB_OP_SET) {
        lb::DaVifMsg value;
        value.set_id(p.body.id());
        *value.mutable_bindings() = p.body.bindings();
        uint32_t operation = OP_UPDATE;
        if (value.bindings_size() > 0) {
            CFG_LOG(LL_DEBUG, "Decoder: Received DA_VIF msg with bindings size %1", value.bindings_size());
        } else {
            CFG_LOG(LL_DEBUG, "Decoder: Received DA_VIF msg with no bindings");
            operation = OP_DELETE;
        }
        records.push_back(Record(DA_VIF_OBJECT, p.key, operation, DA_VIF, value.SerializeAsString()));
    } else if (p.self == PB_OP_CLEAR) {
        CFG_LOG(LL_DEBUG, "Decoder: Received DA_VIF msg with CLEAR op");
        records.push_back(Record(DA_VIF_OBJECT, p.key, OP_DELETE, DA_VIF, {}));
    }
    return records;
}

LoftDBUpdateList Decoder::DecodeEntityGroupRelation(const Update& update) {
    LoftDBUpdateList records;
    Parsed<lb::EntityGroupRelationMsg, lb::EntityGroupRelationOpMsg> p;
    if (!Parse(update, "EntityGroupRelationMsg", p)) {
        return records;
    }
    CFG_LOG(LL_INFO, "Decoder: Received EntityGroupRelationMsg msg (Operation %1): %2", p.OpName(),
            p.body.ShortDebugString());
    if (p.hasOld) {
        CFG_LOG(LL_INFO, "Decoder: Received EntityGroupRelationMsg old msg: %1", p.old.ShortDebugString());
    }
    auto groupRecord = [&](uint32_t operation, const std::string& group) {
        records.push_back(Record(ENTITY_GROUP_RELATION, p.key, operation, CONTINER_LOGICAL_SWITCH_PORT, group));
    };
    if (p.self == PB_OP_SET) {
        std::unordered_set<std::string> left;
        std::unordered_set<std::string> joined;
        if (p.hasOld) {
            for (const lb::UuidMsg& group : p.old.group_ids()) {
                left.insert(group.SerializeAsString());
            }
        }
        for (const lb::UuidMsg& group : p.body.group_ids()) {
            joined.insert(group.SerializeAsString());
        }
        for (auto it = left.begin(); it != left.end();) {
            it = joined.erase(*it) != 0 ? left.erase(it) : std::next(it);
        }
        for (const std::string& group : left) {
            groupRecord(OP_DELETE, group);
        }
        for (const std::string& group : joined) {
            groupRecord(OP_UPDATE, group);
        }
    } else if (p.self == PB_OP_CLEAR && p.hasOld) {
        for (const lb::UuidMsg& group : p.old.group_ids()) {
            groupRecord(OP_DELETE, group.SerializeAsString());
        }
    }
    return records;
}

LoftDBUpdateList Decoder::DecodeEntityGroupRelationObject(const Update& update) {
    return PlainWithOld<lb::EntityGroupRelationMsg, lb::EntityGroupRelationOpMsg>(
        update, ENTITY_GROUP_RELATION, "EntityGroupRelationMsg",
        "Decoder: Received EntityGroupRelationMsg msg (Operation %1): %2");
}

LoftDBUpdateList Decoder::Decode(const Update& update) {
    const StoreTypes::Row* row = StoreTypes::Find(update.object_type());
    return row != nullptr ? row->delivery.decode(update) : LoftDBUpdateList{};
}

}  // namespace CfgAgent
