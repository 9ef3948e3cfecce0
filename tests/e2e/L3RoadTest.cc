#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "PortRoad.h"

namespace {

using zef::test::PortRoad;

const char* const kRouterUuid = "00000000-0000-0021-0000-000000000021";
const char* const kFibUuid = "00000000-0000-0031-0000-000000000031";
const char* const kRouter = R"({"id":{"left":"33","right":"33"},"rtx_id":5,"name":"tier1"})";
// Next hops 10.0.0.1 and 10.0.0.2 as numbers.
const char* const kFib =
    R"({"id":{"left":"49","right":"49"},"log_router_id":{"left":"33","right":"33"},)"
    R"("prefix":{"ip_address":{"ipv4":3232235776},"prefix_length":24},)"
    R"("next_hops":[{"ip":{"ipv4":167772161}},{"ip":{"ipv4":167772162}}]})";

// The store, the simulator and the agent, real processes: the routing objects
// the store holds reach the agent's L3 table.
class L3RoadTest : public ::testing::Test, protected PortRoad {
protected:
    void SetUp() override { StartAll(); }

    bool RemoteL3(const std::function<bool(const std::string&)>& holds) {
        return Poll([this] { return Appctl({"cfgagent/l3/remote"}); }, holds, last);
    }

    static bool Has(const std::string& text, const char* what) {
        return text.find(what) != std::string::npos;
    }

    std::string last;
};

TEST_F(L3RoadTest, RoutesFollowTheStore) {
    Store({"put", "LOG_ROUTER_CONFIG", kRouter});
    Store({"put", "FIB", kFib});
    ASSERT_TRUE(RemoteL3([](const std::string& rows) {
        return Has(rows, kRouterUuid) && Has(rows, kFibUuid) && Has(rows, "ipv4: 167772161") &&
               Has(rows, "ipv4: 167772162");
    })) << last;
    EXPECT_TRUE(Has(last, R"("ObjectType":"LOG_ROUTER_CONFIG")"));
    EXPECT_TRUE(Has(last, "rtx_id: 5"));
    EXPECT_TRUE(Has(last, R"("PropertyType":"L3_FIB_IP_PREFIX")"));

    // The route is gone as a whole: its router, prefix and hops leave with it.
    Store({"delete", "FIB", kFib});
    ASSERT_TRUE(RemoteL3([](const std::string& rows) {
        return Has(rows, kRouterUuid) && !Has(rows, kFibUuid);
    })) << last;
}

}  // namespace
