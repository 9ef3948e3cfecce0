#pragma once

#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "zef/RetryPolicy.h"

namespace zef::rpc {

class Connection;
class RpcRuntime;

struct ReconnectPolicy {
    // Dial again, by the retry policy, after an established connection is lost.
    bool reconnectOnLoss = false;
};

// Keeps one dialled connection to an endpoint: tries until it connects, by
// its retry policy, and, if told so, again after a loss. Everything it does
// and every callback runs on the RPC thread.
class ConnectionKeeper : public std::enable_shared_from_this<ConnectionKeeper> {
public:
    using ConnectCallback = std::function<void(const std::shared_ptr<Connection>& connection)>;
    using CloseCallback = std::function<void(const std::string& why)>;
    using FailureCallback = std::function<void(const std::string& why)>;

    struct Settings {
        std::string endpoint;
        RetryPolicy retry{std::chrono::milliseconds(1000)};
        ReconnectPolicy reconnect;
        ConnectCallback onConnect;
        CloseCallback onClose;      // an established connection ended
        FailureCallback onFailure;  // one try to connect failed
    };

    ConnectionKeeper(RpcRuntime& runtime, Settings settings);
    // Closes; the runtime must outlive the keeper.
    ~ConnectionKeeper();
    ConnectionKeeper(const ConnectionKeeper&) = delete;
    ConnectionKeeper& operator=(const ConnectionKeeper&) = delete;

    // The first try, at once.
    void Connect();
    // Ends the connection and the tries; no callback starts after it.
    void Close();
    // The open connection, or null.
    std::shared_ptr<Connection> Current() const;
    const std::string& Endpoint() const { return _settings.endpoint; }

private:
    void Attempt();
    void ScheduleAttempt();
    void OnLost(const std::weak_ptr<Connection>& lost, const std::string& why);
    bool Closed() const;

    RpcRuntime& _runtime;
    Settings _settings;
    const std::shared_ptr<boost::asio::steady_timer> _timer;

    mutable std::mutex _mutex;  // guards the fields below
    bool _closed = false;
    std::shared_ptr<Connection> _connection;
};

}  // namespace zef::rpc
