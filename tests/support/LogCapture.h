#pragma once

#include <gtest/gtest.h>

#include <iostream>
#include <string>

#include "log/LogLevel.h"

namespace zef::test {

// The agent's log lines while it lives, read from the console copy.
class LogCapture {
public:
    explicit LogCapture(int level = CfgAgent::LL_TRACE)
        : _level(CfgAgent::LogLevel::agent.exchange(level)),
          _console(CfgAgent::LogLevel::console.exchange(1)) {
        testing::internal::CaptureStdout();
    }
    ~LogCapture() {
        // A failure's report went to the captured output too.
        _text += testing::internal::GetCapturedStdout();
        if (testing::Test::HasFailure()) {
            std::cerr << _text;
        }
        CfgAgent::LogLevel::agent.store(_level);
        CfgAgent::LogLevel::console.store(_console);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Everything so far; the capture goes on.
    const std::string& Text() {
        _text += testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
        return _text;
    }
    bool Has(const std::string& line) { return Text().find(line) != std::string::npos; }

private:
    int _level;
    int _console;
    std::string _text;
};

}  // namespace zef::test
