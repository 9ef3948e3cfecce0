#pragma once

#include <atomic>
#include <sstream>
#include <string>
#include <vector>

namespace zef {

enum LibraryLogLevel : int {
    LIB_LOG_OFF = 0,
    LIB_LOG_FATAL = 1,
    LIB_LOG_ERROR = 2,
    LIB_LOG_WARN = 3,
    LIB_LOG_INFO = 4,
    LIB_LOG_DEBUG = 5,
    LIB_LOG_TRACE = 6,
};

// The logger the host libraries write through: printf-style pieces, and on
// destruction one agent log line with the same format and switches.
class Logger {
public:
    // Level of library lines that have no level variable of their own.
    static std::atomic<int> logLevel;

    explicit Logger(LibraryLogLevel level);
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;
    ~Logger();

    Logger& put() { return *this; }
    Logger& put(const char* format, ...) __attribute__((format(printf, 2, 3)));
    Logger& tag(const char* tag);
    Logger& entid(const char* id);
    Logger& s2comp(const char* name);

private:
    LibraryLogLevel _level;
    std::string _entityId;
    std::vector<std::string> _tags;
    std::ostringstream _stream;
    const char* _subComponent = nullptr;
};

}  // namespace zef

// Library call sites gate on their own level variable before anything is built.
#define ZEF_LIB_LOG(levelVariable, level)                                      \
    if ((levelVariable).load(std::memory_order_relaxed) < (level)) {          \
    } else                                                                     \
        ::zef::Logger(static_cast<::zef::LibraryLogLevel>(level))
