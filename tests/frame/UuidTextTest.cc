#include "frame/vocabulary/UuidText.h"

#include <gtest/gtest.h>

#include <string>

#include "TestSupport.h"
#include "frame/vocabulary/Uuid.h"
#include "loftdb_common.pb.h"

namespace FrameTest {
namespace {

using halden::zef::loftdb::UuidMsg;

constexpr const char* kText = "01020304-0506-0708-090a-0b0c0d0e0f10";

UuidMsg Sample() {
    UuidMsg uuid;
    uuid.set_left(0x0102030405060708ULL);
    uuid.set_right(0x090a0b0c0d0e0f10ULL);
    return uuid;
}

TEST(UuidTextTest, LeftHalfComesFirstMostSignificantByteFirst) {
    EXPECT_EQ(CfgAgent::UuidToString(Sample()), kText);
}

TEST(UuidTextTest, TextRoundTrips) {
    UuidMsg parsed;
    ASSERT_TRUE(CfgAgent::UuidFromString(kText, parsed));
    EXPECT_EQ(parsed.left(), 0x0102030405060708ULL);
    EXPECT_EQ(parsed.right(), 0x090a0b0c0d0e0f10ULL);

    const std::string high = "fedcba98-7654-3210-f0e1-d2c3b4a59687";
    ASSERT_TRUE(CfgAgent::UuidFromString(high, parsed));
    EXPECT_EQ(CfgAgent::UuidToString(parsed), high);
}

TEST(UuidTextTest, UnparsableTextLeavesTheTargetUntouched) {
    QuietConsole quiet;
    for (const char* bad : {"", "not-a-uuid", "01020304-0506-0708-090a-0b0c0d0e0f1",
                            "0102030g-0506-0708-090a-0b0c0d0e0f10"}) {
        UuidMsg target;
        target.set_left(7);
        EXPECT_FALSE(CfgAgent::UuidFromString(bad, target)) << bad;
        EXPECT_EQ(target.left(), 7u) << bad;
        EXPECT_FALSE(target.has_right()) << bad;
    }
}

TEST(UuidTextTest, SerializedBytes) {
    EXPECT_EQ(CfgAgent::UuidBytesToString(Sample().SerializeAsString()), kText);
    EXPECT_EQ(CfgAgent::UuidBytesToString(std::string("\x00\x01", 2)), "");
    EXPECT_EQ(CfgAgent::UuidBytesToString("\xff\xff\xff"), "");
}

// The value the port road keys by: it must agree with the message form the
// tables key by, whichever way it was made.
TEST(UuidTest, TextMessageAndTableKeyMeetInOneValue) {
    using CfgAgent::Uuid;
    const Uuid fromText = *Uuid::FromText(kText);
    EXPECT_EQ(fromText, Uuid::FromMsg(Sample()));
    EXPECT_EQ(Uuid::FromText("01020304-0506-0708-090A-0B0C0D0E0F10"), fromText) << "case is not identity";
    EXPECT_EQ(fromText.Serialized(), Sample().SerializeAsString());
    EXPECT_EQ(Uuid::FromSerialized(Sample().SerializeAsString()), fromText);
    EXPECT_EQ(fromText.Text(), kText);
    EXPECT_EQ(Uuid(0xfedcba9876543210ULL, 0xf0e1d2c3b4a59687ULL).Text(), "fedcba98-7654-3210-f0e1-d2c3b4a59687");
    EXPECT_LT(Uuid(1, 0xffffffffffffffffULL), Uuid(2, 0)) << "the left half orders first";
    EXPECT_TRUE(Uuid().IsNil());
    QuietConsole quiet;
    EXPECT_FALSE(Uuid::FromText("dvport-12"));
    EXPECT_FALSE(Uuid::FromSerialized("\xff\xff\xff"));
}

}  // namespace
}  // namespace FrameTest
