#include "zef/rpc/Connection.h"

#include <boost/asio/post.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <future>

#include "frame/log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"

namespace zef::rpc {

namespace {

std::string EncodeFrame(const RpcFrameMsg& frame) {
    const std::string body = frame.SerializeAsString();
    const auto length = static_cast<uint32_t>(body.size());
    std::string out(4, '\0');
    out[0] = static_cast<char>(length >> 24);
    out[1] = static_cast<char>(length >> 16);
    out[2] = static_cast<char>(length >> 8);
    out[3] = static_cast<char>(length);
    return out + body;
}

}  // namespace

Connection::Connection(boost::asio::ip::tcp::socket socket,
                       std::shared_ptr<const ServiceTable> services, std::string localEndpointId)
    : _socket(std::move(socket)),
      _services(std::move(services)),
      _localEndpointId(std::move(localEndpointId)) {}

Connection::~Connection() { FailPending(); }

void Connection::Start() {
    boost::asio::post(_socket.get_executor(), [self = shared_from_this()] {
        RpcFrameMsg hello;
        hello.set_endpoint_id(self->_localEndpointId);
        self->Send(hello);
        self->ReadHeader();
    });
}

std::string Connection::PeerEndpointId() const {
    std::lock_guard<std::mutex> guard(_mutex);
    return _peerEndpointId;
}

void Connection::Call(const std::string& service, const std::string& method, std::string payload,
                      ResponseCallback callback) {
    RpcFrameMsg frame;
    frame.set_kind(RpcFrameMsg::REQUEST);
    frame.set_service(service);
    frame.set_method(method);
    frame.set_payload(std::move(payload));
    {
        std::lock_guard<std::mutex> guard(_mutex);
        if (!_open) {
            callback(RpcFrameMsg::INTERNAL, {});
            return;
        }
        frame.set_call_id(_nextCallId++);
        _pending.emplace(frame.call_id(), std::move(callback));
    }
    boost::asio::post(_socket.get_executor(),
                      [self = shared_from_this(), frame = std::move(frame)] { self->Send(frame); });
}

Connection::Status Connection::CallSync(const std::string& service, const std::string& method,
                                        std::string payload, std::string& response,
                                        std::chrono::milliseconds timeout) {
    auto answer = std::make_shared<std::promise<std::pair<Status, std::string>>>();
    auto future = answer->get_future();
    Call(service, method, std::move(payload), [answer](Status status, const std::string& body) {
        answer->set_value({status, body});
    });
    if (future.wait_for(timeout) != std::future_status::ready) {
        return RpcFrameMsg::INTERNAL;
    }
    auto [status, body] = future.get();
    response = std::move(body);
    return status;
}

void Connection::Close() {
    boost::asio::post(_socket.get_executor(), [self = shared_from_this()] {
        boost::system::error_code ignored;
        self->_socket.shutdown(boost::asio::ip::tcp::socket::shutdown_both, ignored);
        self->_socket.close(ignored);
        self->FailPending();
    });
}

void Connection::FailPending() {
    std::map<uint64_t, ResponseCallback> pending;
    {
        std::lock_guard<std::mutex> guard(_mutex);
        _open = false;
        pending.swap(_pending);
    }
    for (auto& [id, callback] : pending) {
        callback(RpcFrameMsg::INTERNAL, {});
    }
}

void Connection::ReadHeader() {
    boost::asio::async_read(
        _socket, boost::asio::buffer(_header),
        [self = shared_from_this()](const boost::system::error_code& error, size_t) {
            if (error) {
                self->FailPending();
                return;
            }
            const uint32_t length = (uint32_t{self->_header[0]} << 24) |
                                    (uint32_t{self->_header[1]} << 16) |
                                    (uint32_t{self->_header[2]} << 8) | uint32_t{self->_header[3]};
            if (length > kMaxFrame) {
                ZEF_LIB_LOG(library_log_level, LIB_LOG_ERROR)
                    .s2comp("zef-rpc")
                    .put("RPC frame of %u bytes refused", length);
                self->Close();
                return;
            }
            self->ReadBody(length);
        });
}

void Connection::ReadBody(uint32_t length) {
    _body.assign(length, '\0');
    boost::asio::async_read(
        _socket, boost::asio::buffer(_body),
        [self = shared_from_this()](const boost::system::error_code& error, size_t) {
            if (error) {
                self->FailPending();
                return;
            }
            RpcFrameMsg frame;
            if (!frame.ParseFromString(self->_body)) {
                ZEF_LIB_LOG(library_log_level, LIB_LOG_ERROR)
                    .s2comp("zef-rpc")
                    .put("RPC frame does not parse, connection closed");
                self->Close();
                return;
            }
            self->OnFrame(frame);
            self->ReadHeader();
        });
}

void Connection::OnFrame(const RpcFrameMsg& frame) {
    if (frame.has_endpoint_id()) {
        std::lock_guard<std::mutex> guard(_mutex);
        _peerEndpointId = frame.endpoint_id();
    }
    if (frame.kind() == RpcFrameMsg::RESPONSE) {
        ResponseCallback callback;
        {
            std::lock_guard<std::mutex> guard(_mutex);
            auto it = _pending.find(frame.call_id());
            if (it == _pending.end()) {
                return;
            }
            callback = std::move(it->second);
            _pending.erase(it);
        }
        callback(frame.status(), frame.payload());
        return;
    }
    if (frame.kind() != RpcFrameMsg::REQUEST) {
        return;
    }
    RpcFrameMsg reply;
    reply.set_kind(RpcFrameMsg::RESPONSE);
    reply.set_call_id(frame.call_id());
    auto service = _services ? _services->find(frame.service()) : ServiceTable::const_iterator{};
    if (!_services || service == _services->end()) {
        reply.set_status(RpcFrameMsg::NO_SUCH_SERVICE);
    } else {
        reply.set_status(service->second->Invoke(frame.method(), frame.payload(),
                                                 *reply.mutable_payload()));
    }
    Send(reply);
}

void Connection::Send(const RpcFrameMsg& frame) {
    _writes.push_back(EncodeFrame(frame));
    if (_writes.size() == 1) {
        WriteNext();
    }
}

void Connection::WriteNext() {
    boost::asio::async_write(
        _socket, boost::asio::buffer(_writes.front()),
        [self = shared_from_this()](const boost::system::error_code& error, size_t) {
            if (error) {
                self->_writes.clear();
                self->FailPending();
                return;
            }
            self->_writes.pop_front();
            if (!self->_writes.empty()) {
                self->WriteNext();
            }
        });
}

}  // namespace zef::rpc
