#pragma once

#include <atomic>

namespace zef::metrics {

// Counters are touched on every work item; a spin lock keeps that a few
// instructions when uncontended.
class SpinLock {
public:
    void lock() {
        while (_flag.test_and_set(std::memory_order_acquire)) {
            _flag.wait(true, std::memory_order_relaxed);
        }
    }
    void unlock() {
        _flag.clear(std::memory_order_release);
        _flag.notify_one();
    }

private:
    std::atomic_flag _flag = ATOMIC_FLAG_INIT;
};

}  // namespace zef::metrics
