// The store service in process: transactions from a writer client through
// the service to one monitoring client, and the memory a stored object costs.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <atomic>
#include <boost/asio/post.hpp>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>

#include "ObjectStore.h"
#include "StoreService.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_switching.pb.h"
#include "zef/loftdb/LoftDbClient.h"

namespace {

using namespace halden::zef::loftdb;
using namespace std::chrono_literals;

constexpr uint32_t kSwitch = 1;
constexpr uint32_t kSwitchFib = 27;

LogSwitchConfigMsg Switch(uint64_t id, uint32_t vni) {
    LogSwitchConfigMsg object;
    object.mutable_id()->set_left(id);
    object.mutable_id()->set_right(~id);
    object.set_vni(vni);
    object.set_replication_mode(1);
    object.set_admin_state_up(true);
    object.mutable_transport_zone_id()->set_left(42);
    object.mutable_transport_zone_id()->set_right(43);
    object.set_switch_name("ls-" + std::to_string(id));
    return object;
}

LogSwitchFibMsg Fib(uint64_t id, int vteps) {
    LogSwitchFibMsg fib;
    fib.mutable_id()->set_left(id);
    fib.mutable_id()->set_right(~id);
    for (int i = 0; i < vteps; ++i) {
        auto* vtep = fib.add_vteps();
        vtep->mutable_vtep_label()->set_label(static_cast<uint32_t>(i + 1));
        vtep->set_vtep_ip(0x0a000000u + static_cast<uint32_t>(i));
        vtep->set_encap_type(3);
    }
    return fib;
}

ModifyRequestMsg Puts(uint64_t first, int count, uint32_t vni) {
    ModifyRequestMsg request;
    for (int i = 0; i < count; ++i) {
        auto* put = request.add_modify()->mutable_put();
        put->mutable_object()->set_object_type(kSwitch);
        put->mutable_object()->set_body(Switch(first + static_cast<uint64_t>(i), vni).SerializeAsString());
    }
    return request;
}

// A service on its own thread, a writer, and a monitor that counts barriers.
class Pipeline {
public:
    Pipeline() {
        service = std::make_unique<loftdb::StoreService>(context, store, nullptr);
        std::string error;
        const uint16_t port = service->Listen("tcp://127.0.0.1:0", error);
        if (port == 0) {
            throw std::runtime_error(error);
        }
        thread = std::thread([this] { context.run(); });
        const std::string endpoint = "tcp://127.0.0.1:" + std::to_string(port);

        monitor = std::make_unique<zef::loftdb::LoftDbClient>("bench-monitor", endpoint);
        monitor->RegisterMonitor(
            1, [this](const MonitorUpdateMsg&) { ++updates; },
            [this] {
                std::lock_guard<std::mutex> guard(mutex);
                ++barriers;
                arrived.notify_all();
            },
            0);
        MonitorStatementMsg statement;
        statement.mutable_object()->set_object_type(kSwitch);
        statement.set_mode(1);
        monitor->ConfigureMonitor({statement}, {}, 1, 0);
        monitor->StartAsync();
        writer = std::make_unique<zef::loftdb::LoftDbClient>("bench-writer", endpoint);
        writer->StartAsync();
        if (!monitor->WaitConnected(10s) || !writer->WaitConnected(10s) || !WaitBarriers(1)) {
            throw std::runtime_error("the store did not come up");
        }
    }

    ~Pipeline() {
        writer.reset();
        monitor.reset();
        boost::asio::post(context, [this] { service->Stop(); });
        work.reset();
        thread.join();
    }

    void Send(const ModifyRequestMsg& request) {
        writer->Modify({request}, [this](bool ok, const std::string&) {
            if (!ok) {
                ++refused;
            }
        });
    }

    bool WaitBarriers(uint64_t count) {
        std::unique_lock<std::mutex> lock(mutex);
        return arrived.wait_for(lock, 60s, [&] { return barriers >= count; });
    }

    uint64_t Barriers() {
        std::lock_guard<std::mutex> guard(mutex);
        return barriers;
    }

    std::atomic<uint64_t> updates{0};
    std::atomic<uint64_t> refused{0};

private:
    boost::asio::io_context context;
    std::optional<boost::asio::executor_work_guard<boost::asio::io_context::executor_type>> work{
        context.get_executor()};
    loftdb::ObjectStore store;
    std::unique_ptr<loftdb::StoreService> service;
    std::thread thread;
    std::unique_ptr<zef::loftdb::LoftDbClient> monitor;
    std::unique_ptr<zef::loftdb::LoftDbClient> writer;
    std::mutex mutex;
    std::condition_variable arrived;
    uint64_t barriers = 0;
};

void Rates(benchmark::State& state, uint64_t transactions, uint64_t updates) {
    state.counters["tx/s"] = benchmark::Counter(static_cast<double>(transactions),
                                                benchmark::Counter::kIsRate);
    state.counters["updates/s"] = benchmark::Counter(static_cast<double>(updates),
                                                     benchmark::Counter::kIsRate);
}

// Transactions of `range(0)` objects, at most `range(1)` of them in flight;
// each ends when the monitor has its barrier.
void BM_Transactions(benchmark::State& state) {
    const int objects = static_cast<int>(state.range(0));
    const uint64_t window = static_cast<uint64_t>(state.range(1));
    Pipeline pipeline;
    // Two versions of every object, alternated, so that each put changes it.
    const ModifyRequestMsg versions[2] = {Puts(1, objects, 1), Puts(1, objects, 2)};
    uint64_t sent = 0;
    const uint64_t base = pipeline.Barriers();
    const uint64_t updatesBefore = pipeline.updates.load();
    for (auto _ : state) {
        if (sent >= window && !pipeline.WaitBarriers(base + sent - window + 1)) {
            state.SkipWithError("no barrier in time");
            break;
        }
        pipeline.Send(versions[sent % 2]);
        ++sent;
        // The last iteration drains the window, so that the timing covers it.
        if (sent == static_cast<uint64_t>(state.max_iterations) &&
            !pipeline.WaitBarriers(base + sent)) {
            state.SkipWithError("no barrier in time");
            break;
        }
    }
    const uint64_t updates = pipeline.updates.load() - updatesBefore;
    if (pipeline.refused.load() != 0) {
        state.SkipWithError("the store refused transactions");
    } else if (updates != sent * static_cast<uint64_t>(objects)) {
        state.SkipWithError("the monitor missed updates");
    }
    Rates(state, sent, updates);
}
BENCHMARK(BM_Transactions)
    ->ArgNames({"objects", "window"})
    ->Args({1, 1})
    ->Args({1, 64})
    ->Args({10000, 1})
    ->Args({10000, 4})
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

size_t HeapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// What an object costs in the store: its key and body, and the heap around them.
template <typename Make>
void Footprint(benchmark::State& state, Make make, uint32_t type) {
    const size_t count = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        auto store = std::make_unique<loftdb::ObjectStore>();
        std::vector<std::pair<std::string, std::string>> objects;
        objects.reserve(count);
        for (size_t i = 0; i < count; ++i) {
            auto object = make(i);
            objects.emplace_back(object.id().SerializeAsString(), object.SerializeAsString());
        }
        const size_t before = HeapInUse();
        for (auto& [key, body] : objects) {
            store->Set({0, type, key}, body);
        }
        const size_t after = HeapInUse();
        benchmark::DoNotOptimize(store->Size());
        state.counters["objects"] = static_cast<double>(store->Size());
        state.counters["payload_B/obj"] =
            static_cast<double>(store->Bytes()) / static_cast<double>(store->Size());
        state.counters["heap_B/obj"] =
            static_cast<double>(after - before) / static_cast<double>(store->Size());
    }
}

void BM_SwitchFootprint(benchmark::State& state) {
    Footprint(state, [](size_t i) { return Switch(i + 1, static_cast<uint32_t>(i)); }, kSwitch);
}
BENCHMARK(BM_SwitchFootprint)->Arg(100000)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_FibFootprint(benchmark::State& state) {
    Footprint(state, [](size_t i) { return Fib(i + 1, 8); }, kSwitchFib);
}
BENCHMARK(BM_FibFootprint)->Arg(100000)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
