#pragma once

#include <span>
#include <string>

namespace CfgAgent {

// The set and get pairs of the log levels, and the workflow trace level.
class LogLevelCommands {
public:
    struct Row {
        const char* set;
        const char* get;
        const char* label;  // in the reply
        const char* word;   // in the log line; null for the agent's own row
    };

    static std::span<const Row> Rows();
    // The reply text; the level changes only for a known name.
    static std::string Set(const Row& row, const std::string& name);
    static std::string Get(const Row& row);
    static std::string SetTraceLevel(const std::string& name);
    static std::string GetTraceLevel();

    static const char* LevelName(int level);
    static int LevelOf(const std::string& name);
};

}  // namespace CfgAgent
