#include <benchmark/benchmark.h>

#include <atomic>
#include <memory>
#include <string>

#include "frame/MsgQueue.h"
#include "frame/WorkGroup.h"
#include "log/Logger.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_common.pb.h"
#include "zef/metrics/MetricsRegistry.h"

namespace {

// A line below the level must cost a compare, not a formatting.
void BM_SuppressedLogLine(benchmark::State& state) {
    CfgAgent::LogLevel::agent = CfgAgent::LL_INFO;
    const std::string big(256, 'x');
    for (auto _ : state) {
        CFG_LOG(CfgAgent::LL_TRACE, "%1 %2 %3", big, 42, 3.5);
    }
}
BENCHMARK(BM_SuppressedLogLine);

void BM_MsgQueuePutGet(benchmark::State& state) {
    CfgAgent::MsgQueue<int*> queue(CfgAgent::MsgQueue<int*>::kNoLimit, true, true);
    int value = 0;
    for (auto _ : state) {
        queue.Put(&value);
        benchmark::DoNotOptimize(queue.Get());
    }
}
BENCHMARK(BM_MsgQueuePutGet);

class CountItem : public CfgAgent::WorkItem {
public:
    explicit CountItem(std::atomic<int64_t>& done) : _done(done) {}
    void Run() override { _done.fetch_add(1, std::memory_order_relaxed); }

private:
    std::atomic<int64_t>& _done;
};

// Enqueue-to-run throughput of short items through the group's one queue.
void BM_WorkGroupShortItems(benchmark::State& state) {
    zef::metrics::MetricsRegistry registry;
    std::atomic<int64_t> done{0};
    int64_t sent = 0;
    {
        CfgAgent::WorkGroup group(static_cast<unsigned>(state.range(0)), -1, registry);
        for (auto _ : state) {
            group.Enqueue(std::make_shared<CountItem>(done));
            ++sent;
        }
        group.Shutdown();
    }
    state.SetItemsProcessed(sent);
    if (done.load() != sent) {
        state.SkipWithError("work group lost items");
    }
}
BENCHMARK(BM_WorkGroupShortItems)->Arg(1)->Arg(4);

void BM_UuidToString(benchmark::State& state) {
    halden::zef::loftdb::UuidMsg uuid;
    uuid.set_left(0x0102030405060708ULL);
    uuid.set_right(0x090a0b0c0d0e0f10ULL);
    for (auto _ : state) {
        benchmark::DoNotOptimize(CfgAgent::UuidToString(uuid));
    }
}
BENCHMARK(BM_UuidToString);

}  // namespace
