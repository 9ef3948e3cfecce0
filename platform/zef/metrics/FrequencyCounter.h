#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

#include "zef/metrics/MetricValue.h"
#include "zef/metrics/SpinLock.h"

namespace zef::metrics {

// Counts events and reads as a total plus a rate over the counter's life.
class FrequencyCounter final : public MetricValue {
public:
    static constexpr ValueType kType = ValueType::Frequency;

    void Mark(uint64_t events = 1) {
        std::lock_guard<SpinLock> guard(_lock);
        _count += events;
    }
    uint64_t Count() const {
        std::lock_guard<SpinLock> guard(_lock);
        return _count;
    }
    double RatePerSecond() const {
        auto elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - _born);
        return elapsed.count() > 0 ? static_cast<double>(Count()) / elapsed.count() : 0.0;
    }

    ValueType Type() const override { return kType; }
    std::string Text() const override {
        return std::to_string(Count()) + " (" + std::to_string(RatePerSecond()) + "/s)";
    }

private:
    mutable SpinLock _lock;
    uint64_t _count = 0;
    const std::chrono::steady_clock::time_point _born = std::chrono::steady_clock::now();
};

}  // namespace zef::metrics
