// Family P: objects that the caches hold property by property.

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <array>
#include <memory>
#include <vector>

#include "log/TenantContext.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_profile.pb.h"
#include "loftdb_profile_op.pb.h"
#include "loftdb_switching.pb.h"
#include "loftdb_switching_op.pb.h"
#include "store/Decoder.h"
#include "store/DecoderFamilies.h"

namespace CfgAgent {

namespace lb = halden::zef::loftdb;
using namespace DecoderDetail;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

namespace DecoderDetail {

namespace {

// One field's value from one message into another of the same type; the
// rest of the source is never copied.
void CopyField(const Message& from, Message& to, const FieldDescriptor* field) {
    const auto* in = from.GetReflection();
    const auto* out = to.GetReflection();
    if (!field->is_repeated() && field->has_presence() && !in->HasField(from, field)) {
        return;
    }
    if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        if (!field->is_repeated()) {
            out->MutableMessage(&to, field)->CopyFrom(in->GetMessage(from, field));
            return;
        }
        for (int i = 0; i < in->FieldSize(from, field); ++i) {
            out->AddMessage(&to, field)->CopyFrom(in->GetRepeatedMessage(from, field, i));
        }
        return;
    }
#define ZEF_COPY_SCALAR(CPPTYPE, Name)                                                   \
    case FieldDescriptor::CPPTYPE:                                                       \
        if (!field->is_repeated()) {                                                     \
            out->Set##Name(&to, field, in->Get##Name(from, field));                      \
        } else {                                                                         \
            for (int i = 0; i < in->FieldSize(from, field); ++i) {                       \
                out->Add##Name(&to, field, in->GetRepeated##Name(from, field, i));       \
            }                                                                            \
        }                                                                                \
        return;
    switch (field->cpp_type()) {
        ZEF_COPY_SCALAR(CPPTYPE_INT32, Int32)
        ZEF_COPY_SCALAR(CPPTYPE_INT64, Int64)
        ZEF_COPY_SCALAR(CPPTYPE_UINT32, UInt32)
        ZEF_COPY_SCALAR(CPPTYPE_UINT64, UInt64)
        ZEF_COPY_SCALAR(CPPTYPE_DOUBLE, Double)
        ZEF_COPY_SCALAR(CPPTYPE_FLOAT, Float)
        ZEF_COPY_SCALAR(CPPTYPE_BOOL, Bool)
        ZEF_COPY_SCALAR(CPPTYPE_ENUM, EnumValue)
        ZEF_COPY_SCALAR(CPPTYPE_STRING, String)
        default:
            return;
    }
#undef ZEF_COPY_SCALAR
}

}  // namespace

std::string OnlyField(const Message& body, const char* field) {
    return OnlyField(body, body.GetDescriptor()->FindFieldByName(field));
}

std::string OnlyField(const Message& body, const FieldDescriptor* field) {
    if (field == nullptr) {
        return {};
    }
    std::unique_ptr<Message> part(body.New());
    CopyField(body, *part, field);
    return part->SerializeAsString();
}

void PerPropertySet(uint32_t objectType, const std::string& key, const Message& body,
                    const PropertyField* table, const FieldDescriptor* const* fields, size_t count,
                    const SharedBytes& trace, const SharedBytes& tenant, LoftDBUpdateList& records) {
    records.push_back(Record(objectType, key, OP_UPDATE, INVALID_PROPERTY, {}, trace, tenant));
    const auto* reflection = body.GetReflection();
    for (size_t i = 0; i < count; ++i) {
        const FieldDescriptor* field = fields[i];
        const bool present = field != nullptr && (field->is_repeated()
                                                      ? reflection->FieldSize(body, field) > 0
                                                      : reflection->HasField(body, field));
        if (present) {
            records.push_back(Record(objectType, key, OP_UPDATE, table[i].propertyType,
                                     OnlyField(body, field), trace, tenant));
        } else {
            records.push_back(Record(objectType, key, OP_DELETE, table[i].propertyType, {}, trace, tenant));
        }
    }
}

}  // namespace DecoderDetail

namespace {

constexpr PropertyField kLogSwitchProperties[] = {
    {LS_VNI, "vni"},
    {LS_REPLICATION_MODE, "replication_mode"},
    {LS_TRANSPORT_BINDING, "transport_binding"},
    {LS_VLAN, "vlan"},
    {LS_ADMIN_STATE_UP, "admin_state_up"},
    {LS_TRANSPORT_ZONE_ID, "transport_zone_id"},
    {LS_ROUTING_DOMAIN_ID, "routing_domain_id"},
    {LS_VLAN_TRUNK, "vlan_trunk"},
    {LS_UPLINK_TEAMING_POLICY, "uplink_teaming_policy"},
    {LS_TYPE, "type"},
    {LS_SP_SUBTYPE, "sp_subtype"},
    {LS_MAC_MANAGEMENT, "mac_management"},
    {LS_SWITCH_NAME, "switch_name"},
    {LS_EXTRA_CONFIGS, "extra_configs"},
    {LS_TENANT_CONTEXT, "tenant_context"},
    {LS_ATTACHMENT, "attachment"},
};

// The realtime properties are left out while their feature switch is off.
constexpr PropertyField kLogSwitchPortProperties[] = {
    {LSP_SWITCH_ID, "switch_id"},
    {LSP_ATTACHMENT, "attachment"},
    {LSP_IP_DISCOVERY, "ip_discovery"},
    {LSP_SWITCH_SECURITY, "switch_security"},
    {LSP_QOS, "qos"},
    {LSP_MIRROR_TARGETS, "mirror_targets"},
    {LSP_IPFIX, "ipfix"},
    {LSP_ADMIN_STATE_UP, "admin_state_up"},
    {LSP_MAC_MANAGEMENT, "mac_management"},
    {LSP_ADDRESS_BINDINGS, "address_bindings"},
    {LSP_IS_TMR_TAK, "is_tmr_tak"},
    {LSP_EXTRA_CONFIGS, "extra_configs"},
    {LSP_IGNORE_BINDINGS, "ignore_bindings"},
    {LSP_TENANT_CONTEXT, "tenant_context"},
};

constexpr PropertyField kTransportNodeProperties[] = {
    {TN_CERTIFICATE, "certificate"},
    {TN_TRANSPORT_SWITCHES, "transport_switches"},
    {TN_BFD, "bfd"},
    {TN_TYPE, "type"},
    {TN_LABEL, "label"},
};

constexpr PropertyField kBridgeClusterProperties[] = {
    {BRIDGE_NODES, "bridge_nodes"},
    {BFD_HA, "bfd_ha"},
};

constexpr PropertyField kPortMirrorSessionProperties[] = {
    {PMS_LOGICAL_PORT_MIRROR_SESSION, "logical_port_mirror_session"},
    {PMS_UPLINK_PORT_MIRROR_SESSION, "uplink_port_mirror_session"},
    {PMS_RSPAN_SRC_MIRROR_SESSION, "rspan_src_mirror_session"},
    {PMS_RSPAN_DST_MIRROR_SESSION, "rspan_dest_mirror_session"},
    {PMS_L3SPAN_MIRROR_SESSION, "l3span_mirror_session"},
};

constexpr PropertyField kIpfixConfigurationProperties[] = {
    {IPFIX_SWITCH_CONFIG_LEGACY, "switch_config_legacy"},
    {IPFIX_SWITCH_GLOBAL_CONFIG, "switch_global_config"},
};

template <class Msg>
std::string NoDetail(const Msg&) {
    return {};
}

// `received` has the operation as %1, the object as %2 and `detail` as %3.
// The object's tenant stays on the log context while it is decoded.
template <class Msg, class OpMsg, size_t N, class Detail>
LoftDBUpdateList PerProperty(const MonitorUpdateMsg& update, uint32_t objectType, const char* message,
                             const PropertyField (&table)[N], const char* received, Detail detail,
                             const char* afterSet = nullptr) {
    LoftDBUpdateList records;
    Parsed<Msg, OpMsg> p;
    if (!Parse(update, message, p)) {
        return records;
    }
    const Msg& owner = p.self == PB_OP_CLEAR ? p.Former() : p.body;
    TenantContext tenant(owner.tenant_context());
    CFG_LOG(LL_INFO, received, p.OpName(), p.body.ShortDebugString(), detail(p.body));
    CFG_LOG(LL_DEBUG, "Decoder: %1", p.op.ShortDebugString());
    const std::string trace = TraceOf(update);
    if (p.self == PB_OP_SET) {
        static const std::array<const FieldDescriptor*, N> fields = [&] {
            std::array<const FieldDescriptor*, N> found{};
            for (size_t i = 0; i < N; ++i) {
                found[i] = Msg::descriptor()->FindFieldByName(table[i].field);
            }
            return found;
        }();
        PerPropertySet(objectType, p.key, p.body, table, fields.data(), N, trace, TenantOf(owner),
                       records);
        if (afterSet != nullptr) {
            CFG_LOG(LL_DEBUG, afterSet);
        }
    } else if (p.self == PB_OP_CLEAR) {
        records.push_back(
            Record(objectType, p.key, OP_DELETE, INVALID_PROPERTY, {}, trace, TenantOf(owner)));
    }
    return records;
}

}  // namespace

LoftDBUpdateList Decoder::DecodeLogSwitchConfig(const Update& update) {
    return PerProperty<lb::LogSwitchConfigMsg, lb::LogSwitchConfigOpMsg>(
        update, LOG_SWITCH_CONFIG, "LogSwitchConfigMsg", kLogSwitchProperties,
        "Decoder: Received LOG_SWITCH_CONFIG msg (Operation %1): %2 %3",
        [](const lb::LogSwitchConfigMsg& msg) { return "(VNI: " + std::to_string(msg.vni()) + ")"; });
}

LoftDBUpdateList Decoder::DecodeLogSwitchPortConfig(const Update& update) {
    return PerProperty<lb::LogSwitchPortConfigMsg, lb::LogSwitchPortConfigOpMsg>(
        update, LOG_SWITCH_PORT_CONFIG, "LogSwitchPortConfigMsg", kLogSwitchPortProperties,
        "Decoder: Received LOG_SWITCH_PORT_CONFIG msg (Operation %1): %2 %3",
        [](const lb::LogSwitchPortConfigMsg& msg) {
            return "(LSwitch: " + UuidToString(msg.switch_id()) + ")";
        },
        "Decoder: Feature switch EzefDpVswitchRT is disabled");
}

LoftDBUpdateList Decoder::DecodeTransportNodeConfig(const Update& update) {
    return PerProperty<lb::TransportNodeConfigMsg, lb::TransportNodeConfigOpMsg>(
        update, TRANSPORT_NODE_CONFIG, "TransportNodeConfigMsg", kTransportNodeProperties,
        "Decoder: Received TRANSPORT_NODE_CONFIG msg (Operation %1): %2",
        NoDetail<lb::TransportNodeConfigMsg>);
}

LoftDBUpdateList Decoder::DecodeBridgeClusterConfig(const Update& update) {
    return PerProperty<lb::BridgeClusterConfigMsg, lb::BridgeClusterConfigOpMsg>(
        update, BRIDGE_CLUSTER_CONFIG, "BridgeClusterConfigMsg", kBridgeClusterProperties,
        "Decoder: Received BRIDGE_CLUSTER_CONFIG msg (Operation %1): %2",
        NoDetail<lb::BridgeClusterConfigMsg>);
}

LoftDBUpdateList Decoder::DecodePortMirrorSession(const Update& update) {
    return PerProperty<lb::PortMirrorSessionMsg, lb::PortMirrorSessionOpMsg>(
        update, PORT_MIRROR_SESSION, "PortMirrorSessionMsg", kPortMirrorSessionProperties,
        "Decoder: Received PORT_MIRROR_SESSION msg (Operation %1): %2",
        NoDetail<lb::PortMirrorSessionMsg>);
}

LoftDBUpdateList Decoder::DecodeIpfixConfiguration(const Update& update) {
    return PerProperty<lb::IpfixConfigurationMsg, lb::IpfixConfigurationOpMsg>(
        update, IPFIX_CONFIGURATION, "IpfixConfigurationMsg", kIpfixConfigurationProperties,
        "Decoder: Received IPFIX_CONFIGURATION msg (Operation %1): %2",
        NoDetail<lb::IpfixConfigurationMsg>);
}

LoftDBUpdateList Decoder::DecodeProfile(const Update& update) {
    LoftDBUpdateList records;
    Parsed<lb::ProfileMsg, lb::ProfileOpMsg> p;
    if (!Parse(update, "ProfileMsg", p)) {
        return records;
    }
    const lb::ProfileMsg& owner = p.self == PB_OP_CLEAR ? p.Former() : p.body;
    TenantContext tenant(owner.tenant_context());
    CFG_LOG(LL_INFO, "Decoder: Received PROFILE msg (Operation %1): %2", p.OpName(), p.body.ShortDebugString());
    CFG_LOG(LL_DEBUG, "Decoder: %1", p.op.ShortDebugString());
    const std::string trace = TraceOf(update);
    const std::string tenantBytes = TenantOf(owner);
    if (p.self == PB_OP_SET) {
        records.push_back(Record(PROFILE, p.key, OP_UPDATE, INVALID_PROPERTY, {}, trace, tenantBytes));
        if (!p.body.has_profile_type()) {
            CFG_LOG(LL_ERROR, "Decoder: Received PROFILE msg without profile_type!");
            return records;
        }
        auto section = [&](uint32_t propertyType, bool present, const char* field) {
            if (present) {
                records.push_back(Record(PROFILE, p.key, OP_UPDATE, propertyType,
                                         OnlyField(p.body, field), trace, tenantBytes));
            } else {
                records.push_back(Record(PROFILE, p.key, OP_DELETE, propertyType, {}, trace, tenantBytes));
            }
        };
        if (p.body.profile_type() == 1) {
            section(IPFIX_SWITCH_PROFILE, p.body.has_ipfix_switch_profile(), "ipfix_switch_profile");
        } else if (p.body.profile_type() == 2) {
            section(IPFIX_COLLECTOR_PROFILE, p.body.has_ipfix_collector_profile(), "ipfix_collector_profile");
        }
    } else if (p.self == PB_OP_CLEAR && p.hasOld &&
               (p.old.profile_type() == 1 || p.old.profile_type() == 2)) {
        // Other profile kinds never reached the cache, so they have nothing to remove.
        records.push_back(Record(PROFILE, p.key, OP_DELETE, INVALID_PROPERTY, {}, trace, tenantBytes));
    }
    return records;
}

}  // namespace CfgAgent
