#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

namespace CfgAgent {

// Where the store road spends its time: nanoseconds and passes per stage,
// summed since the start. Kept only while an instrument flag asks for it, so
// that the road pays one branch per stage otherwise.
class StageClock {
public:
    enum Stage : size_t {
        StoreWait,    // the store library between two callbacks of a transaction
        Decode,       // monitor updates into records
        Transaction,  // filing, merges, sorting and queueing at the barrier
        Queue,        // a closed transaction waiting for the dispatcher
        Table,        // a table applying records and reconciling
        Observers,    // sorting changes into the observers' lists
        Application,  // observers turning changes into kernel messages
        LinkSend,     // kernel messages written to their link
        kStages
    };

    static bool Enabled() { return _enabled.load(std::memory_order_relaxed); }
    static void Enable(bool on) { _enabled.store(on, std::memory_order_relaxed); }
    static uint64_t Now() {
        return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                         std::chrono::steady_clock::now().time_since_epoch())
                                         .count());
    }
    // `passes` counts what the stage went through: calls, or records where
    // the stage handles records.
    static void Add(Stage stage, uint64_t nanos, uint64_t passes = 1) {
        _nanos[stage].fetch_add(nanos, std::memory_order_relaxed);
        _passes[stage].fetch_add(passes, std::memory_order_relaxed);
    }
    // "store-wait 1.234567s/12 decode ..." in the order of the stages.
    static std::string Line();

private:
    static std::atomic<bool> _enabled;
    static std::array<std::atomic<uint64_t>, kStages> _nanos;
    static std::array<std::atomic<uint64_t>, kStages> _passes;
};

// Adds the time of a scope to a stage, when the clock runs.
class StageScope {
public:
    explicit StageScope(StageClock::Stage stage)
        : _stage(stage), _begin(StageClock::Enabled() ? StageClock::Now() : 0) {}
    ~StageScope() {
        if (_begin != 0) {
            StageClock::Add(_stage, StageClock::Now() - _begin, _passes);
        }
    }
    void Passes(uint64_t passes) { _passes = passes; }
    StageScope(const StageScope&) = delete;
    StageScope& operator=(const StageScope&) = delete;

private:
    const StageClock::Stage _stage;
    const uint64_t _begin;
    uint64_t _passes = 1;
};

}  // namespace CfgAgent
