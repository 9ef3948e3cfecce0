#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <thread>

#include "ChildProcess.h"

using namespace std::chrono_literals;
using zef::test::ChildProcess;
using zef::test::TempDir;

namespace {

const char* const kAgent = ZEF_CFGAGENT_BIN;
const char* const kStore = ZEF_LOFTDB_BIN;
const char* const kCtl = ZEF_LOFTDB_CTL_BIN;
const char* const kAppctl = "/usr/bin/ovs-appctl";

const char* const kSwitch = R"({"id":{"left":"1","right":"1"},"vni":5001,"switch_name":"web"})";
const char* const kPort =
    R"({"id":{"left":"2","right":"2"},"switch_id":{"left":"1","right":"1"},"admin_state_up":true})";
const char* const kSwitchUuid = "00000000-0000-0001-0000-000000000001";
const char* const kPortUuid = "00000000-0000-0002-0000-000000000002";
const char* const kOtherSwitch = R"({"id":{"left":"3","right":"3"},"vni":7001})";
const char* const kOtherSwitchUuid = "00000000-0000-0003-0000-000000000003";

// loftdb, the agent and their clients, each a real process, side by side.
class StoreRoadTest : public ::testing::Test {
protected:
    void SetUp() override {
        storeEndpoint = "tcp://127.0.0.1:" + std::to_string(zef::test::FreePort());
        StartStore();
        const std::string config = dir.Write(
            "agent.xml",
            "<config><log><level>4</level></log><cfgAgent><workGroup><ioThreads>1</ioThreads>"
            "<workThreads>8</workThreads></workGroup><apps/></cfgAgent></config>");
        agent = std::make_unique<ChildProcess>(
            kAgent, std::vector<std::string>{"-c", config},
            std::map<std::string, std::string>{
                {"ZEF_HOST_ROOT", dir.Path() + "/root"},
                {"ZEF_LOFTDB_ENDPOINT", storeEndpoint},
                {"ZEF_HEALTH_ENDPOINT", "tcp://127.0.0.1:" + std::to_string(zef::test::FreePort())}},
            Work("agent"));
        ASSERT_TRUE(agent->WaitForOutput("Start running cli server", 20s)) << agent->Stdout();
        socket = dir.Path() + "/root/var/run/halden/zef-cfgagent/cfgagent-cli";
    }

    void TearDown() override {
        if (agent) {
            agent->Signal(SIGTERM);
            EXPECT_EQ(agent->Wait(20s), 0) << agent->Stdout();
        }
    }

    // A folder of its own for each process's output.
    std::string Work(const std::string& name) {
        const std::string path = dir.Path() + "/" + name + std::to_string(++serial);
        std::filesystem::create_directories(path);
        return path;
    }

    void StartStore() {
        store = std::make_unique<ChildProcess>(
            kStore,
            std::vector<std::string>{"--listen", storeEndpoint, "--data-dir", dir.Path() + "/data"},
            std::map<std::string, std::string>{}, Work("store"));
        ASSERT_TRUE(store->WaitForOutput("loftdb listening on", 20s)) << store->Stdout();
    }

    // Runs a client to its end and gives its standard output.
    std::string Run(const char* program, const std::vector<std::string>& args) {
        ChildProcess child(program, args, {}, Work("client"));
        EXPECT_EQ(child.Wait(30s), 0) << program << " " << child.Stderr();
        return child.Stdout();
    }

    void Ctl(const std::vector<std::string>& args) {
        std::vector<std::string> all{"--endpoint", storeEndpoint};
        all.insert(all.end(), args.begin(), args.end());
        Run(kCtl, all);
    }

    std::string Appctl(const std::vector<std::string>& args) {
        std::vector<std::string> all{"-t", socket};
        all.insert(all.end(), args.begin(), args.end());
        return Run(kAppctl, all);
    }

    // Polls the agent's config table until `holds` says yes.
    bool RemoteConfig(const std::function<bool(const std::string&)>& holds) {
        const auto deadline = std::chrono::steady_clock::now() + 20s;
        while (std::chrono::steady_clock::now() < deadline) {
            last = Appctl({"cfgagent/config/remote"});
            if (holds(last)) {
                return true;
            }
            std::this_thread::sleep_for(100ms);
        }
        return false;
    }

    static bool Has(const std::string& text, const char* what) {
        return text.find(what) != std::string::npos;
    }

    TempDir dir;
    std::string storeEndpoint;
    std::string socket;
    std::string last;
    int serial = 0;
    std::unique_ptr<ChildProcess> store;
    std::unique_ptr<ChildProcess> agent;
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
    store->Signal(SIGKILL);
    store->Wait(10s);
    ASSERT_TRUE(agent->WaitForOutput("loftdb channel status turns to DOWN", 20s));
    StartStore();
    Ctl({"delete", "LOG_SWITCH_CONFIG", kSwitch});
    Ctl({"put", "LOG_SWITCH_CONFIG", kOtherSwitch});

    ASSERT_TRUE(RemoteConfig([](const std::string& rows) {
        return Has(rows, kOtherSwitchUuid) && !Has(rows, kSwitchUuid);
    })) << last;
    const std::string log = agent->Stdout();
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

}  // namespace
