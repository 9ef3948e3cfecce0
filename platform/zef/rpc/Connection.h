#pragma once

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "rpc.pb.h"
#include "zef/rpc/Service.h"

namespace zef::net {
class FramedSocket;
}

namespace zef::rpc {

using ServiceTable = std::map<std::string, std::shared_ptr<Service>>;

// One TCP connection of the local RPC. It is symmetric: whichever side
// dialled, each side may call the other and serves its own service table.
// Frames are a 4-byte big-endian length and a serialized RpcFrameMsg.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    static constexpr uint32_t kMaxFrame = 64u << 20;
    using Status = RpcFrameMsg::Status;
    using ResponseCallback = std::function<void(Status, const std::string& payload)>;
    using CloseListener = std::function<void(const std::string& why)>;

    Connection(boost::asio::ip::tcp::socket socket, std::shared_ptr<const ServiceTable> services,
               std::string localEndpointId);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Starts reading; sends this side's endpoint id first.
    void Start();
    // The callback runs on the RPC thread, with INTERNAL if the connection ends first.
    void Call(const std::string& service, const std::string& method, std::string payload,
              ResponseCallback callback);
    // Waits for the answer; never call it from the RPC thread.
    Status CallSync(const std::string& service, const std::string& method, std::string payload,
                    std::string& response, std::chrono::milliseconds timeout);
    void Close();

    bool IsOpen() const { return _open.load(); }
    std::string PeerEndpointId() const;
    // "local -> remote" addresses, for logs.
    const std::string& Text() const { return _text; }

    // Called once, on the RPC thread, when the connection ends; at once, on
    // the caller's thread, when it has already ended. The id removes it.
    uint64_t AddCloseListener(CloseListener listener);
    void RemoveCloseListener(uint64_t id);

private:
    void OnFrame(const std::string& bytes);
    void FailPending();
    void NotifyClosed(const std::string& why);

    const std::string _text;
    const std::shared_ptr<net::FramedSocket> _socket;
    const std::shared_ptr<const ServiceTable> _services;
    const std::string _localEndpointId;
    std::atomic<bool> _open{true};

    mutable std::mutex _mutex;  // guards the fields below
    uint64_t _nextCallId = 1;
    std::map<uint64_t, ResponseCallback> _pending;
    std::string _peerEndpointId;
    uint64_t _nextListenerId = 1;
    std::map<uint64_t, CloseListener> _closeListeners;
    std::optional<std::string> _endedWhy;
};

}  // namespace zef::rpc
