#include "cli/CliServer.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "cli/LogLevelCommands.h"
#include "frame/log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_switching.pb.h"
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

namespace {

std::string Uuid(const char* text) {
    halden::zef::loftdb::UuidMsg uuid;
    CfgAgent::UuidFromString(text, uuid);
    return uuid.SerializeAsString();
}

TEST(CliPortStatus, APortIsUpOnlyWhenItAndItsSwitchAreAdminUp) {
    const int savedConsole = LogLevel::console.exchange(0);
    auto cache = zef::MakeRef<StateCache>();
    const char* const sw = "00000000-0000-0001-0000-000000000001";
    const char* const up = "00000000-0000-0002-0000-000000000001";
    const char* const down = "00000000-0000-0002-0000-000000000002";
    halden::zef::loftdb::LogSwitchConfigMsg switchAdmin;
    switchAdmin.set_admin_state_up(true);
    halden::zef::loftdb::LogSwitchPortConfigMsg portSwitch;
    UuidFromString(sw, *portSwitch.mutable_switch_id());
    halden::zef::loftdb::LogSwitchPortConfigMsg portUp;
    portUp.set_admin_state_up(true);
    halden::zef::loftdb::LogSwitchPortConfigMsg portDown;
    portDown.set_admin_state_up(false);
    LoftDBUpdateList list;
    list.emplace_back(LOG_SWITCH_CONFIG, Uuid(sw), OP_UPDATE, std::string(), std::string());
    list.emplace_back(LOG_SWITCH_CONFIG, Uuid(sw), OP_UPDATE, LS_ADMIN_STATE_UP, switchAdmin.SerializeAsString());
    for (const auto& [port, admin] : {std::pair{up, &portUp}, std::pair{down, &portDown}}) {
        list.emplace_back(LOG_SWITCH_PORT_CONFIG, Uuid(port), OP_UPDATE, std::string(), std::string());
        list.emplace_back(LOG_SWITCH_PORT_CONFIG, Uuid(port), OP_UPDATE, LSP_SWITCH_ID,
                          portSwitch.SerializeAsString());
        list.emplace_back(LOG_SWITCH_PORT_CONFIG, Uuid(port), OP_UPDATE, LSP_ADMIN_STATE_UP,
                          admin->SerializeAsString());
    }
    cache->ConfigTable()->UpdateDesiredState(list, true);
    CliServer server(cache, nullptr);
    const std::string table = server.PortStatus();
    std::istringstream lines(table);
    std::string header;
    std::getline(lines, header);
    EXPECT_EQ(header.size(), 40u + 8 + 52 + 40 + 40);
    EXPECT_EQ(header.substr(0, 17), "Logical Port UUID");
    EXPECT_EQ(header.substr(40, 6), "Status");
    std::map<std::string, std::string> status;
    for (std::string line; std::getline(lines, line);) {
        status[line.substr(0, 36)] = line.substr(40, 8);
        EXPECT_EQ(line.substr(100, 36), sw);
    }
    EXPECT_EQ(status[up], "up      ");
    EXPECT_EQ(status[down], "down    ");
    LogLevel::console.store(savedConsole);
}

}  // namespace
