// The L3 table taking the store's full load of a large routing table: every
// route decoded into records, packed as the store client hands them over and
// applied as one transaction, beside the floor of decoding and packing the
// same updates alone, and what the table weighs.

#include <benchmark/benchmark.h>

#include <chrono>
#include <vector>

#include "TableMeasure.h"
#include "cache/StateCacheL3Table.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/RecordPack.h"
#include "loftdb_routing.pb.h"
#include "loftdb_routing_op.pb.h"
#include "loftdb_store.pb.h"
#include "log/LogLevel.h"
#include "store/Decoder.h"
#include "zef/RefPtr.h"
#include "zef/loftdb/OpReflection.h"

namespace {

using namespace halden::zef::loftdb;
using Bench::Clock;
using Bench::HeapInUse;
using Bench::Seconds;
using zef::loftdb::OpReflection;

constexpr uint32_t kRouters = 64;

// A route as the store replays it: router and prefix set, each next hop
// appended. Routes spread over the routers; the prefixes are /32s.
MonitorUpdateMsg Route(uint32_t n, int hops) {
    FibMsg fib;
    FibOpMsg op;
    fib.mutable_id()->set_left(0x4900000000000000ull + n);
    fib.mutable_id()->set_right(n);
    fib.mutable_log_router_id()->set_left(0x0300000000000000ull + n % kRouters);
    fib.mutable_log_router_id()->set_right(n % kRouters);
    fib.mutable_prefix()->mutable_ip_address()->set_ipv4(0x0b000000u + n);
    fib.mutable_prefix()->set_prefix_length(32);
    OpReflection::SetSelf(*op.mutable_id(), SET);
    OpReflection::SetSelf(*op.mutable_log_router_id(), SET);
    OpReflection::SetSelf(*op.mutable_prefix(), SET);
    for (int h = 0; h < hops; ++h) {
        FibNextHopMsg* hop = fib.add_next_hops();
        hop->mutable_ip()->set_ipv4(0x0a000001u + h);
        hop->set_route_type(FIB_ROUTE_TYPE_BGP);
        hop->set_egress_interface("uplink-" + std::to_string(h));
        hop->set_metric(10);
        OpReflection::SetSelf(*op.add_next_hops(), APPEND);
    }
    MonitorUpdateMsg update;
    update.set_object_type(CfgAgent::FIB);
    update.set_object_body(fib.SerializeAsString());
    update.set_op_body(op.SerializeAsString());
    return update;
}

// What the store client hands the table at the barrier.
CfgAgent::RecordPack Decode(const std::vector<MonitorUpdateMsg>& updates) {
    CfgAgent::RecordPack pack;
    for (const MonitorUpdateMsg& update : updates) {
        pack.Append(CfgAgent::Decoder::DecodeFib(update));
    }
    return pack;
}

void BM_L3FullLoad(benchmark::State& state) {
    // Lines at the agent's default level would show every route whole.
    CfgAgent::LogLevel::agent = CfgAgent::LL_WARN;
    const auto routes = static_cast<uint32_t>(state.range(0));
    const auto hops = static_cast<int>(state.range(1));
    std::vector<MonitorUpdateMsg> updates;
    updates.reserve(routes);
    for (uint32_t n = 0; n < routes; ++n) {
        updates.push_back(Route(n, hops));
    }
    for (auto _ : state) {
        const size_t heapBefore = HeapInUse();
        // The floor: the same updates decoded and packed in one loop.
        const Clock::time_point decodeBegin = Clock::now();
        CfgAgent::RecordPack records = Decode(updates);
        const double decode = Seconds(decodeBegin);
        const auto count = static_cast<double>(records.Size());

        auto table = zef::MakeRef<CfgAgent::StateCacheL3Table>();
        const Clock::time_point loadBegin = Clock::now();
        table->TakeDesiredState(std::move(records), true);
        const double load = Seconds(loadBegin);
        // The pack is consumed: what is left is the table.
        const size_t heap = HeapInUse() - heapBefore;

        // A reconnect: the same load again, which changes nothing.
        CfgAgent::RecordPack again = Decode(updates);
        const Clock::time_point replayBegin = Clock::now();
        table->TakeDesiredState(std::move(again), true);
        const double replay = Seconds(replayBegin);

        Bench::Report(state, {static_cast<double>(count), static_cast<double>(table->Count()), decode, load, replay,
                              static_cast<double>(table->DesiredSize()), static_cast<double>(heap)});
    }
}
BENCHMARK(BM_L3FullLoad)
    ->ArgNames({"routes", "hops"})
    ->Args({100000, 3})
    ->Args({1000000, 3})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
