#include "frame/vocabulary/PropertyType.h"

namespace CfgAgent {

const char* PropertyTypeToString(uint32_t code) {
    switch (code) {
        case INVALID_PROPERTY: return "INVALID_PROPERTY";
        case LS_VNI: return "LS_VNI";
        case LS_REPLICATION_MODE: return "LS_REPLICATION_MODE";
        case LS_TRANSPORT_BINDING: return "LS_TRANSPORT_BINDING";
        case LS_VLAN: return "LS_VLAN";
        case LS_ADMIN_STATE_UP: return "LS_ADMIN_STATE_UP";
        case LS_TRANSPORT_ZONE_ID: return "LS_TRANSPORT_ZONE_ID";
        case LS_ROUTING_DOMAIN_ID: return "LS_ROUTING_DOMAIN_ID";
        case LS_VLAN_TRUNK: return "LS_VLAN_TRUNK";
        case LS_UPLINK_TEAMING_POLICY: return "LS_UPLINK_TEAMING_POLICY";
        case LS_TYPE: return "LS_TYPE";
        case LS_SP_SUBTYPE: return "LS_SP_SUBTYPE";
        case LS_MAC_MANAGEMENT: return "LS_MAC_MANAGEMENT";
        case LS_SWITCH_NAME: return "LS_SWITCH_NAME";
        case LS_EXTRA_CONFIGS: return "LS_EXTRA_CONFIGS";
        case LS_TENANT_CONTEXT: return "LS_TENANT_CONTEXT";
        case LS_ATTACHMENT: return "LS_ATTACHMENT";
        case LSP_SWITCH_ID: return "LSP_SWITCH_ID";
        case LSP_ATTACHMENT: return "LSP_ATTACHMENT";
        case LSP_IP_DISCOVERY: return "LSP_IP_DISCOVERY";
        case LSP_SWITCH_SECURITY: return "LSP_SWITCH_SECURITY";
        case LSP_QOS: return "LSP_QOS";
        case LSP_MIRROR_TARGETS: return "LSP_MIRROR_TARGETS";
        case LSP_IPFIX: return "LSP_IPFIX";
        case LSP_ADMIN_STATE_UP: return "LSP_ADMIN_STATE_UP";
        case LSP_MAC_MANAGEMENT: return "LSP_MAC_MANAGEMENT";
        case LSP_ADDRESS_BINDINGS: return "LSP_ADDRESS_BINDINGS";
        case LSP_EXTRA_CONFIGS: return "LSP_EXTRA_CONFIGS";
        case LSP_IGNORE_BINDINGS: return "LSP_IGNORE_BINDINGS";
        case LSP_IS_TMR_TAK: return "LSP_IS_TMR_TAK";
        case LSP_TENANT_CONTEXT: return "LSP_TENANT_CONTEXT";
        case LSP_REALTIME_PROFINET: return "LSP_REALTIME_PROFINET";
        case LSP_REALTIME_LATENCY: return "LSP_REALTIME_LATENCY";
        case LSP_REALTIME_PRP: return "LSP_REALTIME_PRP";
        case TN_CERTIFICATE: return "TN_CERTIFICATE";
        case TN_TRANSPORT_SWITCHES: return "TN_TRANSPORT_SWITCHES";
        case TN_BFD: return "TN_BFD";
        case TN_TYPE: return "TN_TYPE";
        case TN_LABEL: return "TN_LABEL";
        case PMS_LOGICAL_PORT_MIRROR_SESSION: return "PMS_LOGICAL_PORT_MIRROR_SESSION";
        case PMS_UPLINK_PORT_MIRROR_SESSION: return "PMS_UPLINK_PORT_MIRROR_SESSION";
        case PMS_RSPAN_SRC_MIRROR_SESSION: return "PMS_RSPAN_SRC_MIRROR_SESSION";
        case PMS_RSPAN_DST_MIRROR_SESSION: return "PMS_RSPAN_DST_MIRROR_SESSION";
        case PMS_L3SPAN_MIRROR_SESSION: return "PMS_L3SPAN_MIRROR_SESSION";
        case IPFIX_SWITCH_GLOBAL_CONFIG: return "IPFIX_SWITCH_GLOBAL_CONFIG";
        case IPFIX_SWITCH_CONFIG_LEGACY: return "IPFIX_SWITCH_CONFIG_LEGACY";
        case VIF_IP_DISCOVEREDBINDING: return "VIF_IP_DISCOVEREDBINDING";
        case VIF_MAC: return "VIF_MAC";
        case L2_VM_IP: return "L2_VM_IP";
        case L2_VM_MAC: return "L2_VM_MAC";
        case L2_VTEP: return "L2_VTEP";
        case L2_VTEP_GROUP_LABEL: return "L2_VTEP_GROUP_LABEL";
        case L2_VTEP_GROUP: return "L2_VTEP_GROUP";
        case L3_FIB_ROUTER_ID: return "L3_FIB_ROUTER_ID";
        case L3_FIB_IP_PREFIX: return "L3_FIB_IP_PREFIX";
        case L3_FIB_NEXT_HOP: return "L3_FIB_NEXT_HOP";
        case L3_ARP_ROUTER_PORT_ID: return "L3_ARP_ROUTER_PORT_ID";
        case L3_ARP_ENTRY: return "L3_ARP_ENTRY";
        case L3_DAD_STATUS: return "L3_DAD_STATUS";
        case L3_DAD_REQ: return "L3_DAD_REQ";
        case PROFILE_TYPE: return "PROFILE_TYPE";
        case IPFIX_SWITCH_PROFILE: return "IPFIX_SWITCH_PROFILE";
        case IPFIX_COLLECTOR_PROFILE: return "IPFIX_COLLECTOR_PROFILE";
        case CONTINER_LOGICAL_SWITCH_PORT: return "CONTINER_LOGICAL_SWITCH_PORT";
        case DA_VIF: return "DA_VIF";
        case BRIDGE_NODES: return "BRIDGE_NODES";
        case BFD_HA: return "BFD_HA";
        default: return "UNKNOWN (Put more into PropertyTypeToString)";
    }
}

}  // namespace CfgAgent
