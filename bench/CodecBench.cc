// Codec throughput on the port road: the store's monitor updates decoded into
// update records, and the KCP messages the agent builds for ports, built and
// parsed as the simulator parses them. On the overlay road: VXLAN Updates of
// MAC and VTEP entries, built and parsed, beside the same bytes written and
// read in one plain loop. On the routing road: RTX route adds built, and
// taken by the simulator's router module, beside the same bytes copied.

#include <benchmark/benchmark.h>

#include "RtxTables.h"
#include "l3/codec/RtxBatch.h"
#include "l3/codec/RtxControlCodec.h"
#include "l3/codec/RtxRouteCodec.h"

#include <cstring>
#include <string>
#include <vector>

#include "PortCorpus.h"
#include "dplink/BigEndian.h"
#include "l2/codec/VxlanMacUpdateCodec.h"
#include "l2/codec/VxlanTypes.h"
#include "l2/codec/VxlanUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"
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

// Overlay Updates of range(0) entries in one message; the agent fills a
// message up to 4085 bytes, which is 101 MAC or 71 VTEP entries.
CfgAgent::VxlanMacUpdate MacUpdate(size_t entries) {
    CfgAgent::VxlanMacUpdate update{7, 5000, {}, {}};
    for (size_t i = 0; i < entries; ++i) {
        CfgAgent::VxlanMacEntry entry;
        entry.vmMac = CfgAgent::MacFromNumber(0x005056000000 + i);
        entry.vtepMac = CfgAgent::MacFromNumber(0x020000000000 + i % 64);
        entry.vtepIp = 0x0a000000 + static_cast<uint32_t>(i % 64);
        entry.vtepLabel = 0x40000 + static_cast<uint32_t>(i % 64);
        update.added.push_back(entry);
    }
    return update;
}

CfgAgent::VxlanVtepUpdate VtepUpdate(size_t entries) {
    CfgAgent::VxlanVtepUpdate update{7, 5000, {}, {}};
    for (size_t i = 0; i < entries; ++i) {
        CfgAgent::VxlanVtepEntry entry;
        entry.vtepIp = 0x0a000000 + static_cast<uint32_t>(i);
        entry.vtepLabel = 0x40000 + static_cast<uint32_t>(i);
        entry.segmentId = static_cast<uint32_t>(i);
        entry.vtepMac = CfgAgent::MacFromNumber(0x020000000000 + i);
        update.added.push_back(entry);
    }
    return update;
}

void EntryRates(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations());
    state.counters["entries/s"] = benchmark::Counter(
        static_cast<double>(state.range(0)) * static_cast<double>(state.iterations()),
        benchmark::Counter::kIsRate);
}

template <typename Update, typename Codec>
Message BuildVxlan(const Update& update) {
    Message tlv;
    Message message;
    Codec::Build(update, tlv);
    CfgAgent::VxlanUpdateCodec::Build({tlv}, message);
    return message;
}

template <typename Update, typename Codec>
void BuildVxlanRows(benchmark::State& state, const Update& update) {
    for (auto _ : state) {
        Message message = BuildVxlan<Update, Codec>(update);
        benchmark::DoNotOptimize(message);
    }
    EntryRates(state);
}

template <typename Update, typename Codec>
void ParseVxlanRows(benchmark::State& state, const Update& built) {
    const Message message = BuildVxlan<Update, Codec>(built);
    std::vector<CfgAgent::Tlv> row;
    Update update;
    for (auto _ : state) {
        CfgAgent::VxlanUpdateCodec::Read(message, row);
        Codec::Read(row.at(0), update);
        benchmark::DoNotOptimize(update);
    }
    EntryRates(state);
}

void BM_BuildVxlanMacUpdate(benchmark::State& state) {
    BuildVxlanRows<CfgAgent::VxlanMacUpdate, CfgAgent::VxlanMacUpdateCodec>(
        state, MacUpdate(static_cast<size_t>(state.range(0))));
}
BENCHMARK(BM_BuildVxlanMacUpdate)->ArgName("entries")->Arg(1)->Arg(101);

void BM_ParseVxlanMacUpdate(benchmark::State& state) {
    ParseVxlanRows<CfgAgent::VxlanMacUpdate, CfgAgent::VxlanMacUpdateCodec>(
        state, MacUpdate(static_cast<size_t>(state.range(0))));
}
BENCHMARK(BM_ParseVxlanMacUpdate)->ArgName("entries")->Arg(1)->Arg(101);

void BM_BuildVxlanVtepUpdate(benchmark::State& state) {
    BuildVxlanRows<CfgAgent::VxlanVtepUpdate, CfgAgent::VxlanVtepUpdateCodec>(
        state, VtepUpdate(static_cast<size_t>(state.range(0))));
}
BENCHMARK(BM_BuildVxlanVtepUpdate)->ArgName("entries")->Arg(1)->Arg(71);

void BM_ParseVxlanVtepUpdate(benchmark::State& state) {
    ParseVxlanRows<CfgAgent::VxlanVtepUpdate, CfgAgent::VxlanVtepUpdateCodec>(
        state, VtepUpdate(static_cast<size_t>(state.range(0))));
}
BENCHMARK(BM_ParseVxlanVtepUpdate)->ArgName("entries")->Arg(1)->Arg(71);

// The floor: the same bytes, each field stored where it goes in one loop,
// with no value types, no TLV helper and no row of separate TLVs.
uint8_t* FloorHead(Message& message, uint16_t dataType, size_t entries, size_t entry) {
    const size_t tlv = 14 + entries * entry;
    message.assign(4 + tlv, 0);
    uint8_t* at = message.data();
    CfgAgent::BigEndian::Put16(at, CfgAgent::VXLAN_MSG_UPDATE);
    CfgAgent::BigEndian::Put16(at + 2, static_cast<uint16_t>(4 + tlv));
    CfgAgent::BigEndian::Put16(at + 4, dataType);
    CfgAgent::BigEndian::Put16(at + 6, static_cast<uint16_t>(tlv));
    CfgAgent::BigEndian::Put32(at + 8, 7);
    CfgAgent::BigEndian::Put32(at + 12, 5000);
    CfgAgent::BigEndian::Put16(at + 16, 0);
    return at + 18;
}

void BM_FloorVxlanMacUpdate(benchmark::State& state) {
    const CfgAgent::VxlanMacUpdate update = MacUpdate(static_cast<size_t>(state.range(0)));
    Message message;
    for (auto _ : state) {
        uint8_t* at = FloorHead(message, CfgAgent::VXLAN_DATATYPE_VMMAC, update.added.size(), 40);
        for (const CfgAgent::VxlanMacEntry& entry : update.added) {
            std::memcpy(at, entry.vmMac.data(), 6);
            std::memcpy(at + 6, entry.vtepMac.data(), 6);
            CfgAgent::BigEndian::Put32(at + 12, entry.vtepIp);
            CfgAgent::BigEndian::Put32(at + 16, entry.vtepLabel);
            std::memcpy(at + 20, &entry.addressType, 4);
            std::memcpy(at + 24, entry.vtepIpv6.data(), 16);
            at += 40;
        }
        benchmark::DoNotOptimize(message);
    }
    // A floor that wrote other bytes would measure something else.
    if (message != BuildVxlan<CfgAgent::VxlanMacUpdate, CfgAgent::VxlanMacUpdateCodec>(update)) {
        state.SkipWithError("the floor's bytes differ from the codec's");
    }
    EntryRates(state);
}
BENCHMARK(BM_FloorVxlanMacUpdate)->ArgName("entries")->Arg(1)->Arg(101);

void BM_FloorVxlanVtepUpdate(benchmark::State& state) {
    const CfgAgent::VxlanVtepUpdate update = VtepUpdate(static_cast<size_t>(state.range(0)));
    Message message;
    for (auto _ : state) {
        uint8_t* at = FloorHead(message, CfgAgent::VXLAN_DATATYPE_VTEP_MBR, update.added.size(), 57);
        for (const CfgAgent::VxlanVtepEntry& entry : update.added) {
            CfgAgent::BigEndian::Put32(at, entry.vtepIp);
            CfgAgent::BigEndian::Put32(at + 4, entry.vtepLabel);
            CfgAgent::BigEndian::Put32(at + 8, entry.segmentId);
            std::memcpy(at + 12, entry.vtepMac.data(), 6);
            at[18] = entry.encapType;
            at[19] = entry.mtepCapability;
            std::memcpy(at + 21, &entry.addressType, 4);
            std::memcpy(at + 25, entry.vtepIpv6.data(), 16);
            std::memcpy(at + 41, entry.segmentIdv6.data(), 16);
            at += 57;
        }
        benchmark::DoNotOptimize(message);
    }
    // A floor that wrote other bytes would measure something else.
    if (message != BuildVxlan<CfgAgent::VxlanVtepUpdate, CfgAgent::VxlanVtepUpdateCodec>(update)) {
        state.SkipWithError("the floor's bytes differ from the codec's");
    }
    EntryRates(state);
}
BENCHMARK(BM_FloorVxlanVtepUpdate)->ArgName("entries")->Arg(1)->Arg(71);

// RTX: route adds built by the codec and taken by the simulator's router
// module, beside the same bytes copied in one loop.
CfgAgent::RtxRoute RtxRouteOf(size_t index, size_t hops) {
    CfgAgent::RtxRoute route;
    route.rtxId = 7;
    route.prefixLength = 32;
    route.destination = {10, static_cast<uint8_t>(index >> 16), static_cast<uint8_t>(index >> 8),
                         static_cast<uint8_t>(index)};
    for (size_t h = 0; h < hops; ++h) {
        route.nextHops.push_back({1, "uplink-1", {192, 168, 0, static_cast<uint8_t>(h + 1)}});
    }
    return route;
}

void RouteRates(benchmark::State& state, size_t routes) {
    state.counters["routes/s"] =
        benchmark::Counter(static_cast<double>(state.iterations() * routes), benchmark::Counter::kIsRate);
}

constexpr size_t kRtxRoutes = 1000;

void BM_BuildRtxRouteAdd(benchmark::State& state) {
    const size_t hops = static_cast<size_t>(state.range(0));
    std::vector<CfgAgent::RtxRoute> routes;
    for (size_t i = 0; i < kRtxRoutes; ++i) {
        routes.push_back(RtxRouteOf(i, hops));
    }
    Message entry;
    for (auto _ : state) {
        for (const CfgAgent::RtxRoute& route : routes) {
            CfgAgent::RtxRouteCodec::BuildAdd(route, entry);
            benchmark::DoNotOptimize(entry.data());
        }
    }
    RouteRates(state, kRtxRoutes);
}
BENCHMARK(BM_BuildRtxRouteAdd)->ArgName("hops")->Arg(1)->Arg(8);

// The module taking UPDATEs of routes of a known router.
void BM_ApplyRtxRouteAdds(benchmark::State& state) {
    const size_t hops = static_cast<size_t>(state.range(0));
    CfgAgent::RtxBatch batch;
    std::vector<Message> updates;
    for (size_t i = 0; i < kRtxRoutes; ++i) {
        Message entry;
        CfgAgent::RtxRouteCodec::BuildAdd(RtxRouteOf(i, hops), entry);
        batch.Add(entry);
        for (Message& flushed : batch.TakeFlushed()) {
            updates.push_back(std::move(flushed));
        }
    }
    Message last;
    if (batch.Flush(last)) {
        updates.push_back(std::move(last));
    }
    Dpsim::RtxTables tables;
    tables.Apply(CfgAgent::RtxControlCodec::BuildInstanceList({CfgAgent::RTX_INSTANCE_ADD, 7, "r", 0, 0, 0}));
    for (auto _ : state) {
        for (const Message& update : updates) {
            benchmark::DoNotOptimize(tables.Apply(update));
        }
    }
    if (tables.RouteCount() != kRtxRoutes) {
        state.SkipWithError("the module did not take every route");
    }
    RouteRates(state, kRtxRoutes);
}
BENCHMARK(BM_ApplyRtxRouteAdds)->ArgName("hops")->Arg(1)->Arg(8);

// The floor under both: the built entries' bytes copied into one buffer.
void BM_FloorRtxRouteAdds(benchmark::State& state) {
    const size_t hops = static_cast<size_t>(state.range(0));
    std::vector<Message> entries;
    size_t total = 0;
    for (size_t i = 0; i < kRtxRoutes; ++i) {
        Message entry;
        CfgAgent::RtxRouteCodec::BuildAdd(RtxRouteOf(i, hops), entry);
        total += entry.size();
        entries.push_back(std::move(entry));
    }
    Message buffer(total);
    for (auto _ : state) {
        uint8_t* at = buffer.data();
        for (const Message& entry : entries) {
            std::memcpy(at, entry.data(), entry.size());
            at += entry.size();
        }
        benchmark::DoNotOptimize(buffer.data());
    }
    RouteRates(state, kRtxRoutes);
}
BENCHMARK(BM_FloorRtxRouteAdds)->ArgName("hops")->Arg(1)->Arg(8);

}  // namespace
