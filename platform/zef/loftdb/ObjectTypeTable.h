#pragma once

#include <cstdint>

namespace zef::loftdb {

struct ObjectTypeInfo {
    uint32_t code;
    const char* name;
    const char* message;
};

// Every store object type: code, name as in ObjectType, full message name.
inline constexpr ObjectTypeInfo kObjectTypes[] = {
    {1, "LOG_SWITCH_CONFIG", "halden.zef.loftdb.LogSwitchConfigMsg"},
    {2, "LOG_SWITCH_PORT_CONFIG", "halden.zef.loftdb.LogSwitchPortConfigMsg"},
    {3, "LOG_ROUTER_CONFIG", "halden.zef.loftdb.LogRouterConfigMsg"},
    {4, "LOG_ROUTER_PORT_CONFIG", "halden.zef.loftdb.LogRouterPortConfigMsg"},
    {5, "TRANSPORT_NODE_CONFIG", "halden.zef.loftdb.TransportNodeConfigMsg"},
    {6, "BRIDGE_CLUSTER_CONFIG", "halden.zef.loftdb.BridgeClusterConfigMsg"},
    {12, "PREFIX_LIST", "halden.zef.loftdb.PrefixListMsg"},
    {22, "PORT_MIRROR_SESSION", "halden.zef.loftdb.PortMirrorSessionMsg"},
    {23, "IPFIX_CONFIGURATION", "halden.zef.loftdb.IpfixConfigurationMsg"},
    {24, "VIF_STATE", "halden.zef.loftdb.VifStateMsg"},
    {25, "LOG_SWITCH_STATE", "halden.zef.loftdb.LogSwitchStateMsg"},
    {26, "ROUTING_DOMAIN_VTEP", "halden.zef.loftdb.RoutingDomainVtepMsg"},
    {27, "LOG_SWITCH_FIB", "halden.zef.loftdb.LogSwitchFibMsg"},
    {28, "ROUTING_DOMAIN_FIB", "halden.zef.loftdb.RoutingDomainFibMsg"},
    {29, "RULE", "halden.zef.loftdb.RuleMsg"},
    {30, "RULE_SECTION", "halden.zef.loftdb.RuleSectionMsg"},
    {31, "CONTAINER", "halden.zef.loftdb.ContainerMsg"},
    {32, "CONFIG_SPAN", "halden.zef.loftdb.ConfigSpanMsg"},
    {49, "FIB", "halden.zef.loftdb.FibMsg"},
    {52, "CRADLE_CHANNEL_VIF_CONFIG", "halden.zef.loftdb.CradleChannelVifConfigMsg"},
    {53, "CRADLE_CHANNEL_GLOBAL_CONFIG", "halden.zef.loftdb.CradleChannelGlobalConfigMsg"},
    {56, "DA_VIF", "halden.zef.loftdb.DaVifMsg"},
    {63, "LB_VIRTUAL_SERVER", "halden.zef.loftdb.LbVirtualServerMsg"},
    {64, "LB_APPLICATION_PROFILE", "halden.zef.loftdb.LbApplicationProfileMsg"},
    {68, "LB_PERSISTENCE_PROFILE", "halden.zef.loftdb.LbPersistenceProfileMsg"},
    {69, "LB_POOL", "halden.zef.loftdb.LbPoolMsg"},
    {72, "LB_SERVICE", "halden.zef.loftdb.LbServiceMsg"},
    {82, "ARP_TABLE_CONFIG", "halden.zef.loftdb.ArpTableConfigMsg"},
    {105, "PROFILE", "halden.zef.loftdb.ProfileMsg"},
    {108, "CCP_SESSION", "halden.zef.loftdb.CcpSessionMsg"},
    {109, "SI_REDIRECTION_POLICY", "halden.zef.loftdb.SiRedirectionPolicyMsg"},
    {110, "BARRIER", "halden.zef.loftdb.BarrierMsg"},
    {112, "PROCESSED_BARRIER", "halden.zef.loftdb.ProcessedBarrierMsg"},
    {125, "RUNTIME_STATUS", "halden.zef.loftdb.RuntimeStatusMsg"},
    {128, "FLT_CLUSTER_HOST_CONFIG", "halden.zef.loftdb.FltClusterHostConfigMsg"},
    {129, "CONTEXT_PROFILE", "halden.zef.loftdb.ContextProfileMsg"},
    {130, "ENTITY_GROUP_RELATION", "halden.zef.loftdb.EntityGroupRelationMsg"},
    {136, "GLOBAL_CONFIG", "halden.zef.loftdb.GlobalConfigMsg"},
    {140, "SI_SERVICE_CHAIN", "halden.zef.loftdb.SiServiceChainMsg"},
    {141, "SI_SERVICE_PATH", "halden.zef.loftdb.SiServicePathMsg"},
    {142, "SI_SERVICE_VM_STATUS", "halden.zef.loftdb.SiServiceVmStatusMsg"},
    {150, "NDRA_PROFILE_CONFIG", "halden.zef.loftdb.NdraProfileConfigMsg"},
    {151, "DAD_PROFILE_CONFIG", "halden.zef.loftdb.DadProfileConfigMsg"},
    {153, "LOG_ROUTER_PORT_DAD_STATE", "halden.zef.loftdb.LogRouterPortDadStateMsg"},
    {154, "LOG_ROUTER_PORT_FIB_DAD_STATE", "halden.zef.loftdb.LogRouterPortFibDadStateMsg"},
    {162, "L2_VTEP_GROUP", "halden.zef.loftdb.VtepGroupMsg"},
    {174, "IDS_SIGNATURES", "halden.zef.loftdb.IdsSignaturesMsg"},
    {176, "MULTICAST_CONFIG", "halden.zef.loftdb.MulticastConfigMsg"},
    {179, "NSG_MEMBERSHIP_STATUS", "halden.zef.loftdb.NsgMembershipStatusMsg"},
    {189, "MULTICAST_STATIC_ROUTE", "halden.zef.loftdb.MulticastStaticRouteMsg"},
    {195, "SECURITY_FEATURE_TOGGLE", "halden.zef.loftdb.SecurityFeatureToggleMsg"},
    {200, "LOG_ROUTER_PORT_DAD_REQUEST", "halden.zef.loftdb.LogRouterPortDadRequestMsg"},
    {214, "BFD_GLOBAL_CONFIG", "halden.zef.loftdb.BfdGlobalConfigMsg"},
    {219, "HOST_SWITCH_SMARTNIC_BACKING", "halden.zef.loftdb.HostSwitchSmartnicBackingMsg"},
    {221, "IP_REPUTATION_CONFIG", "halden.zef.loftdb.IpReputationConfigMsg"},
    {225, "HOTMOVE_STATUS", "halden.zef.loftdb.HotmoveStatusMsg"},
};

}  // namespace zef::loftdb
