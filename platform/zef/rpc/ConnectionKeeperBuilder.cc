#include "zef/rpc/ConnectionKeeperBuilder.h"

namespace zef::rpc {

using Builder = ConnectionKeeperBuilder;

Builder& Builder::SetEndpoint(std::string endpoint) {
    _settings.endpoint = std::move(endpoint);
    return *this;
}

Builder& Builder::SetRetryPolicy(RetryPolicy retry) {
    _settings.retry = retry;
    return *this;
}

Builder& Builder::SetReconnectPolicy(ReconnectPolicy reconnect) {
    _settings.reconnect = reconnect;
    return *this;
}

Builder& Builder::SetConnectCallback(ConnectionKeeper::ConnectCallback callback) {
    _settings.onConnect = std::move(callback);
    return *this;
}

Builder& Builder::SetCloseCallback(ConnectionKeeper::CloseCallback callback) {
    _settings.onClose = std::move(callback);
    return *this;
}

Builder& Builder::SetFailureCallback(ConnectionKeeper::FailureCallback callback) {
    _settings.onFailure = std::move(callback);
    return *this;
}

std::shared_ptr<ConnectionKeeper> Builder::Build() const {
    return std::make_shared<ConnectionKeeper>(_runtime, _settings);
}

}  // namespace zef::rpc
