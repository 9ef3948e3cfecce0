#include "zef/rpc/Stub.h"

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include "log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"
#include "zef/rpc/RpcRuntime.h"

namespace zef::rpc {

namespace {

// One call in flight: whichever of the answer and the timeout comes first
// completes it. Touched only on the RPC thread once started.
struct PendingCall {
    PendingCall(boost::asio::io_context& context, Stub::Completion done)
        : timer(context), done(std::move(done)) {}

    void Finish(Stub::Status status, const std::string& body, const std::string& failure) {
        if (!done) {
            return;
        }
        timer.cancel();
        auto once = std::move(done);
        done = nullptr;
        once(status, body, failure);
    }

    boost::asio::steady_timer timer;
    Stub::Completion done;
};

}  // namespace

Stub::Stub(RpcRuntime& runtime, std::shared_ptr<Connection> connection, Settings settings)
    : _runtime(runtime), _connection(std::move(connection)), _settings(std::move(settings)) {}

Stub::~Stub() {
    _connection->RemoveCloseListener(_listenerId);
}

void Stub::Watch() {
    _listenerId = _connection->AddCloseListener([weak = weak_from_this()](const std::string&) {
        if (auto self = weak.lock()) {
            self->StreamDown(STREAM_CONNECTION_LOST);
        }
    });
}

void Stub::SetStreamDownCallback(StreamDownCallback callback) {
    std::lock_guard<std::mutex> guard(_mutex);
    _onStreamDown = std::move(callback);
}

void Stub::StreamDown(int reason) {
    StreamDownCallback callback;
    {
        std::lock_guard<std::mutex> guard(_mutex);
        if (_down) {
            return;
        }
        _down = true;
        callback = std::move(_onStreamDown);
        _onStreamDown = nullptr;
    }
    ZEF_LIB_LOG(library_log_level, LIB_LOG_DEBUG)
        .s2comp("zef-rpc")
        .put("stub %s of %s: stream down (%s)", _settings.id.c_str(), _settings.service.c_str(),
             ReasonText(reason));
    if (callback) {
        callback(reason);
    }
}

void Stub::Invoke(const std::string& method, std::string payload, Completion done) {
    auto call = std::make_shared<PendingCall>(_runtime.Context(), std::move(done));
    const std::string timedOut =
        "no answer within " + std::to_string(_settings.timeout.count()) + " ms";
    call->timer.expires_after(_settings.timeout);
    call->timer.async_wait([call, timedOut](const boost::system::error_code& error) {
        if (!error) {
            call->Finish(RpcFrameMsg::INTERNAL, {}, timedOut);
        }
    });
    // The connection may answer on the caller's thread; the end always
    // comes on the RPC thread.
    _connection->Call(
        _settings.service, method, std::move(payload),
        [call, weak = weak_from_this(), connection = std::weak_ptr<Connection>(_connection),
         &context = _runtime.Context()](Status status, const std::string& body) {
            auto open = connection.lock();
            const std::string failure =
                open && open->IsOpen() ? std::string() : std::string("connection closed");
            if (status == RpcFrameMsg::NO_SUCH_SERVICE) {
                if (auto self = weak.lock()) {
                    self->StreamDown(STREAM_SERVICE_GONE);
                }
            }
            boost::asio::post(
                context, [call, status, body, failure] { call->Finish(status, body, failure); });
        });
}

const char* Stub::ReasonText(int reason) {
    switch (reason) {
        case STREAM_CLOSED_BY_CLIENT:
            return "closed by client";
        case STREAM_SERVICE_GONE:
            return "service gone";
        case STREAM_SHUTDOWN:
            return "shutdown";
        case STREAM_CONNECTION_LOST:
            return "connection lost";
        default:
            return "unknown";
    }
}

}  // namespace zef::rpc
