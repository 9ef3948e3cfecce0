#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "HostProcesses.h"

using namespace std::chrono_literals;
using zef::test::HostProcesses;

namespace {

const char* const kSwitch = R"({"id":{"left":"1","right":"1"},"vni":5001,"switch_name":"web"})";
const char* const kPort =
    R"({"id":{"left":"2","right":"2"},"switch_id":{"left":"1","right":"1"},"admin_state_up":true})";
const char* const kSwitchUuid = "00000000-0000-0001-0000-000000000001";
const char* const kPortUuid = "00000000-0000-0002-0000-000000000002";
const char* const kOtherSwitch = R"({"id":{"left":"3","right":"3"},"vni":7001})";
const char* const kOtherSwitchUuid = "00000000-0000-0003-0000-000000000003";

// loftdb, the agent and their clients, each a real process, side by side.
class StoreRoadTest : public ::testing::Test, protected HostProcesses {
protected:
    void SetUp() override {
        StartStore();
        StartAgent(
            "<config><log><level>4</level></log><cfgAgent><workGroup><ioThreads>1</ioThreads>"
            "<workThreads>8</workThreads></workGroup><apps/></cfgAgent></config>");
    }

    void Ctl(const std::vector<std::string>& args) { Store(args); }

    // Polls the agent's config table until `holds` says yes.
    bool RemoteConfig(const std::function<bool(const std::string&)>& holds) {
        return Poll([this] { return Appctl({"cfgagent/config/remote"}); }, holds, last);
    }

    static bool Has(const std::string& text, const char* what) {
        return text.find(what) != std::string::npos;
    }

    std::string last;
};

TEST_F(StoreRoadTest, TheConfigTableFollowsTheStoreAcrossAStoreRestart) {
    Ctl({"put", "LOG_SWITCH_CONFIG", kSwitch});
    Ctl({"put", "LOG_SWITCH_PORT_CONFIG", kPort});
    ASSERT_TRUE(RemoteConfig([](const std::string& rows) {
        return Has(rows, kSwitchUuid) && Has(rows, kPortUuid) && Has(rows, "LSP_ADMIN_STATE_UP");
    })) << last;
    EXPECT_TRUE(Has(last, "vni: 5001"));

    Ctl({"delete", "LOG_SWITCH_PORT_CONFIG", kPort});
    ASSERT_TRUE(RemoteConfig([](const std::string& rows) { return !Has(rows, kPortUuid); })) << last;

    // The store dies; while the agent is cut off, the store changes.
    StoreProcess().Signal(SIGKILL);
    StoreProcess().Wait(10s);
    ASSERT_TRUE(Agent().WaitForOutput("loftdb channel status turns to DOWN", 20s));
    StartStore();
    Ctl({"delete", "LOG_SWITCH_CONFIG", kSwitch});
    Ctl({"put", "LOG_SWITCH_CONFIG", kOtherSwitch});

    ASSERT_TRUE(RemoteConfig([](const std::string& rows) {
        return Has(rows, kOtherSwitchUuid) && !Has(rows, kSwitchUuid);
    })) << last;
    const std::string log = Agent().Stdout();
    size_t ups = 0;
    for (size_t at = log.find("loftdb channel status turns to UP"); at != std::string::npos;
         at = log.find("loftdb channel status turns to UP", at + 1)) {
        ++ups;
    }
    // A reconnect can race the dying store's backlog and drop once more.
    EXPECT_GE(ups, 2u) << log;
    EXPECT_TRUE(Has(log, "LoftdbClient: Transaction end (fullsync) ID 0"));
    EXPECT_NE(log.rfind("LoftdbClient: Transaction end (fullsync) ID"),
              log.find("LoftdbClient: Transaction end (fullsync) ID")) << "a second full sync";
}

TEST_F(StoreRoadTest, LogLevelsAreSetAndReadThroughTheSocket) {
    EXPECT_EQ(Appctl({"cfgagent/get/loglevel"}), "Current cfgagent logging level is: info\n");
    EXPECT_EQ(Appctl({"cfgagent/set/loglevel", "debug"}),
              "Setting cfgagent logging level from info to debug successfully\n");
    EXPECT_EQ(Appctl({"cfgagent/set-loftdb/loglevel", "loud"}),
              "Setting cfgagent loftDb logging level from info to loud failed\n");
    EXPECT_EQ(Appctl({"cfgagent/get-loftdb/loglevel"}),
              "Current cfgagent loftDb logging level is: info\n");
    EXPECT_EQ(Appctl({"cfgagent/smartnic/muxl2"}), "[]\n");
    EXPECT_TRUE(Has(Appctl({"cfgagent/cache/size"}), "\"DesiredConfigCache\""));
}

// The library lists the commands that have a usage text, by name, beside
// its own.
TEST_F(StoreRoadTest, ListCommandsShowsTheCommandsThatTakeAnArgument) {
    std::istringstream lines(Appctl({"list-commands"}));
    std::vector<std::string> names;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string name;
        if (line.rfind("  ", 0) == 0 && words >> name && name.rfind("cfgagent/", 0) == 0) {
            names.push_back(name);
        }
    }
    const std::vector<std::string> expected = {
        "cfgagent/set-cradle/loglevel", "cfgagent/set-loftdb/loglevel", "cfgagent/set-metrics/loglevel",
        "cfgagent/set-net/loglevel",    "cfgagent/set-rpc/loglevel",    "cfgagent/set-sha/loglevel",
        "cfgagent/set-simulate/out-of-sync", "cfgagent/set-upm/loglevel", "cfgagent/set-wft/loglevel",
        "cfgagent/set-wft/tracelevel",  "cfgagent/set/loglevel",
    };
    EXPECT_EQ(names, expected);
}

}  // namespace
