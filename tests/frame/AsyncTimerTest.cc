#include "frame/AsyncTimer.h"

#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <limits>

#include "TestSupport.h"
#include "TimerOwner.h"

namespace FrameTest {
namespace {

constexpr uint64_t kLong = 10'000'000;  // 10 s in microseconds: never reached by a passing case

// The context runs on the test thread: `run` returns once no wait
// is left, so "did not fire" needs no waiting at all.
class AsyncTimerTest : public ::testing::Test {
protected:
    void RunToEnd() {
        context.restart();
        context.run();
    }

    QuietConsole quiet;
    std::shared_ptr<TimerProbe> probe = std::make_shared<TimerProbe>();
    boost::asio::io_context context;
};

TEST_F(AsyncTimerTest, FiresOnceAfterStart) {
    auto owner = MakeOwner(context, probe);
    owner->timer->Start(1);
    RunToEnd();
    EXPECT_EQ(probe->Ids(), std::vector<uint64_t>{TimerOwner::Timer::kNoId});
    owner->Stop();
}

TEST_F(AsyncTimerTest, IdVariantPassesTheId) {
    auto owner = MakeOwner(context, probe, 42);
    owner->timer->Start(1);
    RunToEnd();
    EXPECT_EQ(probe->Ids(), std::vector<uint64_t>{42});
    owner->Stop();
}

TEST_F(AsyncTimerTest, CancelBeforeExpiryPreventsTheCallback) {
    auto owner = MakeOwner(context, probe);
    owner->timer->Start(kLong);
    owner->timer->Cancel();
    RunToEnd();
    EXPECT_EQ(probe->fired.Count(), 0);
    owner->Stop();
}

TEST_F(AsyncTimerTest, StartAfterCancelFires) {
    auto owner = MakeOwner(context, probe);
    owner->timer->Start(kLong);
    owner->timer->Cancel();
    owner->timer->Start(1);
    RunToEnd();
    EXPECT_EQ(probe->fired.Count(), 1);
    owner->Stop();
}

TEST_F(AsyncTimerTest, StartFromTheCallbackMakesItPeriodic) {
    auto owner = MakeOwner(context, probe);
    owner->onFire = [this](TimerOwner& self) {
        if (probe->fired.Count() < 3) {
            self.timer->Start(1);
        }
    };
    owner->timer->Start(1);
    RunToEnd();
    EXPECT_EQ(probe->fired.Count(), 3);
    owner->Stop();
}

TEST_F(AsyncTimerTest, ClosedTimerNeverFiresEvenAfterStart) {
    auto owner = MakeOwner(context, probe);
    owner->timer->Close();
    owner->timer->Start(1);
    RunToEnd();
    EXPECT_TRUE(owner->timer->IsClosed());
    EXPECT_EQ(probe->fired.Count(), 0);
    owner->Stop();
}

TEST_F(AsyncTimerTest, StartBeforeExpirySupersedesThePendingWait) {
    auto owner = MakeOwner(context, probe);
    owner->timer->Start(kLong);
    owner->timer->Start(1);
    RunToEnd();
    EXPECT_EQ(probe->fired.Count(), 1);
    owner->Stop();
}

// Both waits expire in the same pass, so the second one's handler is already
// queued when the first callback restarts or cancels it.
class AsyncTimerQueuedExpiryTest : public AsyncTimerTest {
protected:
    void ExpireBothThen(std::function<void(TimerOwner& target)> action) {
        auto other = std::make_shared<TimerProbe>();
        auto first = MakeOwner(context, other);
        target = MakeOwner(context, probe);
        first->onFire = [this, action](TimerOwner&) { action(*target); };
        first->timer->Start(0);
        target->timer->Start(0);
        RunToEnd();
        ASSERT_EQ(other->fired.Count(), 1);
        first->Stop();
    }

    void TearDown() override {
        if (target) {
            target->Stop();
        }
    }

    zef::RefPtr<TimerOwner> target;
};

TEST_F(AsyncTimerQueuedExpiryTest, RestartIgnoresTheStaleExpiry) {
    ExpireBothThen([](TimerOwner& target) { target.timer->Start(1); });
    EXPECT_EQ(probe->fired.Count(), 1);
}

TEST_F(AsyncTimerQueuedExpiryTest, CancelSuppressesTheQueuedExpiry) {
    ExpireBothThen([](TimerOwner& target) { target.timer->Cancel(); });
    EXPECT_EQ(probe->fired.Count(), 0);
}

TEST_F(AsyncTimerTest, HugeIntervalDoesNotWrapIntoThePast) {
    auto huge = MakeOwner(context, probe);
    auto sentinel = MakeOwner(context, std::make_shared<TimerProbe>());
    sentinel->onFire = [&huge](TimerOwner&) { huge->timer->Cancel(); };
    huge->timer->Start(std::numeric_limits<uint64_t>::max());
    sentinel->timer->Start(1000);
    RunToEnd();
    EXPECT_EQ(sentinel->probe->fired.Count(), 1);
    EXPECT_EQ(probe->fired.Count(), 0);
    huge->Stop();
    sentinel->Stop();
}

TEST_F(AsyncTimerTest, OwnerOutlivesItsDroppedHandleUntilTheWaitEnds) {
    auto owner = MakeOwner(context, probe);
    owner->onFire = [](TimerOwner& self) { self.Stop(); };
    owner->timer->Start(1);
    owner.reset();
    EXPECT_FALSE(probe->Destroyed());
    RunToEnd();
    EXPECT_EQ(probe->fired.Count(), 1);
    EXPECT_TRUE(probe->Destroyed());
}

TEST_F(AsyncTimerTest, StopWhileWaitingReleasesTheOwnerWithoutACallback) {
    auto owner = MakeOwner(context, probe);
    owner->timer->Start(kLong);
    owner->Stop();
    owner.reset();
    RunToEnd();
    EXPECT_TRUE(probe->Destroyed());
    EXPECT_EQ(probe->fired.Count(), 0);
}

}  // namespace
}  // namespace FrameTest
