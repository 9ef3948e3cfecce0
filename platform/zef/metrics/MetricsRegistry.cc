#include "zef/metrics/MetricsRegistry.h"

#include "log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"

namespace zef::metrics {

void MetricsRegistry::LogWrongType(ValueType existing, ValueType wanted) {
    ZEF_LIB_LOG(library_log_level, LIB_LOG_ERROR)
        .s2comp("zef-metrics")
        .put("Metric: wrong value type (%lu != %lu)", static_cast<unsigned long>(existing),
             static_cast<unsigned long>(wanted));
}

}  // namespace zef::metrics
