#include "zef/rpc/Connection.h"

#include <future>
#include <sstream>

#include "log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"
#include "zef/net/FramedSocket.h"

namespace zef::rpc {

namespace {

std::string SocketText(const boost::asio::ip::tcp::socket& socket) {
    boost::system::error_code error;
    std::ostringstream text;
    text << socket.local_endpoint(error) << " -> " << socket.remote_endpoint(error);
    return text.str();
}

}  // namespace

Connection::Connection(boost::asio::ip::tcp::socket socket,
                       std::shared_ptr<const ServiceTable> services, std::string localEndpointId)
    : _text(SocketText(socket)),
      _socket(std::make_shared<net::FramedSocket>(std::move(socket), kMaxFrame)),
      _services(std::move(services)),
      _localEndpointId(std::move(localEndpointId)) {}

Connection::~Connection() { FailPending(); }

void Connection::Start() {
    // The handlers keep the connection alive while its socket is open; the
    // socket drops them when it closes.
    _socket->Start([self = shared_from_this()](std::string frame) { self->OnFrame(frame); },
                   [self = shared_from_this()](const std::string& why) {
                       self->FailPending();
                       self->NotifyClosed(why);
                   });
    RpcFrameMsg hello;
    hello.set_endpoint_id(_localEndpointId);
    _socket->Send(hello.SerializeAsString());
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
    _socket->Send(frame.SerializeAsString());
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

void Connection::Close() { _socket->Close("closed"); }

uint64_t Connection::AddCloseListener(CloseListener listener) {
    std::string why;
    {
        std::lock_guard<std::mutex> guard(_mutex);
        if (!_endedWhy) {
            _closeListeners.emplace(_nextListenerId, std::move(listener));
            return _nextListenerId++;
        }
        why = *_endedWhy;
    }
    listener(why);
    return 0;
}

void Connection::RemoveCloseListener(uint64_t id) {
    std::lock_guard<std::mutex> guard(_mutex);
    _closeListeners.erase(id);
}

void Connection::NotifyClosed(const std::string& why) {
    std::map<uint64_t, CloseListener> listeners;
    {
        std::lock_guard<std::mutex> guard(_mutex);
        _endedWhy = why;
        listeners.swap(_closeListeners);
    }
    for (auto& [id, listener] : listeners) {
        listener(why);
    }
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

void Connection::OnFrame(const std::string& bytes) {
    RpcFrameMsg frame;
    if (!frame.ParseFromString(bytes)) {
        ZEF_LIB_LOG(library_log_level, LIB_LOG_ERROR)
            .s2comp("zef-rpc")
            .put("RPC frame does not parse, connection closed");
        Close();
        return;
    }
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
    _socket->Send(reply.SerializeAsString());
}

}  // namespace zef::rpc
