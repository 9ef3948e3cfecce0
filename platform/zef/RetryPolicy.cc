#include "zef/RetryPolicy.h"

#include <algorithm>

namespace zef {

RetryPolicy::RetryPolicy(std::chrono::milliseconds delay)
    : RetryPolicy(delay, delay, 1.0, kNoLimit) {}

RetryPolicy::RetryPolicy(std::chrono::milliseconds first, std::chrono::milliseconds largest,
                         double multiplier, int attempts)
    : _first(first),
      _largest(std::max(first, largest)),
      _multiplier(multiplier),
      _attempts(attempts),
      _next(first) {}

std::optional<std::chrono::milliseconds> RetryPolicy::NextDelay() {
    if (_attempts != kNoLimit && _used >= _attempts) {
        return std::nullopt;
    }
    ++_used;
    const std::chrono::milliseconds delay = _next;
    const double grown = static_cast<double>(_next.count()) * _multiplier;
    _next = grown >= static_cast<double>(_largest.count())
                ? _largest
                : std::chrono::milliseconds(static_cast<int64_t>(grown));
    return delay;
}

void RetryPolicy::Reset() {
    _used = 0;
    _next = _first;
}

}  // namespace zef
