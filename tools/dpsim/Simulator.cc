#include "Simulator.h"

#include "frame/HostPaths.h"

namespace Dpsim {

Simulator::Simulator(std::vector<std::string> links, const std::string& recordPath)
    : _names(std::move(links)), _record(recordPath) {}

Simulator::~Simulator() { Stop(); }

std::string Simulator::SocketPath(const std::string& name) {
    return CfgAgent::HostPaths::Resolve("/var/run/halden/dplink/") + name;
}

bool Simulator::Start(std::string& error, void (*onServing)(const std::string& name)) {
    if (!_record.Ok()) {
        error = "cannot open the record file";
        return false;
    }
    for (const std::string& name : _names) {
        auto server = std::make_unique<LinkServer>(name, SocketPath(name), _record);
        if (!server->Start(error)) {
            Stop();
            return false;
        }
        _servers.push_back(std::move(server));
        if (onServing != nullptr) {
            onServing(name);
        }
    }
    return true;
}

LinkServer* Simulator::Find(const std::string& name) {
    for (auto& server : _servers) {
        if (server->Name() == name) {
            return server.get();
        }
    }
    return nullptr;
}

void Simulator::Stop() {
    for (auto& server : _servers) {
        server->Stop();
    }
    _servers.clear();
}

}  // namespace Dpsim
