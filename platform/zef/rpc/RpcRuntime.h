#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <memory>
#include <string>
#include <mutex>
#include <thread>
#include <vector>

#include "zef/rpc/Connection.h"

namespace zef::rpc {

class ServerBuilder;

// The RPC library of the provider: one named thread that carries every
// server and connection, so that serving does not wait for the provider loop.
class RpcRuntime {
public:
    RpcRuntime();
    ~RpcRuntime();
    RpcRuntime(const RpcRuntime&) = delete;
    RpcRuntime& operator=(const RpcRuntime&) = delete;

    ServerBuilder CreateServerBuilder();
    // Dials `endpoint`; the connection serves `services` to the far side too.
    // Null when the endpoint is bad or the connect fails.
    std::shared_ptr<Connection> Dial(const std::string& endpoint,
                                     std::shared_ptr<const ServiceTable> services,
                                     const std::string& localEndpointId);

    boost::asio::io_context& Context() { return _context; }
    // Connections still open when the runtime goes are closed by it first.
    void Track(const std::shared_ptr<Connection>& connection);

private:
    boost::asio::io_context _context;
    std::mutex _mutex;
    std::vector<std::weak_ptr<Connection>> _connections;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> _work;
    std::thread _thread;
};

}  // namespace zef::rpc
