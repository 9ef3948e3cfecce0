#include <gtest/gtest.h>
#include <signal.h>

#include "PortRoad.h"
#include "port/kcp/KcpNotificationCodec.h"
#include "port/kcp/KcpTypes.h"

using namespace std::chrono_literals;

namespace {

using zef::test::KernelPort;
using Ports = std::map<std::string, KernelPort>;

// One Notification message holding two Port Property OutOfSync reports, in hex.
std::string TwoPortReports(const std::string& vifId) {
    CfgAgent::KcpNotification report;
    report.type = CfgAgent::KCP_NOTIFY_PORT_PROPERTY_OUT_OF_SYNC;
    report.id = vifId;
    std::vector<uint8_t> message;
    EXPECT_TRUE(CfgAgent::KcpNotificationCodec::Build({report, report}, message));
    std::string hex;
    for (uint8_t byte : message) {
        static const char kDigits[] = "0123456789abcdef";
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 15];
    }
    return hex;
}

bool Has(const std::string& text, const std::string& what) {
    return text.find(what) != std::string::npos;
}

const char* const kSwitch =
    R"({"id":{"left":"1","right":"1"},"vni":5001,"admin_state_up":true})";
const char* const kPort =
    R"({"id":{"left":"2","right":"1"},"switch_id":{"left":"1","right":"1"},)"
    R"("attachment":{"id":"vif-1"},"admin_state_up":true})";

class PortRoadTest : public ::testing::Test, protected zef::test::PortRoad {
protected:
    bool StoreHolds(const std::string& type, const std::function<bool(const std::string&)>& holds) {
        return Poll([&] { return Store({"get", type}); }, holds, last);
    }
    std::string PortId() const { return Uuid(2, 1); }
    void ConnectPort() {
        Dpsim({"vif", kLink, "connect", "vif-1", "port=" + PortId(), "switch=hs-1"});
    }
    bool Blocked(const std::string& text) {
        return PollPorts([&](const Ports& ports) {
            return ports.count("vif-1") != 0 && ports.at("vif-1").block == text;
        }, table);
    }

    std::string last;
    Ports table;
};

TEST_F(PortRoadTest, VifStateFollowsConnectsDisconnectsAndHotmoves) {
    StartStore();
    StartDpsim({std::string(kLink) + ":kcp", "swsec_taklink:swsec"});
    // Known to the kernel before the agent starts: part of its first report.
    Dpsim({"vif", kLink, "connect", "vif-a", "mac=02:00:00:00:00:0a",
           "binding=10.0.0.10/02:00:00:00:00:0a/7/1"});
    StartAgent(AgentConfig());
    ASSERT_TRUE(StoreHolds("VIF_STATE", [](const std::string& out) {
        return Has(out, "vif-a") && Has(out, "\"macs\"") && Has(out, "167772170");
    })) << last;
    EXPECT_TRUE(Has(last, "\"vlan\":7")) << last;
    EXPECT_TRUE(Has(last, "\"source\":3")) << last;

    Dpsim({"vif", kLink, "connect", "vif-b"});
    ASSERT_TRUE(StoreHolds("VIF_STATE", [](const std::string& out) { return Has(out, "vif-b"); }));
    Dpsim({"vif", kLink, "disconnect", "vif-a"});
    ASSERT_TRUE(StoreHolds("VIF_STATE", [](const std::string& out) {
        return !Has(out, "vif-a") && Has(out, "vif-b");
    })) << last;

    Dpsim({"vif", kLink, "disconnect", "vif-b", "hotmove"});
    ASSERT_TRUE(StoreHolds("HOTMOVE_STATUS", [](const std::string& out) { return Has(out, "vif-b"); }));
    EXPECT_FALSE(Has(Store({"get", "VIF_STATE"}), "vif-b"));
    // Back within the minute: the status goes with the reconnect, not the timer.
    Dpsim({"vif", kLink, "connect", "vif-b"});
    ASSERT_TRUE(StoreHolds("HOTMOVE_STATUS", [](const std::string& out) { return !Has(out, "vif-b"); }));
    EXPECT_TRUE(Has(Store({"get", "VIF_STATE"}), "vif-b"));
}

TEST_F(PortRoadTest, OutOfSyncOpensANewSessionAndOtherSessionsAreSkipped) {
    StartAll();
    ASSERT_TRUE(Agent().WaitForOutput("ConfigApp: _ipDisFullSyncDone set to true", kBound));
    Dpsim({"stale", kLink, "on"});
    Dpsim({"outofsync", kLink});
    ASSERT_TRUE(Agent().WaitForOutput("ConfigApp: skipped messages with sessionID", kBound));
    Dpsim({"vif", kLink, "connect", "vif-late"});
    Dpsim({"stale", kLink, "off"});
    Dpsim({"outofsync", kLink});
    ASSERT_TRUE(StoreHolds("VIF_STATE", [](const std::string& out) { return Has(out, "vif-late"); }))
        << last;
    EXPECT_EQ(CountRecorded({"Session Open\""}), 3u);
}

TEST_F(PortRoadTest, ARestartFlushesRuntimeStateAndLeavesNothingStale) {
    StartAll();
    Dpsim({"vif", kLink, "connect", "vif-stays"});
    Dpsim({"vif", kLink, "connect", "vif-goes"});
    ASSERT_TRUE(StoreHolds("VIF_STATE", [](const std::string& out) {
        return Has(out, "vif-stays") && Has(out, "vif-goes");
    }));
    ASSERT_TRUE(StopAgent());
    // Gone while no agent listened: only the flush at the next start removes it.
    Dpsim({"vif", kLink, "disconnect", "vif-goes"});
    StartAgent(AgentConfig());
    ASSERT_TRUE(StoreHolds("VIF_STATE", [](const std::string& out) {
        return Has(out, "vif-stays") && !Has(out, "vif-goes");
    })) << last;
}

TEST_F(PortRoadTest, AVifGoneWhileTheStoreIsDownIsGoneFromItWhenItReturns) {
    StartAll();
    Dpsim({"vif", kLink, "connect", "vif-stays"});
    Dpsim({"vif", kLink, "connect", "vif-goes"});
    ASSERT_TRUE(StoreHolds("VIF_STATE", [](const std::string& out) {
        return Has(out, "vif-stays") && Has(out, "vif-goes");
    }));
    StoreProcess().Signal(SIGKILL);
    StoreProcess().Wait(10s);
    ASSERT_TRUE(Agent().WaitForOutput("loftdb channel status turns to DOWN", kBound));
    Dpsim({"vif", kLink, "disconnect", "vif-goes"});
    ASSERT_TRUE(Agent().WaitForOutput("ConfigApp: delete VIF vif-goes", kBound));
    StartStore();
    ASSERT_TRUE(StoreHolds("VIF_STATE", [](const std::string& out) {
        return Has(out, "vif-stays") && !Has(out, "vif-goes");
    })) << last;
}

TEST_F(PortRoadTest, PortsAreRealisedBlockedUnblockedAndRepaired) {
    StartAll();
    Store({"put", "LOG_SWITCH_CONFIG", kSwitch});
    Store({"put", "LOG_SWITCH_PORT_CONFIG", kPort});
    ConnectPort();
    ASSERT_TRUE(Blocked("false")) << table.size();
    EXPECT_EQ(table.at("vif-1").properties.at(1), "00001389");

    Store({"patch", "LOG_SWITCH_PORT_CONFIG", R"({"id":{"left":"2","right":"1"},"admin_state_up":false})",
           R"({"admin_state_up":"SET"})"});
    ASSERT_TRUE(Blocked("true"));
    Store({"put", "LOG_SWITCH_PORT_CONFIG", kPort});
    ASSERT_TRUE(Blocked("false"));
    Store({"put", "LOG_SWITCH_CONFIG", R"({"id":{"left":"1","right":"1"},"admin_state_up":true})"});
    ASSERT_TRUE(Blocked("true"));
    ASSERT_TRUE(Agent().WaitForOutput("Remove vlan or vni, block port [vif-1]", kBound));

    // Two reports of one port within a tick: one repair.
    Store({"put", "LOG_SWITCH_CONFIG", kSwitch});
    ASSERT_TRUE(Blocked("false"));
    const std::vector<std::string> repair = {"Port Property Update", "Operation: FULL SYNC",
                                             "VIF ID: vif-1\\n"};
    ASSERT_TRUE(Poll([&] { return std::to_string(CountRecorded(repair)); },
                     [](const std::string& count) { return count != "0"; }, last));
    const size_t before = CountRecorded(repair);
    Dpsim({"inject", kLink, TwoPortReports("vif-1")});
    ASSERT_TRUE(Poll([&] { return std::to_string(CountRecorded(repair)); },
                     [&](const std::string& count) { return count != std::to_string(before); }, last));
    EXPECT_EQ(last, std::to_string(before + 1));

    // A restart replaces the kernel's table with the same content.
    const Ports settled = KernelPorts();
    ASSERT_TRUE(StopAgent());
    const size_t opens = CountRecorded({"Session Open\""});
    StartAgent(AgentConfig());
    ASSERT_TRUE(Poll([&] { return std::to_string(CountRecorded({"Session Open\""})); },
                     [&](const std::string& count) { return count == std::to_string(opens + 1); },
                     last));
    ASSERT_TRUE(Poll([&] { return std::to_string(CountRecorded(repair)); },
                     [&](const std::string& count) { return std::stoul(count) > before + 1; }, last));
    EXPECT_EQ(KernelPorts(), settled);
}

}  // namespace
