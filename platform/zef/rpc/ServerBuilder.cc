#include "zef/rpc/ServerBuilder.h"

#include "zef/rpc/RpcRuntime.h"
#include "zef/rpc/Server.h"

namespace zef::rpc {

ServerBuilder& ServerBuilder::AddListeningEndpoint(const std::string& endpoint) {
    _endpoints.push_back(endpoint);
    return *this;
}

ServerBuilder& ServerBuilder::AddLocalEndpointId(const std::string& id) {
    _localEndpointId = id;
    return *this;
}

ServerBuilder& ServerBuilder::RegisterService(std::shared_ptr<Service> service,
                                              const ServiceOptions& options) {
    (*_services)[service->Name()] = std::move(service);
    return *this;
}

std::shared_ptr<Server> ServerBuilder::BuildStarted() {
    auto server = std::make_shared<Server>(_runtime, _services, _localEndpointId);
    for (const std::string& endpoint : _endpoints) {
        if (!server->Listen(endpoint)) {
            return nullptr;
        }
    }
    server->StartAccepting();
    return server;
}

}  // namespace zef::rpc
