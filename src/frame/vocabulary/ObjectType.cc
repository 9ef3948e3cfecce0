#include "frame/vocabulary/ObjectType.h"

namespace CfgAgent {

const char* ObjTypeToString(uint32_t code) {
    switch (code) {
        case OBJECT_TYPE_INVALID: return "OBJECT_TYPE_INVALID";
        case LOG_SWITCH_CONFIG: return "LOG_SWITCH_CONFIG";
        case LOG_SWITCH_PORT_CONFIG: return "LOG_SWITCH_PORT_CONFIG";
        case LOG_ROUTER_CONFIG: return "LOG_ROUTER_CONFIG";
        case LOG_ROUTER_PORT_CONFIG: return "LOG_ROUTER_PORT_CONFIG";
        case TRANSPORT_NODE_CONFIG: return "TRANSPORT_NODE_CONFIG";
        case BRIDGE_CLUSTER_CONFIG: return "BRIDGE_CLUSTER_CONFIG";
        case PORT_MIRROR_SESSION: return "PORT_MIRROR_SESSION";
        case IPFIX_CONFIGURATION: return "IPFIX_CONFIGURATION";
        case VIF_STATE: return "VIF_STATE";
        case LOG_SWITCH_STATE: return "LOG_SWITCH_STATE";
        case ROUTING_DOMAIN_VTEP: return "ROUTING_DOMAIN_VTEP";
        case LOG_SWITCH_FIB: return "LOG_SWITCH_FIB";
        case ROUTING_DOMAIN_FIB: return "ROUTING_DOMAIN_FIB";
        case RULE: return "RULE";
        case RULE_SECTION: return "RULE_SECTION";
        case CONTAINER: return "CONTAINER";
        case CONFIG_SPAN: return "CONFIG_SPAN";
        case FIB: return "FIB";
        case CRADLE_CHANNEL_VIF_CONFIG: return "CRADLE_CHANNEL_VIF_CONFIG";
        case CRADLE_CHANNEL_GLOBAL_CONFIG: return "CRADLE_CHANNEL_GLOBAL_CONFIG";
        case DA_VIF_OBJECT: return "DA_VIF";
        case ARP_TABLE_CONFIG: return "ARP_TABLE_CONFIG";
        case PROFILE: return "PROFILE";
        case CCP_SESSION: return "CCP_SESSION";
        case SI_REDIRECTION_POLICY: return "SI_REDIRECTION_POLICY";
        case BARRIER: return "BARRIER";
        case CONTEXT_PROFILE: return "CONTEXT_PROFILE";
        case SI_SERVICE_CHAIN: return "SI_SERVICE_CHAIN";
        case SI_SERVICE_PATH: return "SI_SERVICE_PATH";
        default: return "UNKNOWN (Put more into ObjTypeToString)";
    }
}

}  // namespace CfgAgent
