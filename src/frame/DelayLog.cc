#include "frame/DelayLog.h"

#include "log/Logger.h"

namespace CfgAgent {

namespace {

// The steady clock as its stream output prints it: a count of nanoseconds.
std::string SteadyText(std::chrono::steady_clock::time_point at) {
    return std::to_string(
               std::chrono::duration_cast<std::chrono::nanoseconds>(at.time_since_epoch()).count()) +
           "ns";
}

}  // namespace

DelayLog::DelayLog(bool enabled, std::string label)
    : _enabled(enabled),
      _label(std::move(label)),
      _begin(enabled ? std::chrono::steady_clock::now() : std::chrono::steady_clock::time_point{}) {}

DelayLog::~DelayLog() {
    if (!_enabled) {
        return;
    }
    const auto end = std::chrono::steady_clock::now();
    if (end - _begin > kThreshold) {
        CFG_LOG(LL_INFO, "DELAY %1 begin %2 end %3", _label, SteadyText(_begin), SteadyText(end));
    }
}

}  // namespace CfgAgent
