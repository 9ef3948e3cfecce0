// The dump: field names as the log reader knows them, the texts for what it
// does not know, and never more than 512 bytes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "l2/codec/VxlanDump.h"
#include "l2/codec/VxlanTypes.h"
#include "l2/codec/VxlanTestSupport.h"

namespace L2Test {
namespace {

using namespace CfgAgent;
using ::testing::HasSubstr;
using ::testing::StartsWith;

Bytes VtepWithEncap(uint8_t encap) {
    return Around(VXLAN_MSG_UPDATE, Wire()
                                        .Tlv(5, 10 + 57)
                                        .U32(7).U32(5000).U16(0)
                                        .U8(10).U8(0).U8(0).U8(1).U32(1).U32(0).Zeros(6)
                                        .U8(encap).U8(1).Zeros(1).Raw(Host32(1)).Zeros(32)
                                        .Take());
}

TEST(VxlanDumpTest, EncapTypesByNameAndAnyOtherAsInvalid) {
    EXPECT_THAT(VxlanDump::Render(VtepWithEncap(0)), HasSubstr("encap:vxlan,"));
    EXPECT_THAT(VxlanDump::Render(VtepWithEncap(1)), HasSubstr("encap:vxstt,"));
    EXPECT_THAT(VxlanDump::Render(VtepWithEncap(2)), HasSubstr("encap:geneve,"));
    EXPECT_THAT(VxlanDump::Render(VtepWithEncap(3)), HasSubstr("encap:invalid,"));
    EXPECT_THAT(VxlanDump::Render(VtepWithEncap(0xff)), HasSubstr("encap:invalid,"));
}

TEST(VxlanDumpTest, UpdatesAndMembershipByTheirFieldNames) {
    const Bytes mac = Around(VXLAN_MSG_UPDATE, Wire()
                                                   .Tlv(4, 10 + 80)
                                                   .U32(7).U32(5000).U16(1)
                                                   .Zeros(20).Raw(Host32(1)).Zeros(16)
                                                   .Zeros(20).Raw(Host32(1)).Zeros(16)
                                                   .Take());
    const std::string text = VxlanDump::Render(mac);
    EXPECT_THAT(text, StartsWith("VXLAN Message\n"));
    EXPECT_THAT(text, HasSubstr("\tVM MAC Update: len = 94\n"));
    EXPECT_THAT(text, HasSubstr("\tNum of removed entries: 1\n"));
    EXPECT_THAT(text, HasSubstr("\tNum of added entries: 1"));
    const Bytes join{0, 3, 0, 13, 0, 0, 0, 7, 0, 0, 0x13, 0x88, 1};
    EXPECT_THAT(VxlanDump::Render(join), HasSubstr("\tSwitchID:7, VNI:5000, OP:Join"));
    const Bytes bfd = Around(VXLAN_MSG_UPDATE, Wire().Tlv(11, 6).U32(7).U16(0).Take());
    EXPECT_THAT(VxlanDump::Render(bfd), HasSubstr("\tBFD Session Update: len = 10\n"));
    EXPECT_THAT(VxlanDump::Render(Bytes{0, 0x0c, 0, 9, 0, 1, 0, 5, 0}),
                HasSubstr("\tOutOfSync Report: false\n"));
}

TEST(VxlanDumpTest, WhatItDoesNotKnowItSaysSo) {
    EXPECT_THAT(VxlanDump::Render(Bytes{0, 99, 0, 4}), HasSubstr("Unsupported message type 99, len 4"));
    EXPECT_THAT(VxlanDump::Render(Around(5, Wire().Tlv(99, 0).Take())),
                HasSubstr("\tUpdate: unsupported data type 99, len 4"));
    EXPECT_THAT(VxlanDump::Render(Around(6, Wire().Tlv(9, 8).U32(7).U32(1).Take())),
                HasSubstr("\tQuery: unsupported data type 9, len 12"));
    EXPECT_THAT(VxlanDump::Render(Around(2, Wire().Tlv(2, 2).U16(1).Take())),
                HasSubstr("\tConfigure: unsupported item type 2, len 6"));
    EXPECT_THAT(VxlanDump::Render(Bytes{0, 0x0c, 0, 9, 0, 2, 0, 5, 1}),
                HasSubstr("\tState report: unsupported data type 2, len 5\n"));
    EXPECT_THAT(VxlanDump::Render(Bytes{0, 0x0b, 0, 8, 0, 3, 0, 4}),
                HasSubstr("\tState query: unsupported data type 3, len 4\n"));
    // A data TLV its codec refuses is named, not read.
    EXPECT_THAT(VxlanDump::Render(Around(5, Wire().Tlv(2, 9).Zeros(9).Take())),
                HasSubstr("\tinvalid VXLAN_DATATYPE_IPv4 message length 13\n"));
}

TEST(VxlanDumpTest, StopsQuietlyAtFiveHundredTwelveBytes) {
    Wire row;
    row.Tlv(4, 10 + 40 * 40).U32(7).U32(5000).U16(0);
    for (int i = 0; i < 40; ++i) {
        row.Zeros(20).Raw(Host32(1)).Zeros(16);
    }
    const Bytes big = Around(VXLAN_MSG_UPDATE, row.Take());
    const std::string text = VxlanDump::Render(big);
    EXPECT_EQ(text.size(), VxlanDump::kMaxText);
    EXPECT_THAT(text, StartsWith("VXLAN Message\nMessage type: Update, len 1618\n"));
}

}  // namespace
}  // namespace L2Test
