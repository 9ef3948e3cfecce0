// Session control, Query, Init and Notification messages against vectors
// written from their layouts.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "port/kcp/KcpTestSupport.h"
#include "port/kcp/KcpInitCodec.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpNotificationCodec.h"
#include "port/kcp/KcpQueryCodec.h"
#include "port/kcp/KcpSessionCodec.h"
#include "port/kcp/KcpTypes.h"

namespace PortTest {
namespace {

using namespace CfgAgent;

const std::string k48(48, 'v');

TEST(KcpSessionTest, SessionOpenIsFifteenBytesWithTheMaxLength) {
    const Bytes expected{0x00, 0x05, 0x00, 0x0f, 0x00, 0x01, 0x00, 0x0b,
                         0x01, 0xde, 0xad, 0xbe, 0xef, 0x28, 0x00};
    EXPECT_EQ(KcpSessionCodec::Build(KCP_SESSION_OPEN, 0xdeadbeef), expected);

    KcpSessionControl control;
    ASSERT_TRUE(KcpSessionCodec::Read(expected, control));
    EXPECT_EQ(control, (KcpSessionControl{KCP_SESSION_OPEN, 0xdeadbeef, 10240}));
}

TEST(KcpSessionTest, ReaderRefusesWhatIsNotAWholeSessionControl) {
    KcpSessionControl control;
    const Bytes good = KcpSessionCodec::Build(KCP_SESSION_CLOSE, 1);
    EXPECT_FALSE(KcpSessionCodec::Read(Bytes(good.begin(), good.end() - 1), control));
    EXPECT_FALSE(KcpSessionCodec::Read(Wire().U16(5).U16(14).Tlv(1, 6).Zeros(6).Take(), control));
    EXPECT_FALSE(KcpSessionCodec::Read(Wire().U16(5).U16(15).Tlv(2, 7).Zeros(7).Take(), control));
    EXPECT_FALSE(KcpSessionCodec::Read(Wire().U16(4).U16(15).Tlv(1, 7).Zeros(7).Take(), control));
    EXPECT_FALSE(KcpSessionCodec::Read(Wire().U16(5).U16(4).Take(), control));
}

TEST(KcpQueryTest, StatusQueryIsTheEightFixedBytes) {
    const Bytes expected{0x00, 0x04, 0x00, 0x08, 0x00, 0x01, 0x00, 0x04};
    EXPECT_EQ(KcpQueryCodec::BuildStatusQuery(), expected);
    std::vector<uint16_t> types;
    ASSERT_TRUE(KcpQueryCodec::Read(expected, types));
    EXPECT_EQ(types, std::vector<uint16_t>{KCP_QUERY_DP_STATUS});
    EXPECT_FALSE(KcpQueryCodec::Read(KcpSessionCodec::Build(KCP_SESSION_OPEN, 1), types));
}

TEST(KcpInitTest, MaxMessageLengthIsOneSixteenBitTlv) {
    Bytes message;
    ASSERT_TRUE(KcpInitCodec::Build(KcpInit{4096}, message));
    EXPECT_EQ(message, Wire().U16(1).U16(10).Tlv(1, 2).U16(4096).Take());
    KcpInit init;
    ASSERT_TRUE(KcpInitCodec::Read(message, init));
    EXPECT_EQ(init.maxMessageLength, 4096);

    ASSERT_TRUE(KcpInitCodec::Build(KcpInit{}, message));
    EXPECT_EQ(message, (Bytes{0x00, 0x01, 0x00, 0x04}));
    ASSERT_TRUE(KcpInitCodec::Read(message, init));
    EXPECT_FALSE(init.maxMessageLength);

    // An unknown TLV is passed over; a max length too short to hold its number ends the walk.
    const Bytes mixed = Wire().U16(1).U16(19).Tlv(9, 1).U8(0).Tlv(1, 2).U16(7).Tlv(1, 0).Take();
    ASSERT_TRUE(KcpInitCodec::Read(mixed, init));
    EXPECT_EQ(init.maxMessageLength, 7);
}

TEST(KcpNotificationTest, TextsAreCutAtTheFieldWidth) {
    Bytes message;
    ASSERT_TRUE(KcpNotificationCodec::Build(
        {{KCP_NOTIFY_PORT_PROPERTY_OUT_OF_SYNC, 0, k48, 0},
         {KCP_NOTIFY_TAKNIC_PROPERTY_OUT_OF_SYNC, 0, "0123456789abcdefXYZ", 0}},
        message));
    EXPECT_EQ(message[8 + 46], 'v');
    EXPECT_EQ(message[8 + 47], 0);
    std::vector<KcpNotification> read;
    ASSERT_TRUE(KcpNotificationCodec::Read(message, read));
    ASSERT_EQ(read.size(), 2u);
    EXPECT_EQ(read[0].id, std::string(47, 'v'));
    EXPECT_EQ(read[1].id, "0123456789abcde");
}

TEST(KcpNotificationTest, ShortValuesEndTheWalkAndUnknownTypesAreKept) {
    // A text shorter than its width is the whole text.
    const Bytes shortText = Wire().U16(3).U16(4 + 7).Tlv(2, 3).U8('a').U8('b').U8('c').Take();
    std::vector<KcpNotification> read;
    ASSERT_TRUE(KcpNotificationCodec::Read(shortText, read));
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(read[0].id, "abc");

    const Bytes message = Wire()
                              .U16(3)
                              .U16(4 + 5 + 6 + 52 + 5)
                              .Tlv(1, 1)
                              .U8(0)
                              .Tlv(77, 2)
                              .U16(0)
                              .Tlv(4, 48)
                              .Text("vif", 48)
                              .Tlv(1, 1)
                              .U8(1)
                              .Take();
    ASSERT_TRUE(KcpNotificationCodec::Read(message, read));
    ASSERT_EQ(read.size(), 2u);
    EXPECT_EQ(read[0], (KcpNotification{KCP_NOTIFY_DP_STATUS, 0, "", 0}));
    EXPECT_EQ(read[1].type, 77);
}

TEST(KcpMessageTest, DataTlvsLieWithinTheMessageLength) {
    // A message of length 4 holds no data TLV, whatever follows it.
    const Bytes four = Wire().U16(3).U16(4).Tlv(1, 1).U8(1).Take();
    EXPECT_FALSE(KcpMessage::FirstData(four));
    std::vector<KcpNotification> read{{}};
    ASSERT_TRUE(KcpNotificationCodec::Read(four, read));
    EXPECT_TRUE(read.empty());

    // A length beyond the bytes at hand makes the message unreadable.
    const Bytes claimsMore = Wire().U16(3).U16(20).Tlv(1, 1).U8(1).Take();
    EXPECT_FALSE(KcpMessage::Header(claimsMore));
    EXPECT_FALSE(KcpNotificationCodec::Read(claimsMore, read));
    EXPECT_FALSE(KcpNotificationCodec::Read(Bytes{0x00, 0x03, 0x00}, read));
}

}  // namespace
}  // namespace PortTest
