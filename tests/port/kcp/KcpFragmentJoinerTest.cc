#include "port/kcp/KcpFragmentJoiner.h"

#include <gtest/gtest.h>

#include "dplink/BigEndian.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpVifUpdateCodec.h"

namespace PortTest {
namespace {

using namespace CfgAgent;
using Message = KcpFragmentJoiner::Message;

// One part as the kernel sends it: the VIF record head and one MAC property
// holding `macs` addresses, each byte of which is `fill`.
Message Part(size_t macs, uint8_t fill, bool more) {
    KcpVifRecord record;
    record.vifId = "vif-split";
    record.portId = "port-split";
    record.vifType = KCP_VIF_VNIC;
    record.macs.assign(macs, KcpMac{fill, fill, fill, fill, fill, fill});
    KcpVifUpdate update;
    update.operation = KCP_OP_UPDATE;
    update.records.push_back(record);
    Message message;
    EXPECT_TRUE(KcpVifUpdateCodec::BuildMessage(update, more, message));
    return message;
}

TEST(KcpFragmentJoiner, KeepsTheFirstHeadAndJoinsThePropertyValuesWithLengthsFixed) {
    const Message first = Part(2, 0x11, true);
    const Message second = Part(1, 0x22, true);
    const Message last = Part(3, 0x33, false);
    const Message joined = KcpFragmentJoiner::Join({first, second, last});

    const size_t total = 223 + 4 + 6 * 6;
    ASSERT_EQ(joined.size(), total);
    EXPECT_EQ(BigEndian::Get16(joined.data() + 2), total);
    EXPECT_EQ(joined[4], 0) << "the more bit is cleared";
    EXPECT_EQ(BigEndian::Get16(joined.data() + 7), total - 5) << "data TLV length";
    EXPECT_EQ(BigEndian::Get16(joined.data() + 221), total - 10) << "VIF record length";
    EXPECT_TRUE(std::equal(joined.begin() + 9, joined.begin() + 221, first.begin() + 9));
    EXPECT_EQ(BigEndian::Get16(joined.data() + 223), KCP_VIF_MAC);
    EXPECT_EQ(BigEndian::Get16(joined.data() + 225), 4 + 36);
    EXPECT_EQ(joined[227], 0x11);
    EXPECT_EQ(joined[227 + 12], 0x22);
    EXPECT_EQ(joined[total - 1], 0x33);

    // What the session reads from it: one record with all six addresses.
    KcpVifUpdate update;
    ASSERT_TRUE(KcpVifUpdateCodec::Decode({joined.data() + 9, joined.size() - 9}, update));
    ASSERT_EQ(update.records.size(), 1u);
    EXPECT_EQ(update.records[0].macs.size(), 6u);
    EXPECT_EQ(update.records[0].vifId, "vif-split");
}

TEST(KcpFragmentJoiner, RefusesPartsItCannotJoin) {
    // 223 + 4 + 6 * 10884 = 65531, one byte over the limit.
    const Message big = Part(10883, 1, true);
    const Message small = Part(1, 2, false);
    EXPECT_TRUE(KcpFragmentJoiner::Join({big, small}).empty());
    Message headOnly = Part(1, 3, true);
    headOnly.resize(KcpFragmentJoiner::kHeadSize + 2);
    EXPECT_TRUE(KcpFragmentJoiner::Join({headOnly, small}).empty());
    EXPECT_TRUE(KcpFragmentJoiner::Join({}).empty());
}

TEST(KcpFragmentJoiner, AJoinJustUnderTheLimitIsMade) {
    // 223 + 4 + 6 * 10883 = 65525, within 65530.
    const Message joined = KcpFragmentJoiner::Join({Part(10882, 1, true), Part(1, 2, false)});
    EXPECT_EQ(joined.size(), 65525u);
}

}  // namespace
}  // namespace PortTest
