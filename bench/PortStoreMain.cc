// port_store: puts the port corpus into a running loftdb and changes it, for
// the end-to-end driver; the endpoint is the agent's (ZEF_LOFTDB_ENDPOINT).
//
//   port_store PORTS SWITCHES load          the switches and ports, 10000 objects per transaction
//   port_store PORTS SWITCHES vifs FILE     the simulator's VIF file: one VIF per port
//   port_store PORTS SWITCHES toggle PORT   prints "ready" once connected; then per line read,
//                                           flips the port's admin state and prints "ok" once
//                                           the store has committed it

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include "PortCorpus.h"
#include "StoreWriter.h"
#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"

namespace {

constexpr const char* kUsage =
    "usage: port_store PORTS SWITCHES load | vifs FILE | toggle PORT\n";
constexpr size_t kObjectsPerTransaction = 10000;
constexpr const char* kHostSwitch = "hs-bench";

void Load(Bench::StoreWriter& store, const Bench::PortCorpus& corpus) {
    for (size_t i = 0; i < corpus.Switches(); ++i) {
        store.Put(CfgAgent::LOG_SWITCH_CONFIG, corpus.Switch(i));
    }
    for (size_t i = 0; i < corpus.Ports(); ++i) {
        store.Put(CfgAgent::LOG_SWITCH_PORT_CONFIG, corpus.Port(i));
    }
    store.Flush();
}

void WriteVifs(const Bench::PortCorpus& corpus, const std::string& path) {
    std::ofstream file(path);
    for (size_t i = 0; i < corpus.Ports(); ++i) {
        file << Bench::PortCorpus::VifId(i) << " port=" << corpus.PortIdText(i)
             << " switch=" << kHostSwitch << '\n';
    }
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

void Toggle(Bench::StoreWriter& store, const Bench::PortCorpus& corpus, size_t port) {
    std::printf("ready\n");
    std::fflush(stdout);
    bool adminUp = true;
    for (std::string line; std::getline(std::cin, line);) {
        adminUp = !adminUp;
        store.Put(CfgAgent::LOG_SWITCH_PORT_CONFIG, corpus.Port(port, adminUp));
        store.Flush();
        std::printf("ok\n");
        std::fflush(stdout);
    }
}

int Run(int argc, char** argv) {
    const size_t ports = std::strtoul(argv[1], nullptr, 10);
    const Bench::PortCorpus corpus(ports, std::strtoul(argv[2], nullptr, 10));
    const std::string command = argv[3];
    if (command == "vifs" && argc == 5) {
        WriteVifs(corpus, argv[4]);
        return 0;
    }
    Bench::StoreWriter store("port_store", kObjectsPerTransaction);
    if (command == "load" && argc == 4) {
        Load(store, corpus);
    } else if (command == "toggle" && argc == 5 && std::strtoul(argv[4], nullptr, 10) < ports) {
        Toggle(store, corpus, std::strtoul(argv[4], nullptr, 10));
    } else {
        std::fputs(kUsage, stderr);
        return 2;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    CfgAgent::LogLevel::console.store(0);
    try {
        return Run(argc, argv);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "port_store: %s\n", e.what());
        return 1;
    }
}
