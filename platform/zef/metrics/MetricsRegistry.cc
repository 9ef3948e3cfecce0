#include "zef/metrics/MetricsRegistry.h"

#include "frame/log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"

namespace zef::metrics {

std::map<std::string, std::string> MetricsRegistry::Snapshot() const {
    std::lock_guard<std::mutex> guard(_mutex);
    std::map<std::string, std::string> out;
    for (const auto& [name, value] : _values) {
        out.emplace(name, value->Text());
    }
    return out;
}

void MetricsRegistry::LogWrongType(ValueType existing, ValueType wanted) {
    ZEF_LIB_LOG(library_log_level, LIB_LOG_ERROR)
        .s2comp("zef-metrics")
        .put("Metric: wrong value type (%lu != %lu)", static_cast<unsigned long>(existing),
             static_cast<unsigned long>(wanted));
}

}  // namespace zef::metrics
