#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "zef/rpc/Connection.h"

namespace zef::rpc {

class RpcRuntime;

// Accepts connections on its endpoints and serves its table on each. Stops
// listening and closes its connections when the last handle goes.
class Server : public std::enable_shared_from_this<Server> {
public:
    Server(RpcRuntime& runtime, std::shared_ptr<const ServiceTable> services,
           std::string localEndpointId);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Binds and listens; false (and logged) when the endpoint is bad or taken.
    bool Listen(const std::string& endpoint);
    void StartAccepting();
    // Closes the acceptors and every connection; not from the RPC thread.
    void Stop();
    // The connections accepted and still open, to call the peers that dialled.
    std::vector<std::shared_ptr<Connection>> Connections() const;
    // The port bound for an endpoint asked with port 0, in Listen order.
    std::vector<uint16_t> BoundPorts() const;

private:
    void Accept(size_t index);

    RpcRuntime& _runtime;
    const std::shared_ptr<const ServiceTable> _services;
    const std::string _localEndpointId;
    std::vector<std::unique_ptr<boost::asio::ip::tcp::acceptor>> _acceptors;
    mutable std::mutex _mutex;
    std::vector<std::weak_ptr<Connection>> _connections;
};

}  // namespace zef::rpc
