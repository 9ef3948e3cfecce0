#pragma once

#include <cstdint>
#include <string>

namespace zef::metrics {

enum class ValueType : uint64_t {
    Unit = 1,
    Frequency = 2,
    Latency = 3,
};

// A named value in the registry.
class MetricValue {
public:
    virtual ~MetricValue() = default;
    virtual ValueType Type() const = 0;
};

}  // namespace zef::metrics
