#include <gtest/gtest.h>

#include "zef/RetryPolicy.h"

namespace {

using namespace std::chrono_literals;
using zef::RetryPolicy;

TEST(RetryPolicyTest, DelaysGrowToTheLargestAndStartOverAfterReset) {
    RetryPolicy policy(1000ms, 5000ms, 2.0, RetryPolicy::kNoLimit);
    for (auto expected : {1000ms, 2000ms, 4000ms, 5000ms, 5000ms}) {
        EXPECT_EQ(policy.NextDelay(), expected);
    }
    policy.Reset();
    EXPECT_EQ(policy.NextDelay(), 1000ms);
}

TEST(RetryPolicyTest, AttemptsRunOutUntilReset) {
    RetryPolicy policy(10ms, 10ms, 1.0, 2);
    EXPECT_EQ(policy.NextDelay(), 10ms);
    EXPECT_EQ(policy.NextDelay(), 10ms);
    EXPECT_EQ(policy.NextDelay(), std::nullopt);
    policy.Reset();
    EXPECT_EQ(policy.NextDelay(), 10ms);
}

TEST(RetryPolicyTest, ASingleDelayRepeatsForever) {
    RetryPolicy policy(5000ms);
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(policy.NextDelay(), 5000ms);
    }
}

}  // namespace
