#pragma once

#include <memory>
#include <string>
#include <vector>

#include "zef/rpc/Connection.h"

namespace zef::rpc {

class RpcRuntime;
class Server;

struct ServiceOptions {
    uint32_t priority = 0;
};

class ServerBuilder {
public:
    explicit ServerBuilder(RpcRuntime& runtime) : _runtime(runtime) {}

    ServerBuilder& AddListeningEndpoint(const std::string& endpoint);
    ServerBuilder& AddLocalEndpointId(const std::string& id);
    ServerBuilder& RegisterService(std::shared_ptr<Service> service, const ServiceOptions& options);
    // A listening server, or null when an endpoint could not be bound.
    std::shared_ptr<Server> BuildStarted();

private:
    RpcRuntime& _runtime;
    std::vector<std::string> _endpoints;
    std::string _localEndpointId;
    std::shared_ptr<ServiceTable> _services = std::make_shared<ServiceTable>();
};

}  // namespace zef::rpc
