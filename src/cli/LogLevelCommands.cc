#include "cli/LogLevelCommands.h"

#include <array>
#include <atomic>

#include "log/Logger.h"
#include "log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"
#include "zef/wft/WorkflowUtil.h"

namespace CfgAgent {

namespace {

constexpr std::array<const char*, 7> kLevelNames = {"off",  "fatal", "error", "warn",
                                                    "info", "debug", "trace"};
constexpr std::array<const char*, 5> kTraceLevelNames = {"off", "warn", "info", "debug", "trace"};

const LogLevelCommands::Row kRows[] = {
    {"cfgagent/set/loglevel", "cfgagent/get/loglevel", "cfgagent", nullptr},
    {"cfgagent/set-metrics/loglevel", "cfgagent/get-metrics/loglevel", "cfgagent metrics", "metrics"},
    {"cfgagent/set-net/loglevel", "cfgagent/get-net/loglevel", "cfgagent net", "net"},
    {"cfgagent/set-rpc/loglevel", "cfgagent/get-rpc/loglevel", "cfgagent rpc", "rpc"},
    {"cfgagent/set-loftdb/loglevel", "cfgagent/get-loftdb/loglevel", "cfgagent loftDb", "loftDb"},
    {"cfgagent/set-wft/loglevel", "cfgagent/get-wft/loglevel", "cfgagent workflow tracing",
     "workflow tracing"},
    {"cfgagent/set-sha/loglevel", "cfgagent/get-sha/loglevel", "Cfgagent SHA client lib",
     "SHA client lib"},
    {"cfgagent/set-cradle/loglevel", "cfgagent/get-cradle/loglevel", "Cfgagent cradle", "cradle"},
    {"cfgagent/set-upm/loglevel", "cfgagent/get-upm/loglevel", "Cfgagent upm", "upm"},
};

// The level variable a row moves; the agent's row also moves the library default.
std::atomic<int>& Variable(const LogLevelCommands::Row& row) {
    const std::string word = row.word != nullptr ? row.word : "";
    if (word == "metrics") return zef::metrics::library_log_level;
    if (word == "net") return zef::net::library_log_level;
    if (word == "rpc") return zef::rpc::library_log_level;
    if (word == "loftDb") return zef::loftdb::library_log_level;
    if (word == "workflow tracing") return zef::wft::library_log_level;
    if (word == "SHA client lib") return zef::sha::library_log_level;
    if (word == "cradle") return LogLevel::cradle;
    if (word == "upm") return zef::upm::library_log_level;
    return LogLevel::agent;
}

template <size_t N>
int IndexOf(const std::array<const char*, N>& names, const std::string& name) {
    for (size_t i = 0; i < N; ++i) {
        if (name == names[i]) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

template <size_t N>
const char* NameOf(const std::array<const char*, N>& names, int level) {
    return level >= 0 && static_cast<size_t>(level) < N ? names[static_cast<size_t>(level)] : "unknown";
}

}  // namespace

std::span<const LogLevelCommands::Row> LogLevelCommands::Rows() { return kRows; }

const char* LogLevelCommands::LevelName(int level) { return NameOf(kLevelNames, level); }

int LogLevelCommands::LevelOf(const std::string& name) { return IndexOf(kLevelNames, name); }

std::string LogLevelCommands::Set(const Row& row, const std::string& name) {
    std::atomic<int>& variable = Variable(row);
    const std::string old = LevelName(variable.load());
    const int level = LevelOf(name);
    if (row.word == nullptr) {
        CFG_LOG(LL_INFO, "CliServer: setting log level from %1 to %2", old, name);
    } else {
        CFG_LOG(LL_INFO,
                (std::string("CliServer: setting ") + row.word + " log level from %1 to %2").c_str(),
                old, name);
    }
    const std::string reply =
        std::string("Setting ") + row.label + " logging level from " + old + " to " + name;
    if (level < 0) {
        return reply + " failed";
    }
    variable = level;
    if (row.word == nullptr) {
        zef::Logger::logLevel = level;
    }
    return reply + " successfully";
}

std::string LogLevelCommands::Get(const Row& row) {
    const std::string name = LevelName(Variable(row).load());
    if (row.word == nullptr) {
        CFG_LOG(LL_INFO, "CliServer: getting log level %1 aux %2", name, "cfgagent");
    } else {
        CFG_LOG(LL_INFO, (std::string("CliServer: getting ") + row.word + " log level %1").c_str(),
                name);
    }
    return std::string("Current ") + row.label + " logging level is: " + name;
}

std::string LogLevelCommands::SetTraceLevel(const std::string& name) {
    const std::string old = NameOf(kTraceLevelNames, zef::wft::WorkflowUtil::GetTraceLevel());
    const int level = IndexOf(kTraceLevelNames, name);
    const std::string reply = "Setting cfgagent trace level from " + old + " to " + name;
    if (level < 0) {
        return reply + " failed";
    }
    zef::wft::WorkflowUtil::SetTraceLevel(static_cast<uint8_t>(level));
    return reply + " successfully";
}

std::string LogLevelCommands::GetTraceLevel() {
    const std::string name = NameOf(kTraceLevelNames, zef::wft::WorkflowUtil::GetTraceLevel());
    CFG_LOG(LL_INFO, "CliServer: getting trace level %1", name);
    return "Current cfgagent trace level is: " + name;
}

}  // namespace CfgAgent
