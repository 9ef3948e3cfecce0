#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "PortRoad.h"

namespace {

using zef::test::PortRoad;

const char* const kSwitchUuid = "00000000-0000-0011-0000-000000000011";
// 192.168.10.1 and 192.168.10.2 as numbers.
const char* const kFib =
    R"({"id":{"left":"17","right":"17"},"vteps":[{"vtep_label":{"label":4101},"vtep_ip":3232238081}],)"
    R"("macs":[{"mac":"345051413452","vtep":{"vtep_label":{"label":4101}}}]})";
const char* const kFibMoved =
    R"({"id":{"left":"17","right":"17"},"vteps":[{"vtep_label":{"label":4102},"vtep_ip":3232238082}]})";

// The store, the simulator and the agent, real processes: what the store says
// of remote endpoints reaches the agent's L2 table.
class L2RoadTest : public ::testing::Test, protected PortRoad {
protected:
    void SetUp() override { StartAll(); }

    bool RemoteL2(const std::function<bool(const std::string&)>& holds) {
        return Poll([this] { return Appctl({"cfgagent/l2/remote"}); }, holds, last);
    }

    static bool Has(const std::string& text, const char* what) {
        return text.find(what) != std::string::npos;
    }

    std::string last;
};

TEST_F(L2RoadTest, RemoteEntriesFollowTheStore) {
    Store({"put", "LOG_SWITCH_FIB", kFib});
    ASSERT_TRUE(RemoteL2([](const std::string& rows) {
        return Has(rows, kSwitchUuid) && Has(rows, R"("vtep_ip":"192.168.10.1")") &&
               Has(rows, R"("mac":"00:50:56:aa:bb:cc")");
    })) << last;
    EXPECT_TRUE(Has(last, R"("ObjectType":"LOG_SWITCH_FIB")"));
    EXPECT_TRUE(Has(last, R"("label":4101)"));

    // The whole list is set anew: the old endpoint and the MACs go.
    Store({"put", "LOG_SWITCH_FIB", kFibMoved});
    ASSERT_TRUE(RemoteL2([](const std::string& rows) {
        return Has(rows, R"("vtep_ip":"192.168.10.2")") && !Has(rows, "192.168.10.1") &&
               !Has(rows, "L2_VM_MAC");
    })) << last;

    Store({"delete", "LOG_SWITCH_FIB", kFibMoved});
    ASSERT_TRUE(RemoteL2([](const std::string& rows) { return !Has(rows, kSwitchUuid); })) << last;
}

}  // namespace
