#include <gtest/gtest.h>

#include <sstream>

#include "OverlayRoad.h"

namespace {

using zef::test::Overlay;
using zef::test::OverlayRoad;
using zef::test::OverlayStore;

constexpr uint32_t kVni = 5001;
// 10.0.0.2 and 10.0.0.3 as numbers.
constexpr uint32_t kTepA = 0x0A000002;
constexpr uint32_t kTepB = 0x0A000003;

// The store, the simulator and the agent, real processes: the overlay of the
// store reaches the simulator's overlay module, and what the module learns
// reaches the store.
class OverlayRoadTest : public ::testing::Test, protected OverlayRoad {
protected:
    void SetUp() override {
        StartAll();
        _store.switches[1] = {kVni, {{4101, kTepA}}, {{0x0050560000B1ull, 4101}}, true};
        _store.joined.insert(kVni);
        Put(1);
        Join(kVni);
    }

    void Put(uint64_t left) {
        const OverlayStore::Switch& sw = _store.switches.at(left);
        Store({"put", "LOG_SWITCH_CONFIG", OverlayStore::SwitchJson(left, sw)});
        Store({"put", "LOG_SWITCH_FIB", OverlayStore::FibJson(left, sw)});
    }
    bool Converged() { return PollOverlay(ExpectedOverlay(_store), _last); }
    bool StoreHas(const std::string& type, const std::string& text, bool present = true) {
        std::string last;
        return Poll([&] { return Store({"get", type}); },
                    [&](const std::string& objects) { return (objects.find(text) != std::string::npos) == present; },
                    last);
    }

    // The sessions the agent opened with the overlay module.
    size_t CountSessions() {
        std::istringstream lines(ReadRecord());
        size_t count = 0;
        for (std::string line; std::getline(lines, line);) {
            count += line.find(kLink) != std::string::npos && line.find("\"Session Open\"") != std::string::npos;
        }
        return count;
    }

    OverlayStore _store;
    Overlay _last;
};

TEST_F(OverlayRoadTest, TheStoresOverlayReachesTheModuleAndWhatItLearnsReachesTheStore) {
    ASSERT_TRUE(Converged()) << ::testing::PrintToString(_last);

    _store.switches[1].vteps[4102] = kTepB;
    _store.switches[1].macs[0x0050560000B2ull] = 4102;
    _store.switches[1].macs.erase(0x0050560000B1ull);
    Put(1);
    ASSERT_TRUE(Converged()) << ::testing::PrintToString(_last);

    // 02:00:00:00:00:01 is 2199023255553.
    Dpsim({"mac", kLink, "learn", std::to_string(kVni), "02:00:00:00:00:01", "vtep=10.0.0.9", "label=99"});
    EXPECT_TRUE(StoreHas("LOG_SWITCH_STATE", "2199023255553"));
    Dpsim({"mac", kLink, "age", std::to_string(kVni), "02:00:00:00:00:01"});
    EXPECT_TRUE(StoreHas("LOG_SWITCH_STATE", "2199023255553", false));

    Leave(kVni);
    _store.joined.erase(kVni);
    ASSERT_TRUE(Converged()) << ::testing::PrintToString(_last);
}

TEST_F(OverlayRoadTest, AfterTheAgentAndTheStoreRestartTheModuleHoldsWhatTheStoreImplies) {
    ASSERT_TRUE(Converged()) << ::testing::PrintToString(_last);
    Dpsim({"mac", kLink, "learn", std::to_string(kVni), "02:00:00:00:00:01", "vtep=10.0.0.9", "label=99"});
    ASSERT_TRUE(StoreHas("LOG_SWITCH_STATE", "2199023255553"));

    // While the agent is down the store moves on; then the store restarts too.
    ASSERT_TRUE(StopAgent());
    _store.switches[1].vteps = {{4102, kTepB}};
    _store.switches[1].macs = {{0x0050560000B3ull, 4102}};
    Put(1);
    KillStore();
    StartStore();
    StartAgent(AgentConfig());
    ASSERT_TRUE(Converged()) << ::testing::PrintToString(_last);
    // What the module learned is reported again in the new session.
    EXPECT_TRUE(StoreHas("LOG_SWITCH_STATE", "2199023255553"));
}

TEST_F(OverlayRoadTest, OperatorsSeeRoutingDomainsAndCanRestartTheSession) {
    ASSERT_TRUE(Converged()) << ::testing::PrintToString(_last);
    Store({"put", "LOG_SWITCH_CONFIG",
           R"({"id":{"left":"1","right":"1"},"vni":5001,"routing_domain_id":{"left":"9","right":"9"}})"});
    std::string last;
    EXPECT_TRUE(Poll([&] { return Appctl({"cfgagent/l2/routingdomain"}); },
                     [](const std::string& answer) {
                         return answer.find(R"("RoutingDomainID":"00000000-0000-0009-0000-000000000009")") !=
                                    std::string::npos &&
                                answer.find(R"("LogicalSwitchID":"00000000-0000-0001-0000-000000000001")") !=
                                    std::string::npos;
                     },
                     last))
        << last;

    EXPECT_EQ(Appctl({"cfgagent/set-simulate/out-of-sync", "l2"}),
              "Setting simulate out of sync for vertical l2 successfully\n");
    EXPECT_EQ(Appctl({"cfgagent/set-simulate/out-of-sync", "l3"}),
              "Setting simulate out of sync for vertical l3 failed\n");
    // The new session's module gets everything again.
    ASSERT_TRUE(Converged()) << ::testing::PrintToString(_last);
    EXPECT_GE(CountSessions(), 2u);
}

}  // namespace
