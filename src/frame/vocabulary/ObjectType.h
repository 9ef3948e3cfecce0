#pragma once

#include <cstdint>

namespace CfgAgent {

// The store's object type codes used by the agent; gaps are part of the wire.
// The two codes whose names a property also bears carry an _OBJECT suffix.
enum ObjectType : uint32_t {
    OBJECT_TYPE_INVALID = 0,
    LOG_SWITCH_CONFIG = 1,
    LOG_SWITCH_PORT_CONFIG = 2,
    LOG_ROUTER_CONFIG = 3,
    LOG_ROUTER_PORT_CONFIG = 4,
    TRANSPORT_NODE_CONFIG = 5,
    BRIDGE_CLUSTER_CONFIG = 6,
    PREFIX_LIST = 12,
    PORT_MIRROR_SESSION = 22,
    IPFIX_CONFIGURATION = 23,
    VIF_STATE = 24,
    LOG_SWITCH_STATE = 25,
    ROUTING_DOMAIN_VTEP = 26,
    LOG_SWITCH_FIB = 27,
    ROUTING_DOMAIN_FIB = 28,
    RULE = 29,
    RULE_SECTION = 30,
    CONTAINER = 31,
    CONFIG_SPAN = 32,
    FIB = 49,
    CRADLE_CHANNEL_VIF_CONFIG = 52,
    CRADLE_CHANNEL_GLOBAL_CONFIG = 53,
    DA_VIF_OBJECT = 56,
    LB_VIRTUAL_SERVER = 63,
    LB_APPLICATION_PROFILE = 64,
    LB_PERSISTENCE_PROFILE = 68,
    LB_POOL = 69,
    LB_SERVICE = 72,
    ARP_TABLE_CONFIG = 82,
    PROFILE = 105,
    CCP_SESSION = 108,
    SI_REDIRECTION_POLICY = 109,
    BARRIER = 110,
    PROCESSED_BARRIER = 112,
    RUNTIME_STATUS = 125,
    FLT_CLUSTER_HOST_CONFIG = 128,
    CONTEXT_PROFILE = 129,
    ENTITY_GROUP_RELATION = 130,
    GLOBAL_CONFIG = 136,
    SI_SERVICE_CHAIN = 140,
    SI_SERVICE_PATH = 141,
    SI_SERVICE_VM_STATUS = 142,
    NDRA_PROFILE_CONFIG = 150,
    DAD_PROFILE_CONFIG = 151,
    LOG_ROUTER_PORT_DAD_STATE = 153,
    LOG_ROUTER_PORT_FIB_DAD_STATE = 154,
    L2_VTEP_GROUP_OBJECT = 162,
    IDS_SIGNATURES = 174,
    MULTICAST_CONFIG = 176,
    NSG_MEMBERSHIP_STATUS = 179,
    MULTICAST_STATIC_ROUTE = 189,
    SECURITY_FEATURE_TOGGLE = 195,
    LOG_ROUTER_PORT_DAD_REQUEST = 200,
    BFD_GLOBAL_CONFIG = 214,
    HOST_SWITCH_SMARTNIC_BACKING = 219,
    IP_REPUTATION_CONFIG = 221,
    HOTMOVE_STATUS = 225,
};

// Names only the codes that log lines and command answers have always named;
// the rest print the UNKNOWN text, codes of the enum above included.
const char* ObjTypeToString(uint32_t code);

}  // namespace CfgAgent
