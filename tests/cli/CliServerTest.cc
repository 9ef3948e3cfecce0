#include "cli/CliServer.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "cli/CommandTable.h"
#include "cli/LogLevelCommands.h"
#include "log/LogLevel.h"
#include "zef/LibraryLogLevels.h"
#include "zef/RefPtr.h"
#include "zef/wft/WorkflowUtil.h"

extern "C" {
#include "jsonrpc.h"
#include "unixctl.h"
}

namespace {

using namespace CfgAgent;

class CliServerTest : public ::testing::Test {
protected:
    void SetUp() override {
        // As in the agent: a client that hangs up must not end the process.
        signal(SIGPIPE, SIG_IGN);
        savedConsole = LogLevel::console.exchange(0);
        savedLevel = LogLevel::agent.exchange(LL_WARN);  // a line per added row would dominate
        char pattern[] = "/tmp/cli-test-XXXXXX";
        root = mkdtemp(pattern);
        setenv("ZEF_HOST_ROOT", root.c_str(), 1);
    }
    void TearDown() override {
        unsetenv("ZEF_HOST_ROOT");
        std::filesystem::remove_all(root);
        LogLevel::console = savedConsole;
        LogLevel::agent = savedLevel;
    }

    int savedConsole = 0;
    int savedLevel = 0;
    std::string root;
};

// Transacts one command over the socket: the reply text, or the error's.
std::pair<std::string, std::string> Transact(const char* command, std::vector<std::string> args) {
    struct jsonrpc* client = nullptr;
    EXPECT_EQ(unixctl_client_create(CliServer::SocketPath().c_str(), &client), 0);
    std::vector<char*> argv;
    for (std::string& arg : args) {
        argv.push_back(arg.data());
    }
    char* result = nullptr;
    char* error = nullptr;
    EXPECT_EQ(unixctl_client_transact(client, command, static_cast<int>(argv.size()), argv.data(),
                                      &result, &error),
              0);
    std::pair<std::string, std::string> reply{result ? result : "", error ? error : ""};
    free(result);
    free(error);
    jsonrpc_close(client);
    return reply;
}

TEST_F(CliServerTest, OwnersAnswerTheirCommandsAndANameNobodyAnswersIsNotServed) {
    CommandRegistry registry;
    registry.Add("cfgagent/config/local", [](const CommandRegistry::Args&) { return CommandReply("local"); });
    registry.Add("cfgagent/statecache/L2mac", [](const CommandRegistry::Args& args) {
        return CommandReply::Failure("Query logical switch MAC Table fail " + args.at(0));
    });
    auto server = zef::MakeRef<CliServer>(std::move(registry));
    ASSERT_TRUE(server->Start());
    EXPECT_EQ(Transact("cfgagent/config/local", {}).first, "local\n");
    EXPECT_EQ(Transact("cfgagent/statecache/L2mac", {"ls"}).second,
              "Query logical switch MAC Table fail ls\n");
    EXPECT_EQ(Transact("cfgagent/get/loglevel", {}).first.rfind("Current cfgagent logging level is: ", 0), 0u);
    EXPECT_EQ(Transact("cfgagent/smartnic/demuxbyid", {"a", "b"}).first, "[]\n");
    EXPECT_NE(Transact("cfgagent/l3/remote", {}).second, "") << "no owner in this process";
    server->Stop();
}

// Registration order, as the command table of the socket gives it.
TEST(CommandTableTest, CommandsComeInTheirRegistrationOrder) {
    const std::vector<std::string> expected = {
        "cfgagent/lport/status", "cfgagent/l2/local", "cfgagent/l2/remote", "cfgagent/l3/remote",
        "cfgagent/config/local", "cfgagent/config/remote", "cfgagent/cache/table",
        "cfgagent/config/lswitch", "cfgagent/config/lport", "cfgagent/config/tnode",
        "cfgagent/config/bcluster", "cfgagent/config/mirror", "cfgagent/config/mirrorsession",
        "cfgagent/config/ipfix", "cfgagent/config/profile", "cfgagent/config/grelation",
        "cfgagent/config/container", "cfgagent/config/cradletak", "cfgagent/config/uplink",
        "cfgagent/config/lsportlist", "cfgagent/config/ciflist", "cfgagent/lsp/extracfg",
        "cfgagent/ls/extracfg", "cfgagent/ls/attachmentcfg", "cfgagent/smartnic/demuxbyid",
        "cfgagent/smartnic/demuxbytype", "cfgagent/smartnic/demuxinfo", "cfgagent/smartnic/muxconfig",
        "cfgagent/smartnic/muxl2", "cfgagent/smartnic/muxglobalvtep", "cfgagent/smartnic/hostswitch",
        "cfgagent/smartnic/rtf", "cfgagent/l2/routingdomain", "cfgagent/bfd",
        "cfgagent/ipfix-switch/profile/all", "cfgagent/ipfix-switch/profile/lport",
        "cfgagent/set/loglevel", "cfgagent/get/loglevel", "cfgagent/set-metrics/loglevel",
        "cfgagent/get-metrics/loglevel", "cfgagent/set-net/loglevel", "cfgagent/get-net/loglevel",
        "cfgagent/set-rpc/loglevel", "cfgagent/get-rpc/loglevel", "cfgagent/set-loftdb/loglevel",
        "cfgagent/get-loftdb/loglevel", "cfgagent/set-wft/tracelevel", "cfgagent/get-wft/tracelevel",
        "cfgagent/set-wft/loglevel", "cfgagent/get-wft/loglevel", "cfgagent/get-wft/stats",
        "cfgagent/set-sha/loglevel", "cfgagent/get-sha/loglevel", "cfgagent/set-cradle/loglevel",
        "cfgagent/get-cradle/loglevel", "cfgagent/set-upm/loglevel", "cfgagent/get-upm/loglevel",
        "dfw/vif", "dfw/exclude", "dfw/switch", "dfw/rules", "dfw/addrsets", "dfw/profiles",
        "dfw/vifcontainers", "dfw/containers", "dfw/counters", "dfw/intdbgflag", "dfw/hostMaxRules",
        "dfw/vnicMaxRules", "dfw/vnicRuleCountTable", "dfw/vnicRuleAlarmState",
        "dfw/hostRuleAlarmState", "dfw/ruleAlarmConfigData", "dfw/tnMetrics", "dfw/lspMetrics",
        "dfw/getloglevel", "dfw/setloglevel", "dfw/getlibloglevel", "dfw/setlibloglevel",
        "dfw/getL2MacOptFlag", "dfw/setL2MacOptFlag", "si/get-ordered-service-paths",
        "si/get-selected-service-paths", "ids/get/status", "ids/get/profiles", "ids/get/rules",
        "ids/get/loglevel", "ids/get/engine/status", "ids/get/engine/globalstats",
        "ids/get/engine/loglevel", "ids/get/engine/alertlog", "ids/get/engine/profiles",
        "ids/get/engine/rules", "ids/get/engine/signaction", "ids/get/engine/profilestats",
        "ids/get/engine/profilestatus", "ids/set/loglevel", "ids/set/engine/loglevel",
        "ids/set/engine/alertlog", "ids/dump/profiles", "ids/dump/signatures",
        "cfgagent/statecache/logicalswitches", "cfgagent/statecache/logicalswitch",
        "cfgagent/statecache/L2arp", "cfgagent/statecache/L2mac", "cfgagent/statecache/L2vtep",
        "cfgagent/statecache/L2ND", "cfgagent/statecache/routing-domains",
        "cfgagent/statecache/routing-domain-uuid", "cfgagent/statecache/dr-vtep",
        "cfgagent/statecache/tn-tep-group", "cfgagent/cache/size", "cfgagent/set-simulate/out-of-sync",
    };
    std::vector<std::string> names;
    for (const CommandTable::Entry& entry : CommandTable::Entries()) {
        names.push_back(entry.name);
    }
    EXPECT_EQ(names, expected);
}

TEST_F(CliServerTest, StartServesAndStopEndsTheBlockedLoop) {
    auto server = zef::MakeRef<CliServer>(CommandRegistry{});
    ASSERT_TRUE(server->Start());
    EXPECT_TRUE(std::filesystem::exists(CliServer::SocketPath()));
    server->Stop();  // must return: the loop sits in its poll
    // A second server in the same process finds the commands registered already.
    auto again = zef::MakeRef<CliServer>(CommandRegistry{});
    ASSERT_TRUE(again->Start());
    again->Stop();
}

TEST_F(CliServerTest, AServerWithoutItsFolderRunsOnWithoutSocket) {
    std::filesystem::create_directories(root + "/var/run/halden");
    // A file where the socket's folder should be makes the socket impossible.
    std::FILE* blocker = std::fopen((root + "/var/run/halden/zef-cfgagent").c_str(), "w");
    std::fclose(blocker);
    CliServer server{CommandRegistry{}};
    EXPECT_FALSE(server.Start());
    server.Stop();
}

TEST(LogLevelCommandsTest, SetAndGetReplies) {
    const int saved = LogLevel::agent.load();
    const int savedConsole = LogLevel::console.exchange(0);
    const auto rows = LogLevelCommands::Rows();
    ASSERT_EQ(rows.size(), 9u);
    EXPECT_EQ(LogLevelCommands::Set(rows[0], "loud"),
              "Setting cfgagent logging level from info to loud failed");
    EXPECT_EQ(LogLevel::agent.load(), saved);
    EXPECT_EQ(LogLevelCommands::Set(rows[0], "trace"),
              "Setting cfgagent logging level from info to trace successfully");
    EXPECT_EQ(LogLevel::agent.load(), 6);
    EXPECT_EQ(LogLevelCommands::Get(rows[0]), "Current cfgagent logging level is: trace");
    LogLevel::agent = saved;

    const auto& sha = rows[6];
    EXPECT_EQ(LogLevelCommands::Set(sha, "error"),
              "Setting Cfgagent SHA client lib logging level from info to error successfully");
    EXPECT_EQ(zef::sha::library_log_level.load(), 2);
    zef::sha::library_log_level = 4;

    EXPECT_EQ(LogLevelCommands::SetTraceLevel("debug"),
              "Setting cfgagent trace level from info to debug successfully");
    EXPECT_EQ(LogLevelCommands::GetTraceLevel(), "Current cfgagent trace level is: debug");
    EXPECT_EQ(LogLevelCommands::SetTraceLevel("info"),
              "Setting cfgagent trace level from debug to info successfully");
    LogLevel::console = savedConsole;
}

}  // namespace
