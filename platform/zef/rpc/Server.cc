#include "zef/rpc/Server.h"

#include <boost/asio/post.hpp>
#include <future>

#include "log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"
#include "zef/rpc/Endpoint.h"
#include "zef/rpc/RpcRuntime.h"

namespace zef::rpc {

namespace {

void LogListenFailure(const std::string& endpoint, const std::string& why) {
    ZEF_LIB_LOG(library_log_level, LIB_LOG_ERROR)
        .s2comp("zef-rpc")
        .put("RPC server cannot listen on %s: %s", endpoint.c_str(), why.c_str());
}

}  // namespace

Server::Server(RpcRuntime& runtime, std::shared_ptr<const ServiceTable> services,
               std::string localEndpointId)
    : _runtime(runtime), _services(std::move(services)), _localEndpointId(std::move(localEndpointId)) {}

Server::~Server() {
    // Pending accepts hold only a weak handle: they end here with an error.
    for (auto& acceptor : _acceptors) {
        boost::system::error_code ignored;
        acceptor->close(ignored);
    }
}

bool Server::Listen(const std::string& endpoint) {
    auto parsed = Endpoint::Parse(endpoint);
    if (!parsed) {
        LogListenFailure(endpoint, "bad endpoint");
        return false;
    }
    boost::system::error_code error;
    auto address = boost::asio::ip::make_address(parsed->host, error);
    if (error) {
        LogListenFailure(endpoint, error.message());
        return false;
    }
    auto acceptor = std::make_unique<boost::asio::ip::tcp::acceptor>(_runtime.Context());
    boost::asio::ip::tcp::endpoint local(address, parsed->port);
    acceptor->open(local.protocol(), error);
    if (!error) {
        acceptor->set_option(boost::asio::ip::tcp::acceptor::reuse_address(true), error);
    }
    if (!error) {
        acceptor->bind(local, error);
    }
    if (!error) {
        acceptor->listen(boost::asio::socket_base::max_listen_connections, error);
    }
    if (error) {
        LogListenFailure(endpoint, error.message());
        return false;
    }
    _acceptors.push_back(std::move(acceptor));
    return true;
}

void Server::StartAccepting() {
    for (size_t i = 0; i < _acceptors.size(); ++i) {
        boost::asio::post(_runtime.Context(), [weak = weak_from_this(), i] {
            if (auto self = weak.lock()) {
                self->Accept(i);
            }
        });
    }
}

std::vector<uint16_t> Server::BoundPorts() const {
    std::vector<uint16_t> ports;
    for (const auto& acceptor : _acceptors) {
        boost::system::error_code error;
        ports.push_back(acceptor->local_endpoint(error).port());
    }
    return ports;
}

std::vector<std::shared_ptr<Connection>> Server::Connections() const {
    std::lock_guard<std::mutex> guard(_mutex);
    std::vector<std::shared_ptr<Connection>> open;
    for (const auto& weak : _connections) {
        auto connection = weak.lock();
        if (connection && connection->IsOpen()) {
            open.push_back(std::move(connection));
        }
    }
    return open;
}

void Server::Stop() {
    std::promise<void> done;
    boost::asio::post(_runtime.Context(), [this, &done] {
        for (auto& acceptor : _acceptors) {
            boost::system::error_code ignored;
            acceptor->close(ignored);
        }
        std::lock_guard<std::mutex> guard(_mutex);
        for (auto& weak : _connections) {
            if (auto connection = weak.lock()) {
                connection->Close();
            }
        }
        _connections.clear();
        done.set_value();
    });
    done.get_future().wait();
}

void Server::Accept(size_t index) {
    _acceptors[index]->async_accept([weak = weak_from_this(), index](
                                        const boost::system::error_code& error,
                                        boost::asio::ip::tcp::socket socket) {
        auto self = weak.lock();
        if (error || !self) {
            return;  // closed by Stop or by the last handle
        }
        auto connection =
            std::make_shared<Connection>(std::move(socket), self->_services, self->_localEndpointId);
        {
            std::lock_guard<std::mutex> guard(self->_mutex);
            std::erase_if(self->_connections, [](const auto& weak) { return weak.expired(); });
            self->_connections.push_back(connection);
        }
        connection->Start();
        self->_runtime.Track(connection);
        self->Accept(index);
    });
}

}  // namespace zef::rpc
