#pragma once

#include <memory>
#include <string>

#include "zef/rpc/ConnectionKeeper.h"

namespace zef::rpc {

class ConnectionKeeperBuilder {
public:
    explicit ConnectionKeeperBuilder(RpcRuntime& runtime) : _runtime(runtime) {}

    ConnectionKeeperBuilder& SetEndpoint(std::string endpoint);
    ConnectionKeeperBuilder& SetRetryPolicy(RetryPolicy retry);
    ConnectionKeeperBuilder& SetReconnectPolicy(ReconnectPolicy reconnect);
    ConnectionKeeperBuilder& SetConnectCallback(ConnectionKeeper::ConnectCallback callback);
    ConnectionKeeperBuilder& SetCloseCallback(ConnectionKeeper::CloseCallback callback);
    ConnectionKeeperBuilder& SetFailureCallback(ConnectionKeeper::FailureCallback callback);
    // Not yet connecting: Connect starts it.
    std::shared_ptr<ConnectionKeeper> Build() const;

private:
    RpcRuntime& _runtime;
    ConnectionKeeper::Settings _settings;
};

}  // namespace zef::rpc
