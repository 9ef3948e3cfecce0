#pragma once

#include <google/protobuf/message.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "zef/rpc/CallObserver.h"
#include "zef/rpc/Connection.h"

namespace zef::rpc {

class RpcRuntime;

// Why a stub's stream went down. The numbers are the host library's; this
// stand-in gives SERVICE_GONE and CONNECTION_LOST.
enum StreamCloseReason : int {
    STREAM_CLOSED_BY_CLIENT = 1,
    STREAM_SERVICE_GONE = 2,
    STREAM_SHUTDOWN = 5,
    STREAM_CONNECTION_LOST = 6,
};

// Calls one service of the peer over one connection. Its stream goes down,
// once, when the connection ends or the peer stops serving the service.
class Stub : public std::enable_shared_from_this<Stub> {
public:
    using Status = RpcFrameMsg::Status;
    using StreamDownCallback = std::function<void(int reason)>;
    // `failure` is empty when the peer answered.
    using Completion =
        std::function<void(Status status, const std::string& body, const std::string& failure)>;

    struct Settings {
        std::string service;
        std::chrono::milliseconds timeout{30000};
        std::string id;
    };

    Stub(RpcRuntime& runtime, std::shared_ptr<Connection> connection, Settings settings);
    ~Stub();
    Stub(const Stub&) = delete;
    Stub& operator=(const Stub&) = delete;

    // Starts watching the connection; once, right after construction.
    void Watch();
    // Replaces the callback; a stub already down calls none.
    void SetStreamDownCallback(StreamDownCallback callback);

    // The observer hears the end on the RPC thread, never inside this call,
    // and is freed after it.
    template <typename Response>
    void Call(const std::string& method, const google::protobuf::Message& request,
              std::unique_ptr<CallObserver<Response>> observer);

    // The raw call: `done` runs once, on the RPC thread, after the answer,
    // the loss of the connection or the timeout.
    void Invoke(const std::string& method, std::string payload, Completion done);

    const Settings& GetSettings() const { return _settings; }
    static const char* ReasonText(int reason);

private:
    void StreamDown(int reason);

    RpcRuntime& _runtime;
    const std::shared_ptr<Connection> _connection;
    const Settings _settings;
    uint64_t _listenerId = 0;

    std::mutex _mutex;  // guards the fields below
    StreamDownCallback _onStreamDown;
    bool _down = false;
};

template <typename Response>
void Stub::Call(const std::string& method, const google::protobuf::Message& request,
                std::unique_ptr<CallObserver<Response>> observer) {
    std::shared_ptr<CallObserver<Response>> owned(std::move(observer));
    Invoke(method, request.SerializeAsString(),
           [owned](Status status, const std::string& body, const std::string& failure) {
               if (!failure.empty()) {
                   owned->OnFailure(status, failure);
                   return;
               }
               if (status == RpcFrameMsg::OK) {
                   Response response;
                   if (!response.ParseFromString(body)) {
                       owned->OnFailure(RpcFrameMsg::BAD_REQUEST, "response does not parse");
                       return;
                   }
                   owned->OnResponse(response);
               }
               owned->OnClose(status);
           });
}

}  // namespace zef::rpc
