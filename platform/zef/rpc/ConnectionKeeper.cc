#include "zef/rpc/ConnectionKeeper.h"

#include <boost/asio/post.hpp>

#include "log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"
#include "zef/rpc/Connection.h"
#include "zef/rpc/RpcRuntime.h"

namespace zef::rpc {

ConnectionKeeper::ConnectionKeeper(RpcRuntime& runtime, Settings settings)
    : _runtime(runtime),
      _settings(std::move(settings)),
      _timer(std::make_shared<boost::asio::steady_timer>(runtime.Context())) {}

ConnectionKeeper::~ConnectionKeeper() {
    Close();
}

void ConnectionKeeper::Connect() {
    boost::asio::post(_runtime.Context(), [weak = weak_from_this()] {
        if (auto self = weak.lock()) {
            self->Attempt();
        }
    });
}

void ConnectionKeeper::Close() {
    std::shared_ptr<Connection> connection;
    {
        std::lock_guard<std::mutex> guard(_mutex);
        _closed = true;
        connection = std::move(_connection);
    }
    // The timer belongs to the RPC thread; its handler holds it alive.
    boost::asio::post(_runtime.Context(), [timer = _timer] { timer->cancel(); });
    if (connection) {
        connection->Close();
    }
}

std::shared_ptr<Connection> ConnectionKeeper::Current() const {
    std::lock_guard<std::mutex> guard(_mutex);
    return _connection;
}

bool ConnectionKeeper::Closed() const {
    std::lock_guard<std::mutex> guard(_mutex);
    return _closed;
}

void ConnectionKeeper::Attempt() {
    if (Closed()) {
        return;
    }
    auto connection = _runtime.Dial(_settings.endpoint, nullptr, {});
    if (!connection) {
        if (_settings.onFailure) {
            _settings.onFailure("cannot connect to " + _settings.endpoint);
        }
        ScheduleAttempt();
        return;
    }
    {
        std::lock_guard<std::mutex> guard(_mutex);
        if (_closed) {
            connection->Close();
            return;
        }
        _connection = connection;
    }
    _settings.retry.Reset();
    if (_settings.onConnect) {
        _settings.onConnect(connection);
    }
    // Listening after the connect callback keeps the callbacks in order even
    // for a connection that is already gone.
    connection->AddCloseListener(
        [weak = weak_from_this(),
         lost = std::weak_ptr<Connection>(connection)](const std::string& why) {
            if (auto self = weak.lock()) {
                self->OnLost(lost, why);
            }
        });
}

void ConnectionKeeper::ScheduleAttempt() {
    auto delay = _settings.retry.NextDelay();
    if (!delay) {
        ZEF_LIB_LOG(library_log_level, LIB_LOG_WARN)
            .s2comp("zef-rpc")
            .put("RPC connection keeper gives up on %s", _settings.endpoint.c_str());
        return;
    }
    _timer->expires_after(*delay);
    _timer->async_wait(
        [weak = weak_from_this(), timer = _timer](const boost::system::error_code& error) {
            auto self = weak.lock();
            if (!error && self) {
                self->Attempt();
            }
        });
}

void ConnectionKeeper::OnLost(const std::weak_ptr<Connection>& lost, const std::string& why) {
    {
        std::lock_guard<std::mutex> guard(_mutex);
        if (_closed || _connection != lost.lock()) {
            return;
        }
        _connection.reset();
    }
    if (_settings.onClose) {
        _settings.onClose(why);
    }
    if (_settings.reconnect.reconnectOnLoss) {
        ScheduleAttempt();
    }
}

}  // namespace zef::rpc
