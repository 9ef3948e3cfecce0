#include "frame/WorkGroup.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>

#include "TestSupport.h"
#include "TimerOwner.h"
#include "frame/IoContexts.h"
#include "frame/WorkItem.h"
#include "zef/metrics/FrequencyCounter.h"
#include "zef/metrics/LatencyCounter.h"
#include "zef/metrics/MetricsRegistry.h"
#include "zef/metrics/UnitCounter.h"

namespace FrameTest {
namespace {

using CfgAgent::WorkGroup;
using zef::metrics::FrequencyCounter;
using zef::metrics::LatencyCounter;
using zef::metrics::UnitCounter;

class FnItem : public CfgAgent::WorkItem {
public:
    explicit FnItem(std::function<void()> fn) : _fn(std::move(fn)) {}
    void Run() override { _fn(); }

private:
    std::function<void()> _fn;
};

std::shared_ptr<CfgAgent::WorkItem> Item(std::function<void()> fn) {
    return std::make_shared<FnItem>(std::move(fn));
}

// Holds the one thread of a group until released.
struct Blocker {
    Signal started;
    Signal release;

    std::shared_ptr<CfgAgent::WorkItem> MakeItem() {
        return Item([this] {
            started.Raise();
            release.WaitFor(1);
        });
    }
};

class WorkGroupTest : public ::testing::Test {
protected:
    template <typename T>
    std::shared_ptr<T> Metric(const char* name) {
        return registry.check_or_create_value<T>(name);
    }
    int64_t Idle() { return Metric<UnitCounter>("work_group/thread/idle_count")->Value(); }

    QuietConsole quiet;
    zef::metrics::MetricsRegistry registry;
};

TEST_F(WorkGroupTest, MetricsFollowEveryItemAndSettleWhenIdle) {
    constexpr int kItems = 40;
    constexpr uint64_t kCount = kItems;
    WorkGroup group(3, -1, registry);
    EXPECT_TRUE(WaitUntil([&] { return Idle() == 3; }));
    Signal ran;
    for (int i = 0; i < kItems; ++i) {
        ASSERT_TRUE(group.Enqueue(Item([&ran] { ran.Raise(); })));
    }
    ASSERT_TRUE(ran.WaitFor(kItems));
    EXPECT_TRUE(WaitUntil([&] { return Idle() == 3; }));
    EXPECT_EQ(Metric<FrequencyCounter>("work_group/queue/enqueue_freq")->Count(), kCount);
    EXPECT_EQ(Metric<FrequencyCounter>("work_group/queue/dequeue_freq")->Count(), kCount);
    EXPECT_EQ(Metric<UnitCounter>("work_group/queue/length")->Value(), 0);
    EXPECT_EQ(Metric<LatencyCounter>("work_group/item/queued_time")->Read().count, kCount);
    EXPECT_EQ(Metric<LatencyCounter>("work_group/item/processing_time")->Read().count, kCount);
    group.Shutdown();
    EXPECT_EQ(ran.Count(), kItems);
}

TEST_F(WorkGroupTest, QueueLengthCountsWaitingItems) {
    Blocker blocker;
    WorkGroup group(1, -1, registry);
    ASSERT_TRUE(group.Enqueue(blocker.MakeItem()));
    ASSERT_TRUE(blocker.started.WaitFor(1));
    ASSERT_TRUE(group.Enqueue(Item([] {})));
    ASSERT_TRUE(group.Enqueue(Item([] {})));
    EXPECT_EQ(Metric<UnitCounter>("work_group/queue/length")->Value(), 2);
    EXPECT_EQ(Idle(), 0);
    blocker.release.Raise();
    EXPECT_TRUE(WaitUntil([&] { return Idle() == 1; }));
    EXPECT_EQ(Metric<UnitCounter>("work_group/queue/length")->Value(), 0);
}

TEST_F(WorkGroupTest, EnqueueFailsAtTheLimit) {
    Blocker blocker;
    WorkGroup group(1, 1, registry);
    ASSERT_TRUE(group.Enqueue(blocker.MakeItem()));
    ASSERT_TRUE(blocker.started.WaitFor(1));
    Signal ran;
    EXPECT_TRUE(group.Enqueue(Item([&ran] { ran.Raise(); })));
    EXPECT_FALSE(group.Enqueue(Item([&ran] { ran.Raise(); })));
    EXPECT_EQ(Metric<FrequencyCounter>("work_group/queue/enqueue_freq")->Count(), 2u);
    blocker.release.Raise();
    ASSERT_TRUE(ran.WaitFor(1));
    EXPECT_TRUE(group.Enqueue(Item([&ran] { ran.Raise(); })));
    EXPECT_TRUE(ran.WaitFor(2));
    group.Shutdown();
    EXPECT_EQ(ran.Count(), 2);
}

TEST_F(WorkGroupTest, ShutdownRunsQueuedItemsBeforeTheThreadsEnd) {
    Blocker blocker;
    WorkGroup group(1, -1, registry);
    ASSERT_TRUE(group.Enqueue(blocker.MakeItem()));
    ASSERT_TRUE(blocker.started.WaitFor(1));
    std::atomic<int> ran{0};
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(group.Enqueue(Item([&ran] { ++ran; })));
    }
    Background shutdown([&] { group.Shutdown(); });
    // Shutdown must be under way before the thread comes back for the rest.
    EXPECT_FALSE(shutdown.Done(kStillBlocked));
    blocker.release.Raise();
    ASSERT_TRUE(shutdown.Done());
    EXPECT_EQ(ran.load(), 3);
    EXPECT_FALSE(group.Enqueue(Item([&ran] { ++ran; }))) << "no thread is left to run it";
}

TEST_F(WorkGroupTest, ShutdownFromItsOwnThreadIsRefused) {
    Signal refused;  // outlives the group, whose thread raises it
    WorkGroup group(1, -1, registry);
    ASSERT_TRUE(group.Enqueue(Item([&] {
        try {
            group.Shutdown();
        } catch (const std::logic_error&) {
            refused.Raise();
        }
    })));
    EXPECT_TRUE(refused.WaitFor(1));
}

TEST_F(WorkGroupTest, ThrowingItemLeavesTheThreadServing) {
    Signal ran;  // outlives the group, whose thread raises it
    WorkGroup group(1, -1, registry);
    ASSERT_TRUE(group.Enqueue(Item([] { throw std::runtime_error("item failed"); })));
    ASSERT_TRUE(group.Enqueue(Item([&ran] { ran.Raise(); })));
    EXPECT_TRUE(ran.WaitFor(1));
}

// The process group; Start and Stop run more than once in this binary.
class ProcessWorkGroupTest : public WorkGroupTest {
protected:
    void TearDown() override {
        Background stop([] { WorkGroup::Stop(); });
        EXPECT_TRUE(stop.Done());
    }
    // Stop must return even though `run` would otherwise wait for the timer.
    void StopWithTimerPending(TimerOwner& owner) {
        owner.timer->Start(60'000'000);
        Background stop([] { WorkGroup::Stop(); });
        EXPECT_TRUE(stop.Done());
        owner.Stop();
    }
};

TEST_F(ProcessWorkGroupTest, TimerContextFiresAndStopReturnsWithATimerPending) {
    EXPECT_EQ(WorkGroup::Instance(), nullptr);
    WorkGroup::SetThreadCounts({1, 3});
    for (int round = 0; round < 2; ++round) {
        WorkGroup::Start(registry);
        ASSERT_NE(WorkGroup::Instance(), nullptr);
        auto probe = std::make_shared<TimerProbe>();
        auto owner = MakeOwner(CfgAgent::IoContexts::Timer(), probe);
        owner->timer->Start(100);
        EXPECT_TRUE(probe->fired.WaitFor(1)) << "round " << round;
        StopWithTimerPending(*owner);
        EXPECT_EQ(WorkGroup::Instance(), nullptr);
    }
}

TEST_F(ProcessWorkGroupTest, WithoutIoThreadsOnlyTheHealthContextRuns) {
    WorkGroup::SetThreadCounts({0, 2});
    WorkGroup::Start(registry);
    auto timerProbe = std::make_shared<TimerProbe>();
    auto healthProbe = std::make_shared<TimerProbe>();
    auto timerOwner = MakeOwner(CfgAgent::IoContexts::Timer(), timerProbe);
    auto healthOwner = MakeOwner(CfgAgent::IoContexts::Health(), healthProbe);
    timerOwner->timer->Start(1);
    healthOwner->timer->Start(20'000);
    EXPECT_TRUE(healthProbe->fired.WaitFor(1));
    EXPECT_EQ(timerProbe->fired.Count(), 0);
    StopWithTimerPending(*healthOwner);
    timerOwner->Stop();
}

}  // namespace
}  // namespace FrameTest
