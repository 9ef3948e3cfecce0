#pragma once

#include <chrono>
#include <string>

namespace CfgAgent {

// Times a scope when an instrument flag asks for it, and logs the scope when
// it took more than a second.
class DelayLog {
public:
    DelayLog(bool enabled, std::string label);
    ~DelayLog();
    DelayLog(const DelayLog&) = delete;
    DelayLog& operator=(const DelayLog&) = delete;

    static constexpr std::chrono::nanoseconds kThreshold{1000000000};

private:
    const bool _enabled;
    const std::string _label;
    const std::chrono::steady_clock::time_point _begin;
};

}  // namespace CfgAgent
