#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "daemon_health.pb.h"
#include "zef/rpc/RpcRuntime.h"
#include "zef/rpc/Server.h"
#include "zef/rpc/ServerBuilder.h"

namespace zef::test {

// The proxy's end of the health pings: serves DaemonHealth.Echo and counts
// the echoes. It can stop and serve again on the same port.
class EchoPeer {
public:
    static constexpr const char* kService = "halden.zef.daemon.DaemonHealth";

    explicit EchoPeer(rpc::RpcRuntime& runtime) : _runtime(runtime) {}
    ~EchoPeer() { Stop(); }
    EchoPeer(const EchoPeer&) = delete;
    EchoPeer& operator=(const EchoPeer&) = delete;

    // Port 0 the first time takes a free one; later calls reuse it.
    bool Listen() {
        _server = _runtime.CreateServerBuilder()
                      .AddListeningEndpoint("tcp://127.0.0.1:" + std::to_string(_port))
                      .AddLocalEndpointId("echo-peer")
                      .RegisterService(std::make_shared<Service>(_echoes), {})
                      .BuildStarted();
        if (_server) {
            _port = _server->BoundPorts().at(0);
        }
        return _server != nullptr;
    }
    void Stop() {
        if (_server) {
            _server->Stop();
            _server.reset();
        }
    }

    std::string Endpoint() const { return "tcp://127.0.0.1:" + std::to_string(_port); }
    int Echoes() const { return _echoes->load(); }

private:
    class Service : public rpc::Service {
    public:
        explicit Service(std::shared_ptr<std::atomic<int>> echoes) : rpc::Service(kService) {
            using halden::zef::daemon::EchoMsg;
            AddMethod<EchoMsg, EchoMsg>("Echo", [echoes](const EchoMsg& in, EchoMsg& out) {
                ++*echoes;
                out.set_text(in.text());
                return true;
            });
        }
    };

    rpc::RpcRuntime& _runtime;
    std::shared_ptr<rpc::Server> _server;
    uint16_t _port = 0;
    std::shared_ptr<std::atomic<int>> _echoes = std::make_shared<std::atomic<int>>(0);
};

}  // namespace zef::test
