// The messages of fixed layout and the Configure, against bytes written out
// by hand from their layouts, never by a builder: a fault the builder and the
// reader share would cancel out in a round trip, but not here.

#include <gtest/gtest.h>

#include "l2/codec/VxlanConfigureCodec.h"
#include "l2/codec/VxlanControlCodec.h"
#include "l2/codec/VxlanTepStateCodec.h"
#include "l2/codec/VxlanTypes.h"
#include "l2/codec/VxlanTestSupport.h"

namespace L2Test {
namespace {

using namespace CfgAgent;

const VxlanUuid kDomain{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88,
                        0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff, 0x01};

TEST(VxlanControlVectorTest, SessionControlOfEveryKind) {
    for (uint8_t control : {VXLAN_SESSION_OPEN, VXLAN_SESSION_OPEN_ACK,
                            VXLAN_SESSION_FULL_SYNC_END, VXLAN_SESSION_CLOSE}) {
        // clang-format off
        const Bytes wire{
            // message type 13, length 13
            0x00, 0x0d, 0x00, 0x0d,
            // data type 1, data length 9
            0x00, 0x01, 0x00, 0x09,
            // control type, session ID 0x01020304
            control, 0x01, 0x02, 0x03, 0x04,
        };
        // clang-format on
        EXPECT_EQ(VxlanControlCodec::BuildSession({control, 0x01020304}), wire);
        VxlanSession read;
        EXPECT_EQ(VxlanControlCodec::ReadSession(wire, read), "");
        EXPECT_EQ(read, (VxlanSession{control, 0x01020304}));
    }
}

TEST(VxlanControlVectorTest, SessionControlOfAnotherDataTypeIsRefused) {
    const Bytes wire{0x00, 0x0d, 0x00, 0x0d, 0x00, 0x02, 0x00, 0x09, 0x02, 0, 0, 0, 1};
    VxlanSession read;
    EXPECT_EQ(VxlanControlCodec::ReadSession(wire, read), "unsupported session control data type 2");
    const Bytes shortLength{0x00, 0x0d, 0x00, 0x0d, 0x00, 0x01, 0x00, 0x05, 0x02, 0, 0, 0, 1};
    EXPECT_NE(VxlanControlCodec::ReadSession(shortLength, read), "");
}

TEST(VxlanControlVectorTest, StateQueryIsTheEightBytesAndReportsCarryOneByte) {
    const Bytes query{0x00, 0x0b, 0x00, 0x08, 0x00, 0x01, 0x00, 0x04};
    EXPECT_EQ(VxlanControlCodec::BuildStateQuery(), query);
    EXPECT_EQ(VxlanControlCodec::ReadStateQuery(query), "");

    const Bytes outOfSync{0x00, 0x0c, 0x00, 0x09, 0x00, 0x01, 0x00, 0x05, 0x01};
    const Bytes inSync{0x00, 0x0c, 0x00, 0x09, 0x00, 0x01, 0x00, 0x05, 0x00};
    EXPECT_EQ(VxlanControlCodec::BuildStateReport(true), outOfSync);
    EXPECT_EQ(VxlanControlCodec::BuildStateReport(false), inSync);
    bool value = false;
    EXPECT_EQ(VxlanControlCodec::ReadStateReport(outOfSync, value), "");
    EXPECT_TRUE(value);
    EXPECT_EQ(VxlanControlCodec::ReadStateReport(inSync, value), "");
    EXPECT_FALSE(value);
    // Any nonzero byte is true.
    EXPECT_EQ(VxlanControlCodec::ReadStateReport(
                  Bytes{0x00, 0x0c, 0x00, 0x09, 0x00, 0x01, 0x00, 0x05, 0x80}, value),
              "");
    EXPECT_TRUE(value);
    EXPECT_EQ(VxlanControlCodec::ReadStateReport(
                  Bytes{0x00, 0x0c, 0x00, 0x0a, 0x00, 0x01, 0x00, 0x06, 0x01, 0x00}, value),
              "unsupported state report data length 6");
    EXPECT_EQ(VxlanControlCodec::ReadStateReport(
                  Bytes{0x00, 0x0c, 0x00, 0x09, 0x00, 0x02, 0x00, 0x05, 0x01}, value),
              "unsupported state report data type 2");
    EXPECT_EQ(VxlanControlCodec::ReadStateQuery(
                  Bytes{0x00, 0x0b, 0x00, 0x09, 0x00, 0x01, 0x00, 0x05, 0x00}),
              "unsupported state query data length 5");
}

TEST(VxlanControlVectorTest, VniMembershipLinkChangeAndInstanceChange) {
    // clang-format off
    const Bytes join{
        0x00, 0x03, 0x00, 0x0d,
        // SwitchID 7, VNI 5000, join
        0x00, 0x00, 0x00, 0x07, 0x00, 0x00, 0x13, 0x88, 0x01,
    };
    const Bytes linkUp{
        0x00, 0x04, 0x00, 0x0f,
        // SwitchID 7, up
        0x00, 0x00, 0x00, 0x07, 0x00,
        // VNI 5000, mcast proxy and ARP proxy enabled
        0x00, 0x00, 0x13, 0x88, 0x01, 0x01,
    };
    const Bytes instance{0x00, 0x0f, 0x00, 0x09, 0x00, 0x00, 0x00, 0x07, 0x02};
    const Bytes replication{0x00, 0x10, 0x00, 0x09, 0x00, 0x00, 0x00, 0x07, 0x01};
    const Bytes notification{0x00, 0x07, 0x00, 0x08, 0x00, 0x02, 0x00, 0x03};
    // clang-format on
    EXPECT_EQ(VxlanControlCodec::BuildVniMembership({7, 5000, VXLAN_JOIN}), join);
    VxlanVniMembership membership;
    EXPECT_EQ(VxlanControlCodec::ReadVniMembership(join, membership), "");
    EXPECT_EQ(membership, (VxlanVniMembership{7, 5000, VXLAN_JOIN}));

    const VxlanLinkChange change{7, VXLAN_LINK_UP, {{5000, 1, 1}}};
    Bytes built;
    ASSERT_TRUE(VxlanControlCodec::BuildLinkChange(change, built));
    EXPECT_EQ(built, linkUp);
    VxlanLinkChange read;
    EXPECT_EQ(VxlanControlCodec::ReadLinkChange(linkUp, read), "");
    EXPECT_EQ(read, change);
    // A sync end without entries is the bare 9 bytes.
    EXPECT_EQ(VxlanControlCodec::ReadLinkChange(
                  Bytes{0x00, 0x04, 0x00, 0x09, 0x00, 0x00, 0x00, 0x07, 0x02}, read),
              "");
    EXPECT_TRUE(read.entries.empty());

    EXPECT_EQ(VxlanControlCodec::BuildInstanceChange({7, 2}), instance);
    EXPECT_EQ(VxlanControlCodec::BuildGlobalReplication({7, 1}), replication);
    VxlanSwitchFlag flag;
    EXPECT_EQ(VxlanControlCodec::ReadInstanceChange(instance, flag), "");
    EXPECT_EQ(flag, (VxlanSwitchFlag{7, 2}));
    // The two share a shape but not a type.
    EXPECT_NE(VxlanControlCodec::ReadInstanceChange(replication, flag), "");
    EXPECT_EQ(VxlanControlCodec::BuildNotification({2, 3}), notification);
    VxlanNotification readNotification;
    EXPECT_EQ(VxlanControlCodec::ReadNotification(notification, readNotification), "");
    EXPECT_EQ(readNotification, (VxlanNotification{2, 3}));
}

TEST(VxlanControlVectorTest, RoutingDomainMembershipAndControllerIp) {
    const Bytes domain =
        Wire().U16(14).U16(26).U32(7).U8(1).Raw(kDomain).U8(1).Take();
    const VxlanRdMembership membership{7, 1, kDomain, 1};
    EXPECT_EQ(VxlanControlCodec::BuildRdMembership(membership), domain);
    VxlanRdMembership readDomain;
    EXPECT_EQ(VxlanControlCodec::ReadRdMembership(domain, readDomain), "");
    EXPECT_EQ(readDomain, membership);

    const VxlanIp v6{0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x09};
    // clang-format off
    const Bytes controller{
        // message type 1001, length 36
        0x03, 0xe9, 0x00, 0x24,
        0x00, 0x00, 0x00, 0x07, 0x00, 0x00, 0x13, 0x88,
        // address type 3 (both), big-endian unlike the entries'
        0x00, 0x00, 0x00, 0x03,
        // 10.0.0.9
        0x0a, 0x00, 0x00, 0x09,
        0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x09,
    };
    // clang-format on
    const VxlanControllerIp update{7, 5000, VXLAN_ADDR_BOTH, 0x0a000009, v6};
    EXPECT_EQ(VxlanControlCodec::BuildControllerIp(update), controller);
    VxlanControllerIp readUpdate;
    EXPECT_EQ(VxlanControlCodec::ReadControllerIp(controller, readUpdate), "");
    EXPECT_EQ(readUpdate, update);
}

TEST(VxlanControlVectorTest, ConfigureOfASessionStartIsFortyBytes) {
    // clang-format off
    const Bytes wire{
        // message type 2, length 40
        0x00, 0x02, 0x00, 0x28,
        // max message length 4085
        0x00, 0x01, 0x00, 0x06, 0x0f, 0xf5,
        // freq control period 1000 ms
        0x00, 0x03, 0x00, 0x06, 0x03, 0xe8,
        // freq control query 100
        0x00, 0x04, 0x00, 0x06, 0x00, 0x64,
        // freq control update 20
        0x00, 0x05, 0x00, 0x06, 0x00, 0x14,
        // BTE ageing 720 s
        0x00, 0x06, 0x00, 0x06, 0x02, 0xd0,
        // ARP ageing 600 s
        0x00, 0x07, 0x00, 0x06, 0x02, 0x58,
    };
    // clang-format on
    std::vector<VxlanConfigureItem> items;
    for (auto [type, number] : {std::pair<uint16_t, uint16_t>{VXLAN_CFG_MAX_MSG_LEN, 4085},
                                {VXLAN_CFG_FREQ_PERIOD, 1000},
                                {VXLAN_CFG_FREQ_QUERY, 100},
                                {VXLAN_CFG_FREQ_UPDATE, 20},
                                {VXLAN_CFG_BTE_AGEING, 720},
                                {VXLAN_CFG_ARP_AGEING, 600}}) {
        VxlanConfigureItem item;
        item.type = type;
        item.number = number;
        items.push_back(item);
    }
    Bytes built;
    ASSERT_TRUE(VxlanConfigureCodec::Build(items, built));
    EXPECT_EQ(built, wire);
    std::vector<VxlanConfigureItem> read;
    EXPECT_EQ(VxlanConfigureCodec::Read(wire, read), "");
    EXPECT_EQ(read, items);
}

TEST(VxlanControlVectorTest, ConfigureItemsWithGapsAndPerVniItems) {
    VxlanConfigureItem bfd;
    bfd.type = VXLAN_CFG_BFD;
    bfd.hdsId = "hds-1";
    bfd.latencyEnable = 1;
    bfd.flags = 2;
    bfd.enable = 1;
    bfd.interval = 1000;
    bfd.multiplier = 3;
    VxlanConfigureItem evpn;
    evpn.type = VXLAN_CFG_EVPN_BFD;
    evpn.number = 2;
    evpn.flags = 4;
    evpn.enable = 1;
    evpn.interval = 300;
    evpn.multiplier = 5;
    VxlanConfigureItem arpProxy;
    arpProxy.type = VXLAN_CFG_ARP_PROXY;
    arpProxy.switchId = 7;
    arpProxy.vni = 5000;
    arpProxy.enable = 1;
    VxlanConfigureItem domain;
    domain.type = VXLAN_CFG_ROUTING_DOMAIN;
    domain.switchId = 7;
    domain.vni = 5000;
    domain.routingDomain = kDomain;
    VxlanConfigureItem limit;
    limit.type = VXLAN_CFG_MAC_LIMIT;
    limit.switchId = 7;
    limit.vni = 5000;
    limit.macLimit = 2048;
    const Bytes row = Wire()
                          // BFD, 69 bytes: bytes 55 and 56 are a gap, four pad at the end
                          .Tlv(8, 65).Text("hds-1", 48).U8(1).U8(2).U8(1).Zeros(2).U32(1000).U32(3).Zeros(4)
                          // EVPN Global BFD, 24 bytes: gaps at 6-7 and 10-11, four pad at the end
                          .Tlv(9, 20).U16(2).Zeros(2).U8(4).U8(1).Zeros(2).U32(300).U32(5).Zeros(4)
                          .Tlv(258, 9).U32(7).U32(5000).U8(1)
                          .Tlv(259, 24).U32(7).U32(5000).Raw(kDomain)
                          .Tlv(261, 12).U32(7).U32(5000).U32(2048)
                          .Take();
    const Bytes wire = Around(VXLAN_MSG_CONFIGURE, row);
    const std::vector<VxlanConfigureItem> items{bfd, evpn, arpProxy, domain, limit};
    Bytes built;
    ASSERT_TRUE(VxlanConfigureCodec::Build(items, built));
    EXPECT_EQ(built, wire);
    std::vector<VxlanConfigureItem> read;
    EXPECT_EQ(VxlanConfigureCodec::Read(wire, read), "");
    EXPECT_EQ(read, items);
}

TEST(VxlanControlVectorTest, TepStateOfAFault) {
    const Bytes wire = Wire()
                           .U16(17).U16(114)
                           .Tlv(1, 106)
                           .Text("host-switch", 81)
                           .Text("vmk10", 16)
                           .U32(1).U32(3).U8(1)
                           .Take();
    const VxlanTepState state{VXLAN_TEP_FAULT, "host-switch", "vmk10", 1, 3, true};
    EXPECT_EQ(VxlanTepStateCodec::Build(state), wire);
    VxlanTepState read;
    EXPECT_EQ(VxlanTepStateCodec::Read(wire, read), "");
    EXPECT_EQ(read, state);
}

}  // namespace
}  // namespace L2Test
