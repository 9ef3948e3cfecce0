// Every Update data type and the Query, against bytes written out by hand
// from their layouts: the fixed entries, their gaps and the address types
// kept in the host's byte order.

#include <gtest/gtest.h>

#include "l2/codec/VxlanBfdUpdateCodec.h"
#include "l2/codec/VxlanGroupAssociationCodec.h"
#include "l2/codec/VxlanGroupCodec.h"
#include "l2/codec/VxlanIpUpdateCodec.h"
#include "l2/codec/VxlanMacUpdateCodec.h"
#include "l2/codec/VxlanNeighborUpdateCodec.h"
#include "l2/codec/VxlanQueryCodec.h"
#include "l2/codec/VxlanRdListCodec.h"
#include "l2/codec/VxlanRdVtepUpdateCodec.h"
#include "l2/codec/VxlanTypes.h"
#include "l2/codec/VxlanUpdateCodec.h"
#include "l2/codec/VxlanVifUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"
#include "l2/codec/VxlanTestSupport.h"

namespace L2Test {
namespace {

using namespace CfgAgent;

const VxlanMac kVmMac{0x00, 0x50, 0x56, 0x01, 0x02, 0x03};
const VxlanMac kVtepMac{0x02, 0x00, 0x00, 0xaa, 0xbb, 0xcc};
const VxlanIp kV6{0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01};
const VxlanIp kSegV6{0xfd, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x02};
const VxlanUuid kDomain{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88,
                        0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff, 0x01};

VxlanMacEntry MacEntry(uint8_t last) {
    VxlanMacEntry entry{kVmMac, kVtepMac, 0xc0a80001, 0x40001, VXLAN_ADDR_BOTH, kV6};
    entry.vmMac[5] = last;
    return entry;
}

// The 40 bytes of MacEntry(last).
Bytes MacEntryWire(uint8_t last) {
    return Wire()
        .U8(0x00).U8(0x50).U8(0x56).U8(0x01).U8(0x02).U8(last)
        .Raw(kVtepMac)
        // 192.168.0.1, label 0x40001
        .U8(192).U8(168).U8(0).U8(1).U32(0x40001)
        .Raw(Host32(3))
        .Raw(kV6)
        .Take();
}

VxlanVtepEntry VtepEntry(uint32_t ip, uint8_t encap) {
    return {ip, 77, 9, kVtepMac, encap, 2, VXLAN_ADDR_IPV6, kV6, kSegV6};
}

// The 57 bytes of VtepEntry(ip, encap): byte 20 is a gap.
Bytes VtepEntryWire(uint32_t ip, uint8_t encap) {
    return Wire()
        .U32(ip).U32(77).U32(9)
        .Raw(kVtepMac)
        .U8(encap).U8(2).Zeros(1)
        .Raw(Host32(2))
        .Raw(kV6).Raw(kSegV6)
        .Take();
}

// The single data TLV of an Update, read the way a receiver walks it.
Tlv OnlyData(const Bytes& update) {
    std::vector<Tlv> row;
    EXPECT_EQ(VxlanUpdateCodec::Read(update, row), "");
    EXPECT_EQ(row.size(), 1u);
    return row.at(0);
}

Bytes UpdateOf(const Bytes& tlv) {
    Bytes message;
    EXPECT_TRUE(VxlanUpdateCodec::Build({tlv}, message));
    return message;
}

TEST(VxlanUpdateVectorTest, MacUpdateRemovalsComeFirst) {
    const Bytes wire = Around(VXLAN_MSG_UPDATE,
                              Wire()
                                  .Tlv(4, 10 + 3 * 40)
                                  .U32(7).U32(5000).U16(1)
                                  .Raw(MacEntryWire(0x0a))
                                  .Raw(MacEntryWire(0x0b))
                                  .Raw(MacEntryWire(0x0c))
                                  .Take());
    const VxlanMacUpdate update{7, 5000, {MacEntry(0x0a)}, {MacEntry(0x0b), MacEntry(0x0c)}};
    Bytes tlv;
    ASSERT_TRUE(VxlanMacUpdateCodec::Build(update, tlv));
    EXPECT_EQ(UpdateOf(tlv), wire);
    VxlanMacUpdate read;
    EXPECT_EQ(VxlanMacUpdateCodec::Read(OnlyData(wire), read), "");
    EXPECT_EQ(read, update);
}

TEST(VxlanUpdateVectorTest, RemovedCountEqualToEntryCountHoldsNoAdditions) {
    const Bytes wire = Around(VXLAN_MSG_UPDATE, Wire()
                                                    .Tlv(4, 10 + 2 * 40)
                                                    .U32(7).U32(5000).U16(2)
                                                    .Raw(MacEntryWire(1))
                                                    .Raw(MacEntryWire(2))
                                                    .Take());
    VxlanMacUpdate read;
    EXPECT_EQ(VxlanMacUpdateCodec::Read(OnlyData(wire), read), "");
    EXPECT_EQ(read.removed, (std::vector<VxlanMacEntry>{MacEntry(1), MacEntry(2)}));
    EXPECT_TRUE(read.added.empty());
}

TEST(VxlanUpdateVectorTest, VtepMembershipWithEveryEncap) {
    const Bytes wire = Around(VXLAN_MSG_UPDATE,
                              Wire()
                                  .Tlv(5, 10 + 3 * 57)
                                  .U32(7).U32(5000).U16(0)
                                  .Raw(VtepEntryWire(0x0a000001, 0))
                                  .Raw(VtepEntryWire(0x0a000002, 1))
                                  .Raw(VtepEntryWire(0x0a000003, 2))
                                  .Take());
    const VxlanVtepUpdate update{7,
                                 5000,
                                 {},
                                 {VtepEntry(0x0a000001, 0), VtepEntry(0x0a000002, 1),
                                  VtepEntry(0x0a000003, 2)}};
    Bytes tlv;
    ASSERT_TRUE(VxlanVtepUpdateCodec::Build(update, tlv));
    EXPECT_EQ(UpdateOf(tlv), wire);
    VxlanVtepUpdate read;
    EXPECT_EQ(VxlanVtepUpdateCodec::Read(OnlyData(wire), read), "");
    EXPECT_EQ(read, update);
}

TEST(VxlanUpdateVectorTest, VmIpOfBothFamilies) {
    const Bytes v4 = Wire()
                         .Tlv(2, 10 + 2 * 10)
                         .U32(7).U32(5000).U16(1)
                         .U8(10).U8(1).U8(1).U8(5).Raw(kVmMac)
                         .U8(10).U8(1).U8(1).U8(6).Raw(kVtepMac)
                         .Take();
    const Bytes v6 = Wire().Tlv(3, 10 + 22).U32(7).U32(5000).U16(0).Raw(kV6).Raw(kVmMac).Take();
    const VxlanIpUpdate update4{false, 7, 5000, {{{10, 1, 1, 5}, kVmMac}}, {{{10, 1, 1, 6}, kVtepMac}}};
    const VxlanIpUpdate update6{true, 7, 5000, {}, {{kV6, kVmMac}}};
    for (const auto& [update, wire] : {std::pair{update4, v4}, std::pair{update6, v6}}) {
        Bytes tlv;
        ASSERT_TRUE(VxlanIpUpdateCodec::Build(update, tlv));
        EXPECT_EQ(tlv, wire);
        VxlanIpUpdate read;
        EXPECT_EQ(VxlanIpUpdateCodec::Read(OnlyTlv(Around(VXLAN_MSG_UPDATE, wire)), read), "");
        EXPECT_EQ(read, update);
    }
}

TEST(VxlanUpdateVectorTest, ArpAndNdCarryTheMacEntryAndNoRemovedCount) {
    const Bytes arp = Wire()
                          .Tlv(6, 8 + 44)
                          .U32(7).U32(5000)
                          .U8(10).U8(1).U8(1).U8(5).Raw(MacEntryWire(3))
                          .Take();
    const Bytes nd = Wire().Tlv(7, 8 + 56).U32(7).U32(5000).Raw(kV6).Raw(MacEntryWire(4)).Take();
    const VxlanNeighborUpdate arpUpdate{false, 7, 5000, {{{10, 1, 1, 5}, MacEntry(3)}}};
    const VxlanNeighborUpdate ndUpdate{true, 7, 5000, {{kV6, MacEntry(4)}}};
    for (const auto& [update, wire] : {std::pair{arpUpdate, arp}, std::pair{ndUpdate, nd}}) {
        Bytes tlv;
        ASSERT_TRUE(VxlanNeighborUpdateCodec::Build(update, tlv));
        EXPECT_EQ(tlv, wire);
        VxlanNeighborUpdate read;
        EXPECT_EQ(VxlanNeighborUpdateCodec::Read(OnlyTlv(Around(VXLAN_MSG_UPDATE, wire)), read), "");
        EXPECT_EQ(read, update);
    }
}

TEST(VxlanUpdateVectorTest, VifRoutingDomainsAndBfdSessions) {
    const Bytes vif = Wire().Tlv(8, 1 + 160).U8(1).Text("vif-1", 160).Take();
    const VxlanVifUpdate vifUpdate{1, {"vif-1"}};
    Bytes tlv;
    ASSERT_TRUE(VxlanVifUpdateCodec::Build(vifUpdate, tlv));
    EXPECT_EQ(tlv, vif);
    VxlanVifUpdate readVif;
    EXPECT_EQ(VxlanVifUpdateCodec::Read(OnlyTlv(Around(5, vif)), readVif), "");
    EXPECT_EQ(readVif, vifUpdate);

    const Bytes rdVtep = Wire()
                             .Tlv(9, 23 + 57)
                             .Raw(kDomain).U32(7).U8(1).U16(1)
                             .Raw(VtepEntryWire(0x0a000001, 0))
                             .Take();
    const VxlanRdVtepUpdate rdUpdate{kDomain, 7, 1, {VtepEntry(0x0a000001, 0)}, {}};
    ASSERT_TRUE(VxlanRdVtepUpdateCodec::Build(rdUpdate, tlv));
    EXPECT_EQ(tlv, rdVtep);
    VxlanRdVtepUpdate readRd;
    EXPECT_EQ(VxlanRdVtepUpdateCodec::Read(OnlyTlv(Around(5, rdVtep)), readRd), "");
    EXPECT_EQ(readRd, rdUpdate);

    const Bytes list = Wire().Tlv(10, 5 + 32).U32(7).U8(0).Raw(kDomain).Zeros(15).U8(9).Take();
    VxlanUuid second{};
    second[15] = 9;
    const VxlanRdList listUpdate{7, 0, {kDomain, second}};
    ASSERT_TRUE(VxlanRdListCodec::Build(listUpdate, tlv));
    EXPECT_EQ(tlv, list);
    VxlanRdList readList;
    EXPECT_EQ(VxlanRdListCodec::Read(OnlyTlv(Around(5, list)), readList), "");
    EXPECT_EQ(readList, listUpdate);

    VxlanBfdEntry session;
    session.localVtep = {10, 0, 0, 1};
    session.remoteVtep = {10, 0, 0, 2};
    session.vni = 5000;
    session.routingDomain = kDomain;
    session.vgLabel = 0x40002;
    const Bytes bfd = Wire()
                          .Tlv(11, 6 + 57)
                          .U32(7).U16(0)
                          // IPv4 in the first 4 bytes, the rest 0
                          .U8(10).U8(0).U8(0).U8(1).Zeros(12)
                          .U8(10).U8(0).U8(0).U8(2).Zeros(12)
                          .U8(0).U32(5000).Raw(kDomain).U32(0x40002)
                          .Take();
    const VxlanBfdUpdate bfdUpdate{7, {}, {session}};
    ASSERT_TRUE(VxlanBfdUpdateCodec::Build(bfdUpdate, tlv));
    EXPECT_EQ(tlv, bfd);
    VxlanBfdUpdate readBfd;
    EXPECT_EQ(VxlanBfdUpdateCodec::Read(OnlyTlv(Around(5, bfd)), readBfd), "");
    EXPECT_EQ(readBfd, bfdUpdate);
}

TEST(VxlanUpdateVectorTest, VtepGroupsHaveRoomForTheLargestGroupOfTheirKind) {
    VxlanGroupMember member{0x0a000001, 0x40001, VXLAN_ADDR_IPV4, {}, kVtepMac, 2, 1};
    const VxlanGroup small{0x40010, false, {}, 1, {2, 3}, {member}, {}};
    const Bytes smallWire = Wire()
                                .Tlv(12, 593)
                                .U32(0x40010).U16(0).U16(0)
                                // block: kind 1, policy 2 and 3, one entry
                                .Zeros(4).U8(1).U8(2).U8(3).Zeros(1).U8(1)
                                .U32(0x0a000001).U32(0x40001).Raw(Host32(1)).Zeros(16)
                                .Raw(kVtepMac).U8(2).U8(1)
                                .Zeros(15 * 36)
                                .Take();
    ASSERT_EQ(smallWire.size(), 597u);
    const VxlanGroup large{0x40011, false, {5, 6}, 3, {0, 0}, {}, {VtepEntry(0x0a000002, 0)}};
    const Bytes largeWire = Wire()
                                .Tlv(12, 1841 + 8)
                                .U32(0x40011).U16(0).U16(2).U32(5).U32(6)
                                .Zeros(4).U8(3).Zeros(3).U8(1)
                                .Raw(VtepEntryWire(0x0a000002, 0))
                                .Zeros(31 * 57)
                                .Take();
    const VxlanGroup deleted{0x40010, true, {}, 0, {0, 0}, {}, {}};
    const Bytes deleteWire = Wire().Tlv(12, 8).U32(0x40010).U16(1).U16(0).Take();
    for (const auto& [group, wire] :
         {std::pair{small, smallWire}, std::pair{large, largeWire}, std::pair{deleted, deleteWire}}) {
        Bytes tlv;
        ASSERT_TRUE(VxlanGroupCodec::Build(group, tlv));
        EXPECT_EQ(tlv, wire);
        VxlanGroup read;
        EXPECT_EQ(VxlanGroupCodec::Read(OnlyTlv(Around(5, wire)), read), "");
        EXPECT_EQ(read, group);
    }
}

TEST(VxlanUpdateVectorTest, GroupAssociationsOfASwitchAndOfARoutingDomain) {
    const Bytes ls = Wire().Tlv(14, 14).U32(7).U32(5000).U16(1).U32(0x40010).Take();
    const Bytes rd = Wire().Tlv(15, 26).U32(7).Raw(kDomain).U16(0).U32(0x40011).Take();
    const VxlanGroupAssociation lsAssociation{false, 7, 5000, {}, true, 0x40010};
    const VxlanGroupAssociation rdAssociation{true, 7, 0, kDomain, false, 0x40011};
    for (const auto& [association, wire] :
         {std::pair{lsAssociation, ls}, std::pair{rdAssociation, rd}}) {
        Bytes tlv;
        ASSERT_TRUE(VxlanGroupAssociationCodec::Build(association, tlv));
        EXPECT_EQ(tlv, wire);
        VxlanGroupAssociation read;
        EXPECT_EQ(VxlanGroupAssociationCodec::Read(OnlyTlv(Around(5, wire)), read), "");
        EXPECT_EQ(read, association);
    }
}

TEST(VxlanUpdateVectorTest, QueryOfMacsAddressesAndNeighbours) {
    const Bytes wire = Around(VXLAN_MSG_QUERY,
                              Wire()
                                  .Tlv(4, 8 + 12).U32(7).U32(5000).Raw(kVmMac).Raw(kVtepMac)
                                  .Tlv(6, 8 + 4).U32(7).U32(5000).U8(10).U8(1).U8(1).U8(5)
                                  .Tlv(7, 8 + 16).U32(7).U32(5000).Raw(kV6)
                                  .Take());
    const std::vector<VxlanQuery> queries{
        {VXLAN_DATATYPE_VMMAC, 7, 5000, {kVmMac, kVtepMac}, {}},
        {VXLAN_DATATYPE_ARPv4, 7, 5000, {}, {VxlanIp{10, 1, 1, 5}}},
        {VXLAN_DATATYPE_NDv6, 7, 5000, {}, {kV6}},
    };
    Bytes built;
    ASSERT_TRUE(VxlanQueryCodec::Build(queries, built));
    EXPECT_EQ(built, wire);
    std::vector<VxlanQuery> read;
    EXPECT_EQ(VxlanQueryCodec::Read(wire, read), "");
    EXPECT_EQ(read, queries);
}

}  // namespace
}  // namespace L2Test
