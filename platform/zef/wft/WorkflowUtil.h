#pragma once

#include <atomic>
#include <cstdint>

namespace zef::wft {

// Workflow tracing of long conversions; spans come with the conversions.
class WorkflowUtil {
public:
    static void SetTraceLevel(uint8_t level) { traceLevel.store(level); }
    static uint8_t GetTraceLevel() { return traceLevel.load(); }

private:
    static inline std::atomic<uint8_t> traceLevel{2};
};

}  // namespace zef::wft
