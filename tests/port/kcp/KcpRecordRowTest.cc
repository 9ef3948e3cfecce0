// Records packed in a row, and where the walk has to stop.

#include <gtest/gtest.h>

#include <vector>

#include "port/kcp/KcpRecordRow.h"
#include "port/kcp/KcpTestSupport.h"

namespace PortTest {
namespace {

using CfgAgent::KcpRecordRow;

std::vector<size_t> Offsets(const Bytes& value, const KcpRecordRow::Layout& layout) {
    std::vector<size_t> offsets;
    KcpRecordRow row(value, layout);
    for (auto record = row.First(); record; record = row.Next(*record)) {
        offsets.push_back(record->offset);
    }
    return offsets;
}

TEST(KcpRecordRowTest, EachSizingStopsAtTheFirstRecordThatDoesNotFit) {
    using Sizing = KcpRecordRow::Sizing;
    const KcpRecordRow::Layout fixed{1, 3, Sizing::kFixed};
    EXPECT_EQ(Offsets(Bytes(8, 0), fixed), (std::vector<size_t>{1, 4}));

    // Head of 4 with its own length at offset 2.
    const KcpRecordRow::Layout sized{0, 4, Sizing::kLengthField, 2};
    EXPECT_EQ(Offsets(Wire().U16(0).U16(6).Zeros(2).U16(0).U16(4).Take(), sized),
              (std::vector<size_t>{0, 6}));
    EXPECT_EQ(Offsets(Wire().U16(0).U16(4).U16(0).U16(9).Zeros(4).Take(), sized),
              (std::vector<size_t>{0}));
    // A length below the head would never move on.
    EXPECT_EQ(Offsets(Wire().U16(0).U16(4).U16(0).U16(0).Zeros(4).Take(), sized),
              (std::vector<size_t>{0}));

    // Head of 2 holding a count of 3-byte entries.
    const KcpRecordRow::Layout counted{0, 2, Sizing::kCounted, 0, 3};
    EXPECT_EQ(Offsets(Wire().U16(1).Zeros(3).U16(0).U16(2).Zeros(5).Take(), counted),
              (std::vector<size_t>{0, 5}));
}

}  // namespace
}  // namespace PortTest
