// The L2 table taking the store's full load of a large overlay: every
// switch's FIB decoded into records and applied as one transaction, beside
// the floor of decoding the same updates alone, and what the table weighs.

#include <benchmark/benchmark.h>

#include <chrono>
#include <vector>

#include "TableMeasure.h"
#include "cache/StateCacheL2Table.h"
#include "frame/vocabulary/ObjectType.h"
#include "log/LogLevel.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_overlay_op.pb.h"
#include "loftdb_store.pb.h"
#include "store/Decoder.h"
#include "zef/RefPtr.h"
#include "zef/loftdb/OpReflection.h"

namespace {

using namespace halden::zef::loftdb;
using Bench::Clock;
using Bench::HeapInUse;
using Bench::Seconds;
using zef::loftdb::OpReflection;

// A switch's FIB as the store replays it: the key set, each entry appended.
// Every VTEP carries `macs` VMs behind it.
MonitorUpdateMsg SwitchFib(uint32_t vni, int vteps, int macs) {
    LogSwitchFibMsg fib;
    LogSwitchFibOpMsg op;
    fib.mutable_id()->set_left(0x5000000000000000ull + vni);
    fib.mutable_id()->set_right(vni);
    OpReflection::SetSelf(*op.mutable_id(), SET);
    for (int v = 0; v < vteps; ++v) {
        LogSwitchVtepEntryMsg* vtep = fib.add_vteps();
        vtep->mutable_vtep_label()->set_label(0x1000 + v);
        vtep->set_vtep_ip(0x0a100000u + v);
        vtep->set_vtep_mac(0x005056100000ull + v);
        vtep->set_segment_id(0x0a100000u);
        vtep->set_encap_type(3);
        OpReflection::SetSelf(*op.add_vteps(), APPEND);
        for (int m = 0; m < macs; ++m) {
            LogSwitchMacEntryMsg* mac = fib.add_macs();
            mac->set_mac(0x020000000000ull + (static_cast<uint64_t>(vni) << 16) + v * macs + m);
            mac->mutable_vtep()->mutable_vtep_label()->set_label(0x1000 + v);
            mac->mutable_vtep()->set_vtep_ip(0x0a100000u + v);
            OpReflection::SetSelf(*op.add_macs(), APPEND);
        }
    }
    MonitorUpdateMsg update;
    update.set_object_type(CfgAgent::LOG_SWITCH_FIB);
    update.set_object_body(fib.SerializeAsString());
    update.set_op_body(op.SerializeAsString());
    return update;
}

void BM_L2FullLoad(benchmark::State& state) {
    // Lines at the agent's default level would dump every FIB whole.
    CfgAgent::LogLevel::agent = CfgAgent::LL_WARN;
    const auto vnis = static_cast<uint32_t>(state.range(0));
    const auto vteps = static_cast<int>(state.range(1));
    const auto macs = static_cast<int>(state.range(2));
    std::vector<MonitorUpdateMsg> updates;
    updates.reserve(vnis);
    for (uint32_t vni = 0; vni < vnis; ++vni) {
        updates.push_back(SwitchFib(5000 + vni, vteps, macs));
    }
    for (auto _ : state) {
        // The floor: the same updates decoded into one transaction's list.
        const Clock::time_point decodeBegin = Clock::now();
        CfgAgent::LoftDBUpdateList records;
        for (const MonitorUpdateMsg& update : updates) {
            records.splice(records.end(), CfgAgent::Decoder::DecodeLogSwitchFib(update));
        }
        const double decode = Seconds(decodeBegin);

        const size_t heapBefore = HeapInUse();
        auto table = zef::MakeRef<CfgAgent::StateCacheL2Table>();
        const Clock::time_point loadBegin = Clock::now();
        table->UpdateDesiredState(records, true);
        const double load = Seconds(loadBegin);
        const size_t heap = HeapInUse() - heapBefore;

        // A reconnect: the same load again, which changes nothing.
        const Clock::time_point replayBegin = Clock::now();
        table->UpdateDesiredState(records, true);
        const double replay = Seconds(replayBegin);

        Bench::Report(state, {static_cast<double>(records.size()), static_cast<double>(table->DesiredCount()), decode,
                              load, replay, static_cast<double>(table->DesiredSize()), static_cast<double>(heap)});
    }
}
BENCHMARK(BM_L2FullLoad)
    ->ArgNames({"vnis", "vteps", "macs"})
    ->Args({256, 64, 16})
    ->Args({4096, 64, 16})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
