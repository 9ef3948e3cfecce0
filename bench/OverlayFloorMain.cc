// overlay_floor: the floor under the end-to-end overlay figures. The same
// FIBs the store holds, parsed from their bytes, turned into the kernel's
// VTEP and MAC updates and written to a socket whose far end drains them, in
// one loop of one process; and the single MAC move, built and written.
//
//   overlay_floor full VNIS VTEPS MACS [REPEATS]   best of REPEATS passes (default 3)
//   overlay_floor single COUNT                     COUNT single moves, p50 and p99
//
// Prints one JSON line.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "DrainedSocket.h"
#include "OverlayCorpus.h"
#include "Percentile.h"
#include "dplink/MacNumber.h"
#include "l2/app/L2TlvBatch.h"

namespace {

namespace lb = halden::zef::loftdb;
using Clock = std::chrono::steady_clock;

constexpr const char* kUsage =
    "usage: overlay_floor full VNIS VTEPS MACS [REPEATS] | overlay_floor single COUNT\n";
constexpr uint32_t kSwitchId = 1;

CfgAgent::VxlanVtepEntry WireOf(const lb::LogSwitchVtepEntryMsg& vtep) {
    CfgAgent::VxlanVtepEntry entry;
    entry.vtepIp = vtep.vtep_ip();
    entry.vtepLabel = vtep.vtep_label().label();
    entry.vtepMac = CfgAgent::MacFromNumber(vtep.vtep_mac());
    entry.encapType = CfgAgent::VXLAN_ENCAP_GENEVE;
    return entry;
}

CfgAgent::VxlanMacEntry WireOf(const lb::LogSwitchMacEntryMsg& mac) {
    CfgAgent::VxlanMacEntry entry;
    entry.vmMac = CfgAgent::MacFromNumber(mac.mac());
    entry.vtepMac = CfgAgent::MacFromNumber(mac.vtep().vtep_mac());
    entry.vtepIp = mac.vtep().vtep_ip();
    entry.vtepLabel = mac.vtep().vtep_label().label();
    return entry;
}

void Send(const CfgAgent::L2TlvBatch& batch, Bench::DrainedSocket& socket) {
    for (const std::vector<uint8_t>& message : batch.Messages()) {
        socket.Write(message);
    }
}

int Full(size_t vnis, size_t vteps, size_t macs, size_t repeats) {
    const Bench::OverlayCorpus corpus(vnis, vteps, macs);
    std::vector<std::string> stored;
    for (size_t vni = 0; vni < vnis; ++vni) {
        stored.push_back(corpus.Fib(vni).SerializeAsString());
    }
    double best = 0;
    for (size_t pass = 0; pass < repeats; ++pass) {
        Bench::DrainedSocket socket;
        const auto start = Clock::now();
        for (size_t vni = 0; vni < vnis; ++vni) {
            lb::LogSwitchFibMsg fib;
            fib.ParseFromString(stored[vni]);
            CfgAgent::L2TlvBatch batch;
            const uint32_t number = Bench::OverlayCorpus::Vni(vni);
            for (const lb::LogSwitchVtepEntryMsg& vtep : fib.vteps()) {
                batch.AddVtep(kSwitchId, number, WireOf(vtep), false);
            }
            for (const lb::LogSwitchMacEntryMsg& mac : fib.macs()) {
                batch.AddMac(kSwitchId, number, WireOf(mac), false);
            }
            Send(batch, socket);
        }
        socket.WaitDrained();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        best = pass == 0 ? seconds : std::min(best, seconds);
    }
    std::printf("{\"mode\":\"full\",\"vnis\":%zu,\"vteps\":%zu,\"macs\":%zu,\"seconds\":%.6f}\n", vnis, vteps,
                macs, best);
    return 0;
}

int Single(size_t count) {
    const Bench::OverlayCorpus corpus(1, 2, 1);
    Bench::DrainedSocket socket;
    std::vector<double> micros;
    for (size_t i = 0; i < count; ++i) {
        const size_t from = i % 2;
        const auto start = Clock::now();
        CfgAgent::L2TlvBatch batch;
        batch.AddMac(kSwitchId, Bench::OverlayCorpus::Vni(0), corpus.WireMac(0, 0, 0, from), true);
        batch.AddMac(kSwitchId, Bench::OverlayCorpus::Vni(0), corpus.WireMac(0, 0, 0, 1 - from), false);
        Send(batch, socket);
        socket.WaitDrained();
        micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    std::printf("{\"mode\":\"single\",\"updates\":%zu,\"p50_us\":%.2f,\"p99_us\":%.2f}\n", count,
                Bench::Percentile(micros, 0.50), Bench::Percentile(micros, 0.99));
    return 0;
}

size_t Count(const char* text) { return std::strtoul(text, nullptr, 10); }

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    try {
        if (mode == "full" && (argc == 5 || argc == 6) && Count(argv[2]) > 0) {
            return Full(Count(argv[2]), Count(argv[3]), Count(argv[4]), argc == 6 ? std::max<size_t>(Count(argv[5]), 1) : 3);
        }
        if (mode == "single" && argc == 3 && Count(argv[2]) > 0) {
            return Single(Count(argv[2]));
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "overlay_floor: %s\n", e.what());
        return 1;
    }
    std::fputs(kUsage, stderr);
    return 2;
}
