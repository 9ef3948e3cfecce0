#include "zef/rpc/RpcRuntime.h"

#include <pthread.h>

#include <boost/asio/connect.hpp>
#include <boost/asio/post.hpp>
#include <future>

#include "log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"
#include "zef/rpc/Endpoint.h"
#include "zef/rpc/ServerBuilder.h"

namespace zef::rpc {

RpcRuntime::RpcRuntime() : _work(_context.get_executor()) {
    _thread = std::thread([this] {
        pthread_setname_np(pthread_self(), "zef-rpc");
        _context.run();
    });
}

RpcRuntime::~RpcRuntime() {
    {
        std::lock_guard<std::mutex> guard(_mutex);
        for (auto& weak : _connections) {
            if (auto connection = weak.lock()) {
                connection->Close();
            }
        }
    }
    // Let the closes run so that every socket drops its handlers, then end.
    std::promise<void> drained;
    boost::asio::post(_context, [&drained] { drained.set_value(); });
    drained.get_future().wait();
    _work.reset();
    _context.stop();
    _thread.join();
}

void RpcRuntime::Track(const std::shared_ptr<Connection>& connection) {
    std::lock_guard<std::mutex> guard(_mutex);
    std::erase_if(_connections, [](const auto& weak) { return weak.expired(); });
    _connections.push_back(connection);
}

ServerBuilder RpcRuntime::CreateServerBuilder() { return ServerBuilder(*this); }

std::shared_ptr<Connection> RpcRuntime::Dial(const std::string& endpoint,
                                             std::shared_ptr<const ServiceTable> services,
                                             const std::string& localEndpointId) {
    auto parsed = Endpoint::Parse(endpoint);
    if (!parsed) {
        ZEF_LIB_LOG(library_log_level, LIB_LOG_ERROR)
            .s2comp("zef-rpc")
            .put("Bad RPC endpoint %s", endpoint.c_str());
        return nullptr;
    }
    boost::asio::ip::tcp::socket socket(_context);
    boost::system::error_code error;
    boost::asio::ip::tcp::resolver resolver(_context);
    auto results = resolver.resolve(parsed->host, std::to_string(parsed->port), error);
    if (!error) {
        boost::asio::connect(socket, results, error);
    }
    if (error) {
        ZEF_LIB_LOG(library_log_level, LIB_LOG_DEBUG)
            .s2comp("zef-rpc")
            .put("RPC connect to %s failed: %s", endpoint.c_str(), error.message().c_str());
        return nullptr;
    }
    auto connection =
        std::make_shared<Connection>(std::move(socket), std::move(services), localEndpointId);
    connection->Start();
    Track(connection);
    return connection;
}

}  // namespace zef::rpc
