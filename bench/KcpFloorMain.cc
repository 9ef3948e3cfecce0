// kcp_floor: the floor under the end-to-end port figures (see KcpFloor).
//
//   kcp_floor full PORTS [SWITCHES [REPEATS]]   best of REPEATS passes (default 5)
//   kcp_floor single COUNT                      COUNT single updates, p50 and p99
//
// Prints one JSON line.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "KcpFloor.h"
#include "Percentile.h"
#include "PortCorpus.h"

namespace {

constexpr const char* kUsage =
    "usage: kcp_floor full PORTS [SWITCHES [REPEATS]] | kcp_floor single COUNT\n";
constexpr size_t kDefaultSwitches = 4;
constexpr size_t kDefaultRepeats = 5;

size_t Count(int argc, char** argv, int index, size_t fallback) {
    return index < argc ? std::strtoul(argv[index], nullptr, 10) : fallback;
}

int Full(size_t ports, size_t switches, size_t repeats) {
    const Bench::PortCorpus corpus(ports, switches);
    Bench::KcpFloor floor(corpus);
    Bench::KcpFloor::Pass best;
    for (size_t i = 0; i < repeats; ++i) {
        const Bench::KcpFloor::Pass pass = floor.FullSync();
        if (i == 0 || pass.seconds < best.seconds) {
            best = pass;
        }
    }
    std::printf(
        "{\"mode\":\"full\",\"ports\":%zu,\"switches\":%zu,\"repeats\":%zu,\"seconds\":%.6f,"
        "\"messages\":%zu,\"bytes\":%llu}\n",
        ports, corpus.Switches(), repeats, best.seconds, best.messages,
        static_cast<unsigned long long>(best.bytes));
    return 0;
}

int Single(size_t count) {
    const Bench::PortCorpus corpus(1, 1);
    Bench::KcpFloor floor(corpus);
    const std::vector<double> micros = floor.SingleUpdates(count);
    std::printf("{\"mode\":\"single\",\"updates\":%zu,\"p50_us\":%.2f,\"p99_us\":%.2f}\n", count,
                Bench::Percentile(micros, 0.50), Bench::Percentile(micros, 0.99));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    const size_t first = Count(argc, argv, 2, 0);
    if ((mode != "full" && mode != "single") || first == 0) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    try {
        return mode == "full" ? Full(first, Count(argc, argv, 3, kDefaultSwitches),
                                     std::max<size_t>(Count(argc, argv, 4, kDefaultRepeats), 1))
                              : Single(first);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kcp_floor: %s\n", e.what());
        return 1;
    }
}
