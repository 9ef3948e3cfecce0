#pragma once

#include <cstdint>
#include <mutex>

#include "zef/metrics/MetricValue.h"
#include "zef/metrics/SpinLock.h"

namespace zef::metrics {

// A level that moves up and down, such as a queue length.
class UnitCounter final : public MetricValue {
public:
    static constexpr ValueType kType = ValueType::Unit;

    void Increment(int64_t by = 1) {
        std::lock_guard<SpinLock> guard(_lock);
        _value += by;
    }
    void Decrement(int64_t by = 1) { Increment(-by); }
    int64_t Value() const {
        std::lock_guard<SpinLock> guard(_lock);
        return _value;
    }

    ValueType Type() const override { return kType; }

private:
    mutable SpinLock _lock;
    int64_t _value = 0;
};

}  // namespace zef::metrics
