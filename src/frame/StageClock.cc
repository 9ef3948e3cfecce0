#include "frame/StageClock.h"

#include <cstdio>

namespace CfgAgent {

std::atomic<bool> StageClock::_enabled{false};
std::array<std::atomic<uint64_t>, StageClock::kStages> StageClock::_nanos{};
std::array<std::atomic<uint64_t>, StageClock::kStages> StageClock::_passes{};

namespace {

constexpr const char* kNames[StageClock::kStages] = {
    "store-wait", "decode", "transaction", "queue", "table", "observers", "application", "link-send",
};

}  // namespace

std::string StageClock::Line() {
    std::string line;
    char item[96];
    for (size_t stage = 0; stage < kStages; ++stage) {
        std::snprintf(item, sizeof item, "%s%s %.6fs/%llu", line.empty() ? "" : " ", kNames[stage],
                      static_cast<double>(_nanos[stage].load()) / 1e9,
                      static_cast<unsigned long long>(_passes[stage].load()));
        line += item;
    }
    return line;
}

}  // namespace CfgAgent
