#pragma once

#include <malloc.h>

#include <chrono>
#include <cstddef>

namespace Bench {

// What the table benchmarks read around a load: the heap in use and the
// seconds since a moment.
using Clock = std::chrono::steady_clock;

inline size_t HeapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

inline double Seconds(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

}  // namespace Bench
