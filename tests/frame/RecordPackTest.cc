#include "frame/vocabulary/RecordPack.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace CfgAgent;

// Records of every shape a pack must carry: empty and huge values (past a
// block), ids of any length, trace and tenant shared or not.
LoftDBUpdateList RandomRecords(std::mt19937& random, size_t count) {
    LoftDBUpdateList records;
    SharedBytes trace(std::string("span-") + std::to_string(random()));
    for (size_t i = 0; i < count; ++i) {
        LoftDBUpdateMsg record(random() % 90 + 1, std::string(random() % 40, 'i'), random() % 5,
                               random() % 700, std::string());
        const unsigned shape = random() % 100;
        if (shape < 2) {
            record.propertyValue.assign(300 * 1024 + random() % 1000, 'v');
        } else if (shape < 60) {
            record.propertyValue.assign(random() % 64, static_cast<char>(random()));
        }
        if (random() % 3 == 0) {
            record.traceInfo = trace;
        }
        if (random() % 5 == 0) {
            record.tenantContext = SharedBytes(std::string("tenant-") + std::to_string(random() % 3));
        }
        records.push_back(std::move(record));
    }
    return records;
}

TEST(RecordPackTest, RecordsComeOutAsTheyWentInAcrossBlocksAndSplices) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const LoftDBUpdateList first = RandomRecords(random, 3000);
    const LoftDBUpdateList second = RandomRecords(random, 3000);

    RecordPack front;
    front.Append(first);
    RecordPack back;
    back.Append(second);
    // A reader part way into the second pack: the splice carries only what
    // is left of it.
    const size_t read = 1 + random() % 50;
    LoftDBUpdateMsg taken;
    for (size_t i = 0; i < read; ++i) {
        ASSERT_TRUE(back.TakeFront(taken));
    }
    front.Splice(back);
    EXPECT_TRUE(back.Empty());
    EXPECT_FALSE(back.TakeFront(taken));
    ASSERT_EQ(front.Size(), first.size() + second.size() - read);

    LoftDBUpdateList expected = first;
    expected.insert(expected.end(), std::next(second.begin(), static_cast<long>(read)), second.end());
    const LoftDBUpdateList got = front.TakeAll();
    ASSERT_EQ(got.size(), expected.size());
    EXPECT_TRUE(got == expected);
    EXPECT_TRUE(front.Empty());

    // A drained pack takes records again.
    front.Append(first.front());
    ASSERT_TRUE(front.TakeFront(taken));
    EXPECT_EQ(taken, first.front());
}

}  // namespace
