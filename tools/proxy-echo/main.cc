// zef-proxy-echo: stands in for the proxy daemon's side of the agent's
// health pings.
//
//   zef-proxy-echo [--endpoint tcp://HOST:PORT]
//
// Serves halden.zef.daemon.DaemonHealth.Echo, answering each echo with its
// text. The endpoint defaults to ZEF_PROXY_ENDPOINT, else tcp://127.0.0.1:4096.

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <cstdio>
#include <string>

#include "daemon_health.pb.h"
#include "host/Endpoints.h"
#include "zef/rpc/Endpoint.h"
#include "zef/rpc/RpcRuntime.h"
#include "zef/rpc/Server.h"
#include "zef/rpc/ServerBuilder.h"

namespace {

class EchoService : public zef::rpc::Service {
public:
    EchoService() : Service("halden.zef.daemon.DaemonHealth") {
        using halden::zef::daemon::EchoMsg;
        AddMethod<EchoMsg, EchoMsg>("Echo", [](const EchoMsg& request, EchoMsg& response) {
            response.set_text(request.text());
            return true;
        });
    }
};

int Usage(const char* program) {
    std::fprintf(stderr, "Usage: %s [--endpoint tcp://HOST:PORT]\n", program);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    std::string endpoint = CfgAgent::Endpoints::Proxy();
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg != "--endpoint" || i + 1 >= argc) {
            return Usage(argv[0]);
        }
        endpoint = argv[++i];
    }
    auto parsed = zef::rpc::Endpoint::Parse(endpoint);
    if (!parsed) {
        return Usage(argv[0]);
    }
    std::signal(SIGPIPE, SIG_IGN);
    boost::asio::io_context context;
    boost::asio::signal_set signals(context, SIGINT, SIGTERM);
    signals.async_wait([&](const boost::system::error_code&, int) { context.stop(); });

    zef::rpc::RpcRuntime runtime;
    auto server = runtime.CreateServerBuilder()
                      .AddListeningEndpoint(endpoint)
                      .AddLocalEndpointId("zef-proxy")
                      .RegisterService(std::make_shared<EchoService>(), {})
                      .BuildStarted();
    if (!server) {
        std::fprintf(stderr, "zef-proxy-echo: cannot listen on %s\n", endpoint.c_str());
        return 1;
    }
    // Port 0 asks for any free port: tell the one bound.
    parsed->port = server->BoundPorts().at(0);
    std::printf("zef-proxy-echo serving %s\n", parsed->ToString().c_str());
    std::fflush(stdout);
    context.run();
    server->Stop();
    return 0;
}
