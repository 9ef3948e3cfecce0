#pragma once

#include <algorithm>
#include <cstdint>
#include <mutex>

#include "zef/metrics/MetricValue.h"
#include "zef/metrics/SpinLock.h"

namespace zef::metrics {

// Samples of a duration in microseconds: count, sum and largest.
class LatencyCounter final : public MetricValue {
public:
    static constexpr ValueType kType = ValueType::Latency;

    struct Reading {
        uint64_t count = 0;
        uint64_t sumMicros = 0;
        uint64_t maxMicros = 0;
    };

    void Record(uint64_t micros) {
        std::lock_guard<SpinLock> guard(_lock);
        ++_reading.count;
        _reading.sumMicros += micros;
        _reading.maxMicros = std::max(_reading.maxMicros, micros);
    }
    Reading Read() const {
        std::lock_guard<SpinLock> guard(_lock);
        return _reading;
    }

    ValueType Type() const override { return kType; }

private:
    mutable SpinLock _lock;
    Reading _reading;
};

}  // namespace zef::metrics
