#include "Simulator.h"

#include "host/HostPaths.h"

namespace Dpsim {

Simulator::Simulator(std::vector<std::string> links, const std::string& recordPath)
    : _names(std::move(links)), _record(recordPath) {}

Simulator::~Simulator() {
    Stop();
}

std::string Simulator::SocketPath(const std::string& name) {
    return CfgAgent::HostPaths::Resolve("/var/run/halden/dplink/") + name;
}

bool Simulator::Start(std::string& error, void (*onServing)(const std::string& name)) {
    if (!_record.Ok()) {
        error = "cannot open the record file";
        return false;
    }
    for (const std::string& link : _names) {
        std::string name;
        std::unique_ptr<LinkProtocol> protocol = ParseLink(link, name, error);
        if (!protocol) {
            Stop();
            return false;
        }
        auto server =
            std::make_unique<LinkServer>(name, SocketPath(name), std::move(protocol), _record);
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

std::unique_ptr<LinkProtocol> Simulator::ParseLink(const std::string& link, std::string& name,
                                                   std::string& error) {
    const size_t colon = link.rfind(':');
    name = link.substr(0, colon);
    const std::string kind = colon == std::string::npos ? "kcp" : link.substr(colon + 1);
    std::unique_ptr<LinkProtocol> protocol = LinkProtocol::Create(kind);
    if (!protocol) {
        error = "unsupported protocol in --link " + link;
        return nullptr;
    }
    if (name.empty()) {
        name = protocol->DefaultLinkName();
    }
    if (name.empty()) {
        error = "empty link name in --link " + link;
        return nullptr;
    }
    return protocol;
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
