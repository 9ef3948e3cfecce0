#include <gtest/gtest.h>

#include "l2/codec/VxlanTestSupport.h"
#include "l3/codec/RtxLifCodec.h"
#include "l3/codec/RtxRouteCodec.h"
#include "l3/codec/RtxTableCodec.h"

namespace L3Test {
namespace {

using namespace CfgAgent;
using PortTest::Bytes;
using PortTest::Wire;

TEST(RtxTableVectorTest, ALifWithAnAddressARelayAndAPolicyGroupAndItsDelete) {
    RtxLif lif;
    lif.rtxId = 7;
    lif.name = "lif-1";
    lif.dvsUuid = "dvs-1";
    lif.lifType = 2;
    lif.flags = 0x0001;
    lif.lifId = 5001;
    lif.mtu = 1500;
    lif.mac = {0x02, 0, 0, 0, 0, 0x01};
    lif.replication = 2;
    lif.ipSubnets = 1;
    lif.ips.push_back({false, 0xFFFFFF00, {10, 0, 0, 1}});
    lif.dhcpServers.push_back({false, {10, 0, 0, 53}});
    lif.policyGroups.push_back({1, {{3, 2, {10, 0, 0, 254}}}});
    const Bytes add = Wire()
                          .U16(4).U16(162 + 21 + 4 + 17 + 3 + 21)
                          .U32(7).U8(1).U8(0).U16(0)
                          .Text("lif-1", 64).Text("dvs-1", 48)
                          .U8(2).U8(1).U16(0x0211)                 // link type 1, relay, always
                          .U32(5001).U32(1500).U32(0)
                          .U8(0x02).Zeros(4).U8(0x01)
                          .U8(0).U8(0).U32(2)
                          .U16(1).U32(1).U32(0)
                          .U8(2).U32(0xFFFFFF00).U8(10).U8(0).U8(0).U8(1).Zeros(12)
                          .U8(1).Zeros(3).U8(2).U8(10).U8(0).U8(0).U8(53).Zeros(12)
                          .U8(1).U16(1).U32(3).U8(2).U8(10).U8(0).U8(0).U8(254).Zeros(12)
                          .Take();
    Bytes built;
    ASSERT_TRUE(RtxLifCodec::BuildAdd(lif, built));
    EXPECT_EQ(built, add);
    RtxLif read;
    bool removed = true;
    EXPECT_EQ(RtxLifCodec::Read(add, read, removed), "");
    EXPECT_FALSE(removed);
    lif.flags = 0x0211;
    EXPECT_EQ(read, lif);

    const Bytes remove = Wire().U16(4).U16(132).U32(7).U8(0).U8(1).U16(0).Text("lif-1", 64).Zeros(56).Take();
    EXPECT_EQ(RtxLifCodec::BuildDelete(7, "lif-1"), remove);
    Bytes trailing = add;
    trailing.push_back(0);
    trailing[3] = static_cast<uint8_t>(trailing.size());
    EXPECT_NE(RtxLifCodec::Read(trailing, read, removed), "");
}

TEST(RtxTableVectorTest, ArpTableRemovalsCarryNoMac) {
    RtxArpTable table{7, "lif-1", {{false, {10, 0, 0, 9}, {0x02, 0, 0, 0, 0, 0x09}}},
                      {{false, {10, 0, 0, 8}, {0x02, 0, 0, 0, 0, 0x08}}}};
    const Bytes wire = Wire()
                           .U16(25).U16(76 + 2 * 23)
                           .U32(7).Text("lif-1", 64).U16(1).U16(1)
                           .U8(2).U8(10).U8(0).U8(0).U8(9).Zeros(12).Zeros(6)
                           .U8(2).U8(10).U8(0).U8(0).U8(8).Zeros(12).U8(0x02).Zeros(4).U8(0x08)
                           .Take();
    Bytes built;
    ASSERT_TRUE(RtxTableCodec::BuildArpTable(table, built));
    EXPECT_EQ(built, wire);
    RtxArpTable read;
    EXPECT_EQ(RtxTableCodec::ReadArpTable(wire, read), "");
    EXPECT_EQ(read.added, table.added);
    EXPECT_EQ(read.removed[0].mac, MacBytes{});
}

TEST(RtxTableVectorTest, TunablesSortedDadStatesAndPrefixLists) {
    Bytes built;
    ASSERT_TRUE(RtxTableCodec::BuildTunables(7, {{"maxArpEntries", 100}, {"isArpLimitOverridden", 1}}, built));
    EXPECT_EQ(built, Wire().U16(18).U16(8 + 2 * 68).U32(7).Text("isArpLimitOverridden", 64).U32(1)
                         .Text("maxArpEntries", 64).U32(100).Take());

    ASSERT_TRUE(RtxTableCodec::BuildDadStatus(7, "lif-1", {{{0xfd, 0}, 2, "ver-1"}}, built));
    EXPECT_EQ(built, Wire().U16(27).U16(73 + 81).U32(7).Text("lif-1", 64).U8(1).U8(0xfd).Zeros(15).U8(2)
                         .Text("ver-1", 64).Take());

    RtxPrefixList list{"pl-1", 4, {{1, false, 24, {10, 1, 2, 0}}, {2, true, 64, {0xfd}}}};
    ASSERT_TRUE(RtxTableCodec::BuildPrefixList(list, built));
    EXPECT_EQ(built, Wire().U16(30).U16(74 + 2 * 19).Text("pl-1", 64).U32(4).U16(2)
                         .U8(1).U8(2).U8(24).U8(10).U8(1).U8(2).U8(0).Zeros(12)
                         .U8(2).U8(24).U8(64).U8(0xfd).Zeros(15).Take());
    RtxPrefixList read;
    EXPECT_EQ(RtxTableCodec::ReadPrefixList(built, read), "");
    EXPECT_EQ(read, list);
}

TEST(RtxTableVectorTest, MulticastBridgeEndpointsAndNextHopUpdates) {
    const RtxMulticast multicast{"r1", 7, 1, 0xE8000000, 8, 60, 10, 1, 2};
    EXPECT_EQ(RtxTableCodec::BuildMulticast(multicast),
              Wire().U16(29).U16(70).Text("r1", 48).U32(7).U8(1).U32(0xE8000000).U8(8).U16(60).U16(10).U16(1).U16(2)
                  .Take());
    Bytes built;
    ASSERT_TRUE(RtxTableCodec::BuildMulticastRoute(7, {}, built));
    EXPECT_EQ(built, Wire().U16(31).U16(11).U32(7).U16(0).U8(2).Take()) << "no next hop removes the route";

    const RtxBridgeEndpoint endpoint{"lif-1", "ls-1", "be-1", "dvs-9", "cluster-3", 10, 5001};
    const Bytes add = RtxTableCodec::BuildBridgeAdd(endpoint);
    EXPECT_EQ(add, Wire().U16(32).U16(338).Text("lif-1", 64).Text("ls-1", 64).Text("be-1", 64).Text("dvs-9", 64)
                       .Text("cluster-3", 64).U16(10).U32(2).U32(5001).U16(1).U16(0).Take());
    EXPECT_EQ(RtxTableCodec::BuildBridgeDelete(endpoint),
              Wire().U16(33).U16(132).Text("lif-1", 64).Text("ls-1", 64).Take());
    RtxBridgeEndpoint read;
    bool removed = true;
    EXPECT_EQ(RtxTableCodec::ReadBridge(add, read, removed), "");
    EXPECT_FALSE(removed);
    EXPECT_EQ(read, endpoint);

    RtxRoute route;
    route.rtxId = 7;
    route.prefixLength = 24;
    route.destination = {10, 1, 2, 0};
    route.nextHops.push_back({1, "up-1", {192, 168, 0, 1}});
    ASSERT_TRUE(RtxRouteCodec::BuildNextHopUpdate(route, {{1, "ignored", {192, 168, 0, 2}}}, built));
    EXPECT_EQ(built, Wire().U16(20).U16(24 + 2 * 70).U32(7).U16(1).U16(0)
                         .U8(152).U8(2).U8(1).U8(24).U8(1).U8(1).U16(0)
                         .U8(10).U8(1).U8(2).U8(0)
                         .U8(1).Text("up-1", 64).U8(4).U8(192).U8(168).U8(0).U8(1)
                         .U8(1).Zeros(64).U8(4).U8(192).U8(168).U8(0).U8(2)
                         .Take());
    RtxRoute readRoute;
    std::vector<RtxNextHop> taken;
    EXPECT_EQ(RtxRouteCodec::ReadNextHopUpdate(built, readRoute, taken), "");
    EXPECT_EQ(readRoute.nextHops, route.nextHops);
    ASSERT_EQ(taken.size(), 1u);
    EXPECT_EQ(taken[0].egress, "");
}

}  // namespace
}  // namespace L3Test
