#include "frame/MsgQueue.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <thread>
#include <vector>

#include "TestSupport.h"

namespace FrameTest {
namespace {

using Queue = CfgAgent::MsgQueue<int>;

class MsgQueueTest : public ::testing::Test {
protected:
    QuietConsole quiet;
};

TEST_F(MsgQueueTest, UnlimitedQueueTakesEverythingInOrder) {
    Queue queue(Queue::kNoLimit, true, true);
    for (int i = 0; i < 10000; ++i) {
        ASSERT_TRUE(queue.Put(i));
    }
    EXPECT_EQ(queue.Size(), 10000u);
    for (int i = 0; i < 10000; ++i) {
        ASSERT_EQ(queue.Get(), i);
    }
}

TEST_F(MsgQueueTest, NonBlockingFullQueueRefusesThePut) {
    Queue queue(2, false, false);
    EXPECT_TRUE(queue.Put(1));
    EXPECT_TRUE(queue.Put(2));
    EXPECT_FALSE(queue.Put(3));
    EXPECT_EQ(queue.Size(), 2u);
    EXPECT_EQ(queue.Get(), 1);
    EXPECT_TRUE(queue.Put(3));
}

TEST_F(MsgQueueTest, BlockingPutWaitsForAGet) {
    Queue queue(1, true, true);
    ASSERT_TRUE(queue.Put(1));
    bool put = false;
    Background putter([&] { put = queue.Put(2); });
    EXPECT_FALSE(putter.Done(kStillBlocked));
    EXPECT_EQ(queue.Size(), 1u);
    EXPECT_EQ(queue.Get(), 1);
    ASSERT_TRUE(putter.Done());
    EXPECT_TRUE(put);
    EXPECT_EQ(queue.Get(), 2);
}

TEST_F(MsgQueueTest, BlockingGetSleepsUntilThePut) {
    Queue queue(Queue::kNoLimit, true, true);
    std::optional<int> got;
    Background getter([&] { got = queue.Get(); });
    EXPECT_FALSE(getter.Done(kStillBlocked));
    ASSERT_TRUE(queue.Put(7));
    ASSERT_TRUE(getter.Done());
    EXPECT_EQ(got, 7);
}

TEST_F(MsgQueueTest, StopReleasesWaitingGettersAndLaterGetsReturnAtOnce) {
    Queue queue(Queue::kNoLimit, true, true);
    std::optional<int> first = 1;
    std::optional<int> second = 2;
    Background getter1([&] { first = queue.Get(); });
    Background getter2([&] { second = queue.Get(); });
    EXPECT_FALSE(getter1.Done(kStillBlocked));
    Background stopper([&] { queue.Stop(); });
    ASSERT_TRUE(stopper.Done());
    ASSERT_TRUE(getter1.Done());
    ASSERT_TRUE(getter2.Done());
    EXPECT_EQ(first, std::nullopt);
    EXPECT_EQ(second, std::nullopt);

    std::optional<int> late = 3;
    Background lateGetter([&] { late = queue.Get(); });
    ASSERT_TRUE(lateGetter.Done());
    EXPECT_EQ(late, std::nullopt);
}

TEST_F(MsgQueueTest, StopReleasesWaitingPuttersAndRefusesLaterPuts) {
    Queue queue(1, true, true);
    ASSERT_TRUE(queue.Put(1));
    bool put = true;
    Background putter([&] { put = queue.Put(2); });
    EXPECT_FALSE(putter.Done(kStillBlocked));
    Background stopper([&] { queue.Stop(); });
    ASSERT_TRUE(stopper.Done());
    ASSERT_TRUE(putter.Done());
    EXPECT_FALSE(put);
    EXPECT_FALSE(queue.Put(3));
    EXPECT_EQ(queue.Size(), 1u);
}

TEST_F(MsgQueueTest, ManyProducersOneConsumerKeepEveryItemInProducerOrder) {
    constexpr int kProducers = 4;
    constexpr int kEach = 2000;
    Queue queue(8, true, true);
    std::vector<std::thread> producers;
    for (int p = 0; p < kProducers; ++p) {
        producers.emplace_back([&queue, p] {
            for (int i = 0; i < kEach; ++i) {
                queue.Put(p * kEach + i);
            }
        });
    }
    std::map<int, int> next;  // producer -> next expected sequence number
    int received = 0;
    Background consumer([&] {
        for (; received < kProducers * kEach; ++received) {
            std::optional<int> item = queue.Get();
            if (!item) {
                return;
            }
            const int producer = *item / kEach;
            if (next[producer] != *item % kEach) {
                return;
            }
            ++next[producer];
        }
    });
    const bool finished = consumer.Done();
    if (!finished || received != kProducers * kEach) {
        queue.Stop();  // lets blocked producers go, so that the case fails instead of hanging
    }
    for (std::thread& producer : producers) {
        producer.join();
    }
    ASSERT_TRUE(finished);
    EXPECT_EQ(received, kProducers * kEach);
    EXPECT_EQ(queue.Size(), 0u);
}

}  // namespace
}  // namespace FrameTest
