#include "frame/vocabulary/UuidText.h"

#include <gtest/gtest.h>

#include <string>

#include "TestSupport.h"
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

}  // namespace
}  // namespace FrameTest
