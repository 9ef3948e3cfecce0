#pragma once

#include <chrono>
#include <optional>

namespace zef {

// Delays between tries: the first, then each one `multiplier` times the last,
// never above the largest, for at most `attempts` tries (kNoLimit: forever).
class RetryPolicy {
public:
    static constexpr int kNoLimit = -1;

    // The same delay every time, forever.
    explicit RetryPolicy(std::chrono::milliseconds delay);
    RetryPolicy(std::chrono::milliseconds first, std::chrono::milliseconds largest,
                double multiplier, int attempts);

    // Nothing once the tries are used up.
    std::optional<std::chrono::milliseconds> NextDelay();
    // After a success: the next delay is the first again.
    void Reset();

private:
    std::chrono::milliseconds _first;
    std::chrono::milliseconds _largest;
    double _multiplier;
    int _attempts;
    int _used = 0;
    std::chrono::milliseconds _next;
};

}  // namespace zef
