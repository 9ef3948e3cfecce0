#pragma once

#include <atomic>

namespace CfgAgent {

enum : int {
    LL_OFF = 0,
    LL_FATAL = 1,
    LL_ERROR = 2,
    LL_WARN = 3,
    LL_INFO = 4,
    LL_DEBUG = 5,
    LL_TRACE = 6,
};

// Process-wide switches, written by start-up and the command socket and read
// by every call site. Relaxed atomics: a late view of a new level is harmless.
struct LogLevel {
    static std::atomic<int> agent;    // gates every CfgAgent::Logger call site
    static std::atomic<int> console;  // non-zero: lines are copied to stdout
    static std::atomic<int> cradle;   // the guest channel's own level

    static bool On(int level) { return agent.load(std::memory_order_relaxed) >= level; }
};

}  // namespace CfgAgent

// A suppressed line costs a load and a compare: the record, and every argument
// conversion, sit behind the test.
#define CFG_LOG(level, ...)                     \
    if (!::CfgAgent::LogLevel::On(level)) {     \
    } else                                      \
        ::CfgAgent::Logger((level), __VA_ARGS__)
