#include "zef/metrics/MetricsRegistry.h"

#include <gtest/gtest.h>

#include "TestSupport.h"
#include "zef/metrics/FrequencyCounter.h"
#include "zef/metrics/LatencyCounter.h"
#include "zef/metrics/UnitCounter.h"

namespace FrameTest {
namespace {

using zef::metrics::FrequencyCounter;
using zef::metrics::LatencyCounter;
using zef::metrics::MetricsRegistry;
using zef::metrics::UnitCounter;

TEST(MetricsRegistryTest, SameNameGivesTheSameValue) {
    MetricsRegistry registry;
    auto first = registry.check_or_create_value<UnitCounter>("a/b");
    ASSERT_NE(first, nullptr);
    first->Increment(5);
    auto again = registry.check_or_create_value<UnitCounter>("a/b");
    EXPECT_EQ(again, first);
    EXPECT_EQ(again->Value(), 5);
    EXPECT_NE(registry.check_or_create_value<UnitCounter>("a/c"), first);
}

TEST(MetricsRegistryTest, NameTakenByAnotherTypeGivesNull) {
    QuietConsole quiet;
    MetricsRegistry registry;
    auto unit = registry.check_or_create_value<UnitCounter>("taken");
    EXPECT_EQ(registry.check_or_create_value<FrequencyCounter>("taken"), nullptr);
    EXPECT_EQ(registry.check_or_create_value<LatencyCounter>("taken"), nullptr);
    EXPECT_EQ(registry.check_or_create_value<UnitCounter>("taken"), unit);
}

}  // namespace
}  // namespace FrameTest
