// overlay_store: puts the overlay corpus into a running loftdb and moves one
// MAC, for the end-to-end overlay driver; the endpoint is the agent's
// (ZEF_LOFTDB_ENDPOINT).
//
//   overlay_store VNIS VTEPS MACS load   the switches and their FIBs, a few FIBs per transaction
//   overlay_store VNIS VTEPS MACS move   prints "ready" once connected; then per line read,
//                                        moves the first MAC of the first switch to the other
//                                        of the first two VTEPs and prints "ok" once committed

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>

#include "OverlayCorpus.h"
#include "StoreWriter.h"
#include "frame/vocabulary/ObjectType.h"
#include "log/LogLevel.h"

namespace {

constexpr const char* kUsage = "usage: overlay_store VNIS VTEPS MACS load | move\n";
// A FIB of 64 VTEPs and 6,400 MACs is about half a megabyte.
constexpr size_t kObjectsPerTransaction = 16;

void Load(Bench::StoreWriter& store, const Bench::OverlayCorpus& corpus) {
    for (size_t vni = 0; vni < corpus.Vnis(); ++vni) {
        store.Put(CfgAgent::LOG_SWITCH_CONFIG, corpus.Switch(vni));
    }
    for (size_t vni = 0; vni < corpus.Vnis(); ++vni) {
        store.Put(CfgAgent::LOG_SWITCH_FIB, corpus.Fib(vni));
    }
    store.Flush();
}

void Move(Bench::StoreWriter& store, const Bench::OverlayCorpus& corpus) {
    std::printf("ready\n");
    std::fflush(stdout);
    size_t via = 0;
    for (std::string line; std::getline(std::cin, line);) {
        const size_t next = 1 - via;
        store.PatchElement(CfgAgent::LOG_SWITCH_FIB, corpus.FibKey(0), "macs", corpus.Mac(0, 0, 0, via), false);
        store.PatchElement(CfgAgent::LOG_SWITCH_FIB, corpus.FibKey(0), "macs", corpus.Mac(0, 0, 0, next), true);
        store.Flush();
        via = next;
        std::printf("ok\n");
        std::fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    CfgAgent::LogLevel::console.store(0);
    const Bench::OverlayCorpus corpus(std::strtoul(argv[1], nullptr, 10), std::strtoul(argv[2], nullptr, 10),
                                      std::strtoul(argv[3], nullptr, 10));
    const std::string command = argv[4];
    try {
        Bench::StoreWriter store("overlay_store", kObjectsPerTransaction);
        if (command == "load") {
            Load(store, corpus);
        } else if (command == "move" && corpus.Vteps() >= 2) {
            Move(store, corpus);
        } else {
            std::fputs(kUsage, stderr);
            return 2;
        }
    } catch (const std::exception& e) {
        std::fprintf(stderr, "overlay_store: %s\n", e.what());
        return 1;
    }
    return 0;
}
