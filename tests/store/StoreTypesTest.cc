#include "store/StoreTypes.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "frame/vocabulary/ObjectType.h"

namespace {

using namespace CfgAgent;
using Receivers = std::vector<ComponentType>;

TEST(StoreTypesTest, EveryRowIsWholeAndEachTypeGoesWhereTheRoutingRulesSay) {
    EXPECT_NO_THROW(StoreTypes::Check());
    const Receivers config{CONFIGCACHE}, firewallAndLb{DFW, LB}, firewallAndIds{DFW, IDS},
        l2{L2CACHE}, l3{L3CACHE}, app{CONFIGAPP}, si{SIAPP}, lb{LB}, idsAndFirewall{IDS, DFW};
    const std::map<uint32_t, Receivers> expected = {
        {LOG_SWITCH_CONFIG, config}, {LOG_SWITCH_PORT_CONFIG, config}, {BRIDGE_CLUSTER_CONFIG, config},
        {PORT_MIRROR_SESSION, config}, {IPFIX_CONFIGURATION, config}, {PROFILE, config},
        {NSG_MEMBERSHIP_STATUS, config}, {TRANSPORT_NODE_CONFIG, {CONFIGCACHE, CONFIGAPP}},
        {ENTITY_GROUP_RELATION, config}, {CONTAINER, firewallAndLb}, {CONTEXT_PROFILE, firewallAndIds},
        {RULE, firewallAndIds}, {RULE_SECTION, firewallAndIds}, {IDS_SIGNATURES, {IDS}},
        {L2_VTEP_GROUP_OBJECT, l2}, {LOG_SWITCH_FIB, l2}, {ROUTING_DOMAIN_FIB, l2},
        {LOG_ROUTER_CONFIG, l3}, {LOG_ROUTER_PORT_CONFIG, l3}, {FIB, l3}, {ARP_TABLE_CONFIG, l3},
        {PREFIX_LIST, l3}, {MULTICAST_CONFIG, l3}, {NDRA_PROFILE_CONFIG, l3}, {DAD_PROFILE_CONFIG, l3},
        {LOG_ROUTER_PORT_FIB_DAD_STATE, l3}, {LOG_ROUTER_PORT_DAD_REQUEST, l3},
        {MULTICAST_STATIC_ROUTE, l3}, {IP_REPUTATION_CONFIG, {DFW}}, {CONFIG_SPAN, {DFW, CONFIGAPP}},
        {DA_VIF_OBJECT, app}, {CRADLE_CHANNEL_VIF_CONFIG, app}, {HOST_SWITCH_SMARTNIC_BACKING, app},
        {CRADLE_CHANNEL_GLOBAL_CONFIG, app}, {CCP_SESSION, {CONFIGAPP, L2APP}},
        {SI_REDIRECTION_POLICY, si}, {SI_SERVICE_CHAIN, si}, {SI_SERVICE_PATH, si},
        {BARRIER, {DFW, IDS, L3CACHE}}, {GLOBAL_CONFIG, {L3CACHE, L2APP, DFW, IDS, CONFIGAPP, TF}},
        {LB_SERVICE, lb}, {LB_VIRTUAL_SERVER, lb}, {LB_POOL, lb}, {LB_APPLICATION_PROFILE, lb},
        {LB_PERSISTENCE_PROFILE, lb}, {FLT_CLUSTER_HOST_CONFIG, idsAndFirewall},
        {SECURITY_FEATURE_TOGGLE, idsAndFirewall}, {BFD_GLOBAL_CONFIG, {BFD}},
    };
    std::map<uint32_t, Receivers> actual;
    for (const StoreTypes::Row& row : StoreTypes::Rows()) {
        const auto receivers = row.delivery.Receivers();
        actual[row.type] = Receivers(receivers.begin(), receivers.end());
        EXPECT_EQ(row.startsCradleVifWatch, row.type == CRADLE_CHANNEL_GLOBAL_CONFIG) << row.type;
        EXPECT_EQ(row.second.decode != nullptr, row.type == ENTITY_GROUP_RELATION) << row.type;
    }
    EXPECT_EQ(actual, expected);
    const auto whole = StoreTypes::Find(ENTITY_GROUP_RELATION)->second.Receivers();
    EXPECT_EQ(Receivers(whole.begin(), whole.end()), firewallAndLb);
    EXPECT_EQ(StoreTypes::Find(VIF_STATE), nullptr) << "runtime objects are written, never read";
}

}  // namespace
