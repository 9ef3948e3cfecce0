// Codec throughput on the port road: the store's monitor updates decoded into
// update records, and the KCP messages the agent builds for ports, built and
// parsed as the simulator parses them.

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "PortCorpus.h"
#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "port/conversion/KCPMsgConvertor.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "port/conversion/PortPropertyValues.h"
#include "store/Decoder.h"
#include "zef/loftdb/UpdateBuilder.h"

namespace {

using Bench::PortCorpus;
using halden::zef::loftdb::MonitorUpdateMsg;
using Message = std::vector<uint8_t>;

constexpr size_t kPorts = 1024;
constexpr size_t kSwitches = 4;
constexpr uint16_t kVlan = 100;

const PortCorpus& Corpus() {
    static const PortCorpus corpus(kPorts, kSwitches);
    return corpus;
}

// The level the decoder runs at: range(0), 3 (warnings) or 4 (the agent's
// default, which formats one line per update); lines go nowhere.
class QuietLog {
public:
    explicit QuietLog(int level)
        : _level(CfgAgent::LogLevel::agent.exchange(level)),
          _console(CfgAgent::LogLevel::console.exchange(0)) {}
    ~QuietLog() {
        CfgAgent::LogLevel::agent.store(_level);
        CfgAgent::LogLevel::console.store(_console);
    }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;

private:
    int _level;
    int _console;
};

template <typename Make>
void Decode(benchmark::State& state, Make make) {
    const QuietLog log(static_cast<int>(state.range(0)));
    std::vector<MonitorUpdateMsg> updates;
    for (size_t i = 0; i < kPorts; ++i) {
        updates.push_back(make(i));
    }
    size_t next = 0;
    int64_t records = 0;
    for (auto _ : state) {
        const CfgAgent::LoftDBUpdateList list = CfgAgent::Decoder::Decode(updates[next]);
        records += static_cast<int64_t>(list.size());
        benchmark::DoNotOptimize(list);
        next = (next + 1) % updates.size();
    }
    state.SetItemsProcessed(records);
    state.counters["records/update"] =
        static_cast<double>(records) / static_cast<double>(state.iterations());
}

// A new port: the full load carries one of these per port.
void BM_DecodePortPut(benchmark::State& state) {
    Decode(state, [](size_t i) {
        const auto port = Corpus().Port(i);
        return zef::loftdb::BuildMonitorUpdate(CfgAgent::LOG_SWITCH_PORT_CONFIG, nullptr, &port,
                                               "", 1);
    });
}
BENCHMARK(BM_DecodePortPut)->ArgName("log")->Arg(3)->Arg(4);

// One property of a port changed: the single update of the latency figure.
void BM_DecodePortAdminChange(benchmark::State& state) {
    Decode(state, [](size_t i) {
        const auto before = Corpus().Port(i, true);
        const auto after = Corpus().Port(i, false);
        return zef::loftdb::BuildMonitorUpdate(CfgAgent::LOG_SWITCH_PORT_CONFIG, &before, &after,
                                               "", 1);
    });
}
BENCHMARK(BM_DecodePortAdminChange)->ArgName("log")->Arg(3)->Arg(4);

void BM_DecodeSwitchPut(benchmark::State& state) {
    Decode(state, [](size_t i) {
        const auto owner = Corpus().Switch(i);
        return zef::loftdb::BuildMonitorUpdate(CfgAgent::LOG_SWITCH_CONFIG, nullptr, &owner, "", 1);
    });
}
BENCHMARK(BM_DecodeSwitchPut)->ArgName("log")->Arg(3)->Arg(4);

// `ports` records of VNI, replication, block, MAC management and VLAN.
CfgAgent::DPUpdate PortUpdate(size_t ports) {
    CfgAgent::DPUpdate update;
    update.operation = CfgAgent::KCP_OP_FULL_SYNC;
    for (size_t i = 0; i < ports; ++i) {
        CfgAgent::DPPropertyList properties = PortCorpus::Properties(
            Corpus().Port(i), Corpus().Switch(Corpus().SwitchOf(i)));
        properties.push_back(CfgAgent::PortPropertyValues::Vlan(kVlan));
        update.entries[PortCorpus::VifId(i)].properties = std::move(properties);
    }
    return update;
}

std::vector<Message> BuildPortMessages(const CfgAgent::DPUpdate& update) {
    const auto cut = CfgAgent::KCPMsgConvertor::CutPropertyUpdate(update);
    std::vector<Message> messages(cut.size());
    for (size_t i = 0; i < cut.size(); ++i) {
        CfgAgent::KcpPropertyUpdateCodec::BuildMessage(CfgAgent::KCP_PORT_PROPERTY_UPDATE, cut[i],
                                                       i + 1 < cut.size(), messages[i]);
    }
    return messages;
}

void PortRates(benchmark::State& state, int64_t messages) {
    state.SetItemsProcessed(messages);
    state.counters["ports/s"] = benchmark::Counter(
        static_cast<double>(state.range(0)) * static_cast<double>(state.iterations()),
        benchmark::Counter::kIsRate);
}

// An update of range(0) ports cut into messages and encoded: items are messages.
void BM_BuildPortProperties(benchmark::State& state) {
    const CfgAgent::DPUpdate update = PortUpdate(static_cast<size_t>(state.range(0)));
    int64_t messages = 0;
    for (auto _ : state) {
        const std::vector<Message> built = BuildPortMessages(update);
        messages += static_cast<int64_t>(built.size());
        benchmark::DoNotOptimize(built);
    }
    PortRates(state, messages);
}
BENCHMARK(BM_BuildPortProperties)->ArgName("ports")->Arg(1)->Arg(128);

void BM_ParsePortProperties(benchmark::State& state) {
    const std::vector<Message> built = BuildPortMessages(PortUpdate(static_cast<size_t>(state.range(0))));
    CfgAgent::KcpUpdate update;
    CfgAgent::KcpPropertyUpdate records;
    int64_t messages = 0;
    for (auto _ : state) {
        for (const Message& message : built) {
            CfgAgent::KcpUpdateCodec::Read(message, update);
            for (const CfgAgent::KcpData& data : update.data) {
                CfgAgent::KcpPropertyUpdateCodec::Decode(data.type, data.value, records);
                benchmark::DoNotOptimize(records);
            }
        }
        messages += static_cast<int64_t>(built.size());
    }
    PortRates(state, messages);
}
BENCHMARK(BM_ParsePortProperties)->ArgName("ports")->Arg(1)->Arg(128);

// One full PortList message: 213 VIF IDs.
std::vector<std::string> ListIds() {
    std::vector<std::string> ids;
    for (size_t i = 0; i < CfgAgent::KCPMsgConvertor::kListBudget / CfgAgent::KCP_VIF_ID_LEN; ++i) {
        ids.push_back(PortCorpus::VifId(i));
    }
    return ids;
}

void BM_BuildPortList(benchmark::State& state) {
    const std::vector<std::string> ids = ListIds();
    Message message;
    for (auto _ : state) {
        CfgAgent::KcpIdListCodec::BuildMessage(CfgAgent::KCP_PORT_LIST_UPDATE, ids, false, message);
        benchmark::DoNotOptimize(message);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_BuildPortList);

void BM_ParsePortList(benchmark::State& state) {
    Message message;
    CfgAgent::KcpIdListCodec::BuildMessage(CfgAgent::KCP_PORT_LIST_UPDATE, ListIds(), false, message);
    CfgAgent::KcpUpdate update;
    std::vector<std::string> ids;
    for (auto _ : state) {
        CfgAgent::KcpUpdateCodec::Read(message, update);
        CfgAgent::KcpIdListCodec::Decode(update.data.at(0).type, update.data.at(0).value, ids);
        benchmark::DoNotOptimize(ids);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ParsePortList);

}  // namespace
