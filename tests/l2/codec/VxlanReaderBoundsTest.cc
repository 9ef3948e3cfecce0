// What a strict reader refuses and what a builder will not make: values that
// cannot hold their head, rows that end inside an entry, counts beyond what
// is there, and messages past 65535 bytes.

#include <gtest/gtest.h>

#include "l2/codec/VxlanConfigureCodec.h"
#include "l2/codec/VxlanControlCodec.h"
#include "l2/codec/VxlanGroupCodec.h"
#include "l2/codec/VxlanIpUpdateCodec.h"
#include "l2/codec/VxlanMacUpdateCodec.h"
#include "l2/codec/VxlanQueryCodec.h"
#include "l2/codec/VxlanTepStateCodec.h"
#include "l2/codec/VxlanTypes.h"
#include "l2/codec/VxlanUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"
#include "l2/codec/VxlanTestSupport.h"

namespace L2Test {
namespace {

using namespace CfgAgent;

std::string ReadIp(const Bytes& tlv) {
    VxlanIpUpdate update;
    return VxlanIpUpdateCodec::Read(OnlyTlv(Around(VXLAN_MSG_UPDATE, tlv)), update);
}

TEST(VxlanUpdateBoundsTest, VmIpValueUnderTenBytesHasNoHeadAndIsRefused) {
    EXPECT_EQ(ReadIp(Wire().Tlv(2, 9).U32(7).U32(5000).U8(0).Take()),
              "VXLAN_DATATYPE_IPv4 of 13 bytes cannot hold its 14-byte head");
    EXPECT_NE(ReadIp(Wire().Tlv(2, 0).Take()), "");
    // Ten bytes are a head alone: nothing removed, nothing added.
    VxlanIpUpdate update;
    EXPECT_EQ(VxlanIpUpdateCodec::Read(
                  OnlyTlv(Around(5, Wire().Tlv(2, 10).U32(7).U32(5000).U16(0).Take())), update),
              "");
    EXPECT_TRUE(update.removed.empty() && update.added.empty());
}

TEST(VxlanUpdateBoundsTest, EntriesMustBeWholeAndRemovalsCounted) {
    EXPECT_EQ(ReadIp(Wire().Tlv(2, 10 + 15).U32(7).U32(5000).U16(0).Zeros(15).Take()),
              "VXLAN_DATATYPE_IPv4 of 29 bytes ends inside an entry of 10 bytes");
    EXPECT_EQ(ReadIp(Wire().Tlv(2, 10 + 20).U32(7).U32(5000).U16(3).Zeros(20).Take()),
              "VXLAN_DATATYPE_IPv4 removes 3 entries of 2");
    // A v6 entry is 22 bytes, so 20 bytes of entries do not fit it.
    EXPECT_NE(ReadIp(Wire().Tlv(3, 10 + 20).U32(7).U32(5000).U16(0).Zeros(20).Take()), "");
    VxlanVtepUpdate vteps;
    EXPECT_EQ(VxlanVtepUpdateCodec::Read(
                  OnlyTlv(Around(5, Wire().Tlv(5, 10 + 56).U32(7).U32(1).U16(0).Zeros(56).Take())),
                  vteps),
              "VXLAN_DATATYPE_VTEP_MBR of 70 bytes ends inside an entry of 57 bytes");
    // A reader of one type does not take another's TLV.
    VxlanMacUpdate macs;
    EXPECT_NE(VxlanMacUpdateCodec::Read(
                  OnlyTlv(Around(5, Wire().Tlv(5, 10).U32(7).U32(1).U16(0).Take())), macs),
              "");
}

TEST(VxlanUpdateBoundsTest, RowOverrunIsReportedAndTheTlvsBeforeItKept) {
    const Bytes first = Wire().Tlv(2, 10).U32(7).U32(1).U16(0).Take();
    // The second TLV claims 40 bytes where 8 remain.
    Bytes row = first;
    const Bytes second = Wire().U16(4).U16(40).Zeros(4).Take();
    row.insert(row.end(), second.begin(), second.end());
    std::vector<Tlv> read;
    EXPECT_EQ(VxlanUpdateCodec::Read(Around(5, row), read),
              "TLV at offset 18 overruns the message of 26 bytes");
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(read[0].Type(), 2);
    // A frame that says more or less than arrived is refused whole.
    Bytes longer = Around(5, first);
    longer.push_back(0);
    EXPECT_EQ(VxlanUpdateCodec::Read(longer, read), "length field 18 does not match the 19 bytes framed");
    EXPECT_NE(VxlanUpdateCodec::Read(Bytes{0, 5, 0, 40, 0, 0}, read), "");
    EXPECT_NE(VxlanUpdateCodec::Read(Around(6, first), read), "");
}

TEST(VxlanUpdateBoundsTest, BuildersRefuseWhatWouldPassTheLengthField) {
    // 14 + 40 x 1638 = 65534 fits; one more entry does not.
    VxlanMacUpdate update;
    update.added.resize(1638);
    Bytes tlv;
    ASSERT_TRUE(VxlanMacUpdateCodec::Build(update, tlv));
    EXPECT_EQ(tlv.size(), 65534u);
    update.removed.resize(1);
    EXPECT_FALSE(VxlanMacUpdateCodec::Build(update, tlv));
    // The message around it has 4 bytes more to find room for.
    update.removed.clear();
    ASSERT_TRUE(VxlanMacUpdateCodec::Build(update, tlv));
    Bytes message;
    EXPECT_FALSE(VxlanUpdateCodec::Build({tlv}, message));
}

TEST(VxlanUpdateBoundsTest, PackKeepsOrderAndEveryMessageWithinTheLimit) {
    std::vector<Bytes> row;
    for (uint8_t i = 0; i < 5; ++i) {
        row.push_back(Wire().Tlv(2, 10 + 10 * i).U32(i).U32(1).U16(0).Zeros(10 * i).Take());
    }
    std::vector<Bytes> messages;
    ASSERT_TRUE(VxlanUpdateCodec::Pack(row, 60, messages));
    // 14+24 | 34 | 44 | 54: the first two share a message, the rest go alone.
    ASSERT_EQ(messages.size(), 4u);
    std::vector<uint32_t> order;
    for (const Bytes& message : messages) {
        EXPECT_LE(message.size(), 60u);
        std::vector<Tlv> read;
        EXPECT_EQ(VxlanUpdateCodec::Read(message, read), "");
        for (const Tlv& data : read) {
            order.push_back(data.Value()[3]);
        }
    }
    EXPECT_EQ(order, (std::vector<uint32_t>{0, 1, 2, 3, 4}));
    EXPECT_FALSE(VxlanUpdateCodec::Pack(row, 57, messages));
}

TEST(VxlanGroupBoundsTest, LengthMustMatchTheKindAndEntriesItsRoom) {
    VxlanGroup group;
    const auto read = [&group](const Bytes& tlv) {
        return VxlanGroupCodec::Read(OnlyTlv(Around(5, tlv)), group);
    };
    // A kind 1 group in the room of a kind 3 one.
    EXPECT_EQ(read(Wire().Tlv(12, 1841).U32(1).U16(0).U16(0).Zeros(4).U8(1).Zeros(1828).Take()),
              "VXLAN_DATATYPE_VTEP_GROUP of kind 1 is 597 bytes, not 1845");
    EXPECT_EQ(read(Wire().Tlv(12, 593).U32(1).U16(0).U16(0).Zeros(4).U8(1).Zeros(3).U8(17)
                       .Zeros(576).Take()),
              "VXLAN_DATATYPE_VTEP_GROUP of kind 1 holds 17 entries, more than 16");
    EXPECT_EQ(read(Wire().Tlv(12, 8).U32(1).U16(2).U16(0).Take()),
              "VXLAN_DATATYPE_VTEP_GROUP delete flag 2 is neither 0 nor 1");
    EXPECT_NE(read(Wire().Tlv(12, 12).U32(1).U16(1).U16(0).Zeros(4).Take()), "");
    EXPECT_NE(read(Wire().Tlv(12, 7).U32(1).U16(1).U8(0).Take()), "");
    // Values counted past the end leave no room for the block.
    EXPECT_NE(read(Wire().Tlv(12, 593).U32(1).U16(0).U16(200).Zeros(585).Take()), "");

    VxlanGroup tooMany;
    tooMany.kind = 1;
    tooMany.members.resize(17);
    Bytes tlv;
    EXPECT_FALSE(VxlanGroupCodec::Build(tooMany, tlv));
    tooMany.members.resize(16);
    EXPECT_TRUE(VxlanGroupCodec::Build(tooMany, tlv));
    // Member entries do not go in a group of whole VTEP entries.
    tooMany.kind = VXLAN_GROUP_KIND_VTEP;
    EXPECT_FALSE(VxlanGroupCodec::Build(tooMany, tlv));
}

TEST(VxlanControlBoundsTest, FixedMessagesMustBeTheirExactLength) {
    VxlanVniMembership membership;
    EXPECT_EQ(VxlanControlCodec::ReadVniMembership(
                  Bytes{0, 3, 0, 12, 0, 0, 0, 7, 0, 0, 0x13, 0x88}, membership),
              "VNI membership change is 13 bytes, not 12");
    VxlanLinkChange change;
    EXPECT_EQ(VxlanControlCodec::ReadLinkChange(
                  Bytes{0, 4, 0, 12, 0, 0, 0, 7, 0, 0, 0, 1}, change),
              "Link change of 12 bytes is not 9 and whole 6-byte entries");
    VxlanTepState state;
    EXPECT_EQ(VxlanTepStateCodec::Read(Wire().U16(17).U16(113).Tlv(1, 105).Zeros(105).Take(), state),
              "TEP state value of 105 bytes is shorter than 106");
    EXPECT_EQ(VxlanTepStateCodec::Read(Wire().U16(17).U16(114).Tlv(4, 106).Zeros(106).Take(), state),
              "unsupported TEP state data type 4");
    std::vector<VxlanConfigureItem> items;
    EXPECT_EQ(VxlanConfigureCodec::Read(Around(2, Wire().Tlv(1, 4).U32(4085).Take()), items),
              "configure item 1 is 6 bytes, not 8");
    EXPECT_EQ(VxlanConfigureCodec::Read(Around(2, Wire().Tlv(1, 2).U16(4085).Tlv(2, 2).U16(1).Take()),
                                        items),
              "unsupported configure item type 2");
    EXPECT_EQ(items.size(), 1u);
    std::vector<VxlanQuery> queries;
    EXPECT_EQ(VxlanQueryCodec::Read(Around(6, Wire().Tlv(4, 8 + 5).U32(7).U32(1).Zeros(5).Take()),
                                    queries),
              "VXLAN_DATATYPE_VMMAC of 17 bytes ends inside an entry of 6 bytes");
    EXPECT_EQ(VxlanQueryCodec::Read(Around(6, Wire().Tlv(5, 8).U32(7).U32(1).Take()), queries),
              "unsupported query data type 5");
}

}  // namespace
}  // namespace L2Test
