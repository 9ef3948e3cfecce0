#pragma once

#include <benchmark/benchmark.h>
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

// One table load beside its floor, as the benchmark's counters.
struct LoadFigures {
    double records = 0;
    double rows = 0;
    double decodeSeconds = 0;  // the floor
    double loadSeconds = 0;
    double replaySeconds = 0;
    double accountBytes = 0;
    double heapBytes = 0;
};

inline void Report(benchmark::State& state, const LoadFigures& figures) {
    state.SetIterationTime(figures.loadSeconds);
    state.counters["records"] = figures.records;
    state.counters["rows"] = figures.rows;
    state.counters["decode_floor_s"] = figures.decodeSeconds;
    state.counters["load_s"] = figures.loadSeconds;
    state.counters["load/floor"] = figures.loadSeconds / figures.decodeSeconds;
    state.counters["replay_s"] = figures.replaySeconds;
    state.counters["account_MB"] = figures.accountBytes / 1e6;
    state.counters["heap_MB"] = figures.heapBytes / 1e6;
    state.counters["heap_B/row"] = figures.heapBytes / figures.rows;
}

}  // namespace Bench
