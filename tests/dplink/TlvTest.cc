// The framing underneath every kernel message: TLV rows and fixed texts,
// and where each walk has to stop.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dplink/FixedText.h"
#include "dplink/Tlv.h"
#include "port/kcp/KcpTestSupport.h"

namespace PortTest {
namespace {

using CfgAgent::FixedText;
using CfgAgent::Tlv;

std::vector<uint16_t> TypesInRow(const Bytes& row) {
    std::vector<uint16_t> types;
    for (auto tlv = Tlv::At(row, 0); tlv; tlv = tlv->Next(row)) {
        types.push_back(tlv->Type());
    }
    return types;
}

TEST(TlvTest, HeaderIsBigEndianAndCountsItself) {
    Bytes row(7, 0xee);
    ASSERT_TRUE(Tlv::WriteHeader(row.data(), 0x0102, 7));
    EXPECT_EQ(Bytes(row.begin(), row.begin() + 4), (Bytes{0x01, 0x02, 0x00, 0x07}));

    auto tlv = Tlv::At(row, 0);
    ASSERT_TRUE(tlv);
    EXPECT_EQ(tlv->Type(), 0x0102);
    EXPECT_EQ(tlv->Length(), 7);
    EXPECT_EQ(tlv->ValueLength(), 3u);
    EXPECT_EQ(tlv->Value().data(), row.data() + 4);
    EXPECT_EQ(tlv->End(), 7u);

    EXPECT_FALSE(Tlv::WriteHeader(row.data(), 1, 3));
    EXPECT_FALSE(Tlv::WriteHeader(row.data(), 1, 0x10000));
    EXPECT_TRUE(Tlv::WriteHeader(row.data(), 1, 0xFFFF));
}

TEST(TlvTest, WalkEndsAtTheFirstElementOutOfBoundsAndKeepsWhatCameBefore) {
    const Bytes first = Wire().Tlv(1, 2).U16(0xabcd).Take();
    struct Case {
        const char* name;
        Bytes tail;
        std::vector<uint16_t> types;
    };
    const std::vector<Case> cases = {
        {"exact end", Wire().Tlv(2, 0).Take(), {1, 2}},
        {"truncated header", Bytes{0x00, 0x02, 0x00}, {1}},
        {"length below the header", Wire().U16(2).U16(3).U8(0).Take(), {1}},
        {"zero length", Wire().U16(2).U16(0).Zeros(4).Take(), {1}},
        {"past the end", Wire().Tlv(2, 5).Zeros(4).Take(), {1}},
    };
    for (const Case& c : cases) {
        Bytes row = first;
        row.insert(row.end(), c.tail.begin(), c.tail.end());
        EXPECT_EQ(TypesInRow(row), c.types) << c.name;
    }
    EXPECT_TRUE(TypesInRow(Bytes{}).empty());
    EXPECT_FALSE(Tlv::At(first, first.size()));
}

TEST(FixedTextTest, WriterPadsWithNulAndAlwaysEndsTheField) {
    Bytes field(8, 0xaa);
    FixedText::Write(field.data(), field.size(), "abc");
    EXPECT_EQ(field, (Bytes{'a', 'b', 'c', 0, 0, 0, 0, 0}));

    FixedText::Write(field.data(), field.size(), "abcdefgh");
    EXPECT_EQ(field, (Bytes{'a', 'b', 'c', 'd', 'e', 'f', 'g', 0}));

    FixedText::Write(field.data(), field.size(), "abcdefghijk");
    EXPECT_EQ(field, (Bytes{'a', 'b', 'c', 'd', 'e', 'f', 'g', 0}));
}

TEST(FixedTextTest, ReaderStopsAtTheFirstNulOrTheWidth) {
    const Bytes field{'a', 'b', 0, 'c', 'd'};
    EXPECT_EQ(FixedText::Read(field.data(), field.size()), "ab");
    const Bytes full{'v', 'i', 'f', '1'};
    EXPECT_EQ(FixedText::Read(full.data(), full.size()), "vif1");
    EXPECT_EQ(FixedText::Read(full.data(), 0), "");
}

}  // namespace
}  // namespace PortTest
