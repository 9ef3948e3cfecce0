#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "zef/metrics/MetricValue.h"

namespace zef::metrics {

// Named counters of the process.
class MetricsRegistry {
public:
    // The value of that name, made on first use; null when the name exists
    // with another type.
    template <typename T>
    std::shared_ptr<T> check_or_create_value(const std::string& name) {
        std::shared_ptr<MetricValue> value = CheckOrCreate(name, T::kType, [] {
            return std::make_shared<T>();
        });
        return std::static_pointer_cast<T>(value);
    }


private:
    template <typename Make>
    std::shared_ptr<MetricValue> CheckOrCreate(const std::string& name, ValueType type, Make make) {
        std::lock_guard<std::mutex> guard(_mutex);
        auto it = _values.find(name);
        if (it == _values.end()) {
            it = _values.emplace(name, make()).first;
        } else if (it->second->Type() != type) {
            LogWrongType(it->second->Type(), type);
            return nullptr;
        }
        return it->second;
    }
    static void LogWrongType(ValueType existing, ValueType wanted);

    mutable std::mutex _mutex;
    std::map<std::string, std::shared_ptr<MetricValue>> _values;
};

}  // namespace zef::metrics
