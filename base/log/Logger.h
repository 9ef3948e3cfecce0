#pragma once

#include <array>
#include <string>
#include <vector>

#include "log/LogArg.h"
#include "log/LogLevel.h"

namespace CfgAgent {

// One log record. A call site fills it in one expression; the destructor
// emits the line to syslog and, when enabled, to the console. Use CFG_LOG so
// that nothing is built for a suppressed level.
class Logger {
public:
    static constexpr int kMaxArgs = 9;

    template <typename... Args>
    Logger(int level, const char* format, Args&&... args) : _level(level) {
        static_assert(sizeof...(Args) <= kMaxArgs, "a log line takes at most nine arguments");
        const std::array<std::string, sizeof...(Args)> texts{LogArg(std::forward<Args>(args))...};
        _text = Format(format, texts.data(), texts.size());
    }
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;
    virtual ~Logger();

    // "key:value" or a bare value; an empty tag is ignored.
    Logger& Tag(std::string tag);
    // Checked against the message-id table; an unknown id becomes "*".
    Logger& MessageId(const std::string& id);
    Logger& EntityId(std::string id);
    Logger& SubComponent(std::string name);

    // Replaces "%1" to "%9" by the argument of that number; "%%" is a percent.
    static std::string Format(const char* format, const std::string* args, size_t count);

    // The complete syslog line and console line this record emits; exposed so
    // that the format can be checked without a syslog daemon.
    struct Lines {
        std::string syslog;
        std::string console;
        int severity = 0;
    };
    Lines Render() const;

    // Called once before main: reads ZEF_SYSLOG_METHOD and the two log data files.
    static void InitProcess();

private:
    std::string StructuredPart(bool& invalid) const;
    void AppendTags(std::string& out, bool& invalid) const;
    void Emit() const;

    int _level;
    std::string _messageId;
    std::string _entityId;
    std::vector<std::string> _tags;
    std::string _text;
    std::string _subComponent;
};

}  // namespace CfgAgent
