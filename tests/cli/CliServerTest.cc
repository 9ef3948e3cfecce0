#include "cli/CliServer.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <filesystem>

#include "cli/LogLevelCommands.h"
#include "frame/log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "zef/LibraryLogLevels.h"
#include "zef/wft/WorkflowUtil.h"

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

    void Fill(size_t objects) {
        LoftDBUpdateList list;
        for (size_t i = 0; i < objects; ++i) {
            list.emplace_back(LOG_SWITCH_CONFIG, "id-" + std::to_string(i), OP_UPDATE, std::string(),
                              std::string());
        }
        cache->ConfigTable()->UpdateDesiredState(list, true);
    }

    static size_t Rows(const std::string& json) {
        size_t rows = 0;
        for (size_t at = json.find("\"ObjectID\""); at != std::string::npos;
             at = json.find("\"ObjectID\"", at + 1)) {
            ++rows;
        }
        return rows;
    }

    int savedConsole = 0;
    int savedLevel = 0;
    std::string root;
    zef::RefPtr<StateCache> cache = zef::MakeRef<StateCache>();
};

TEST_F(CliServerTest, DesiredDumpStopsAtItsCap) {
    CliServer server(cache, nullptr);
    Fill(CliServer::kMaxDumpRows);
    EXPECT_EQ(Rows(server.ConfigRemote()), CliServer::kMaxDumpRows);
    Fill(CliServer::kMaxDumpRows + 1);
    EXPECT_EQ(Rows(server.ConfigRemote()), CliServer::kMaxDumpRows);
    EXPECT_EQ(Rows(server.ConfigOfType(LOG_SWITCH_CONFIG)), CliServer::kMaxDumpRows + 1)
        << "the by-type dumps have no cap";
    EXPECT_EQ(Rows(server.ConfigOfType(CONTAINER)), 0u);
}

TEST_F(CliServerTest, StartServesAndStopEndsTheBlockedLoop) {
    auto server = zef::MakeRef<CliServer>(cache, nullptr);
    ASSERT_TRUE(server->Start());
    EXPECT_TRUE(std::filesystem::exists(CliServer::SocketPath()));
    server->Stop();  // must return: the loop sits in its poll
    // A second server in the same process finds the commands registered already.
    auto again = zef::MakeRef<CliServer>(cache, nullptr);
    ASSERT_TRUE(again->Start());
    again->Stop();
}

TEST_F(CliServerTest, AServerWithoutItsFolderRunsOnWithoutSocket) {
    std::filesystem::create_directories(root + "/var/run/halden");
    // A file where the socket's folder should be makes the socket impossible.
    std::FILE* blocker = std::fopen((root + "/var/run/halden/zef-cfgagent").c_str(), "w");
    std::fclose(blocker);
    CliServer server(cache, nullptr);
    EXPECT_FALSE(server.Start());
    server.Stop();
}

TEST(LogLevelCommandsTest, SetAndGetReplies) {
    const int saved = LogLevel::agent.load();
    const int savedConsole = LogLevel::console.exchange(0);
    size_t count = 0;
    const LogLevelCommands::Row* rows = LogLevelCommands::Rows(count);
    ASSERT_EQ(count, 9u);
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
