// port_store: puts the port corpus into a running loftdb and changes it, for
// the end-to-end driver; the endpoint is the agent's (ZEF_LOFTDB_ENDPOINT).
//
//   port_store PORTS SWITCHES load          the switches and ports, 10000 objects per transaction
//   port_store PORTS SWITCHES vifs FILE     the simulator's VIF file: one VIF per port
//   port_store PORTS SWITCHES toggle PORT   prints "ready" once connected; then per line read,
//                                           flips the port's admin state and prints "ok" once
//                                           the store has committed it

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iostream>
#include <stdexcept>
#include <string>

#include "PortCorpus.h"
#include "host/Endpoints.h"
#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "zef/loftdb/LoftDbClient.h"

namespace {

using namespace std::chrono_literals;
using halden::zef::loftdb::ModifyRequestMsg;

constexpr const char* kUsage =
    "usage: port_store PORTS SWITCHES load | vifs FILE | toggle PORT\n";
constexpr size_t kObjectsPerTransaction = 10000;
constexpr const char* kHostSwitch = "hs-bench";

void AddPut(ModifyRequestMsg& request, uint32_t type, const google::protobuf::Message& object) {
    auto* put = request.add_modify()->mutable_put();
    put->mutable_object()->set_object_type(type);
    put->mutable_object()->set_body(object.SerializeAsString());
    put->add_vdb_id(Bench::PortCorpus::kVdb);
}

void Commit(zef::loftdb::LoftDbClient& client, const ModifyRequestMsg& request) {
    std::promise<std::pair<bool, std::string>> answer;
    client.Modify({request}, [&answer](bool ok, const std::string& error) {
        answer.set_value({ok, error});
    });
    auto future = answer.get_future();
    if (future.wait_for(600s) != std::future_status::ready) {
        throw std::runtime_error("the store did not answer");
    }
    auto [ok, error] = future.get();
    if (!ok) {
        throw std::runtime_error("the store refused: " + error);
    }
}

void Load(zef::loftdb::LoftDbClient& client, const Bench::PortCorpus& corpus) {
    ModifyRequestMsg request;
    for (size_t i = 0; i < corpus.Switches(); ++i) {
        AddPut(request, CfgAgent::LOG_SWITCH_CONFIG, corpus.Switch(i));
    }
    for (size_t i = 0; i < corpus.Ports(); ++i) {
        AddPut(request, CfgAgent::LOG_SWITCH_PORT_CONFIG, corpus.Port(i));
        if (static_cast<size_t>(request.modify_size()) >= kObjectsPerTransaction) {
            Commit(client, request);
            request.Clear();
        }
    }
    if (request.modify_size() > 0) {
        Commit(client, request);
    }
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

void Toggle(zef::loftdb::LoftDbClient& client, const Bench::PortCorpus& corpus, size_t port) {
    std::printf("ready\n");
    std::fflush(stdout);
    bool adminUp = true;
    for (std::string line; std::getline(std::cin, line);) {
        adminUp = !adminUp;
        ModifyRequestMsg request;
        AddPut(request, CfgAgent::LOG_SWITCH_PORT_CONFIG, corpus.Port(port, adminUp));
        Commit(client, request);
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
    zef::loftdb::LoftDbClient client("port_store", CfgAgent::Endpoints::Loftdb());
    client.StartAsync();
    if (!client.WaitConnected(10s)) {
        throw std::runtime_error("the store is not there");
    }
    if (command == "load" && argc == 4) {
        Load(client, corpus);
    } else if (command == "toggle" && argc == 5 && std::strtoul(argv[4], nullptr, 10) < ports) {
        Toggle(client, corpus, std::strtoul(argv[4], nullptr, 10));
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
