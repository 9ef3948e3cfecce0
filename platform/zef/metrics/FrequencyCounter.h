#pragma once

#include <cstdint>
#include <mutex>

#include "zef/metrics/MetricValue.h"
#include "zef/metrics/SpinLock.h"

namespace zef::metrics {

// Counts events.
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

    ValueType Type() const override { return kType; }

private:
    mutable SpinLock _lock;
    uint64_t _count = 0;
};

}  // namespace zef::metrics
