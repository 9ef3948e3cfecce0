#include "zef/rpc/StubFactory.h"

#include <boost/asio/post.hpp>

#include "zef/rpc/RpcRuntime.h"

namespace zef::rpc {

using Creator = StubFactory::StubCreator;

Creator& Creator::Service(std::string name) {
    _settings.service = std::move(name);
    return *this;
}

Creator& Creator::Timeout(std::chrono::milliseconds timeout) {
    _settings.timeout = timeout;
    return *this;
}

Creator& Creator::Id(std::string id) {
    _settings.id = std::move(id);
    return *this;
}

Creator& Creator::Context(ClientContext context) {
    _context = context;
    return *this;
}

void Creator::Create(StubCallback done) const {
    if (!_connection || !_connection->IsOpen()) {
        boost::asio::post(_runtime.Context(),
                          [done = std::move(done)] { done(nullptr, "not connected"); });
        return;
    }
    auto stub = std::make_shared<Stub>(_runtime, _connection, _settings);
    stub->Watch();
    if (!_context.checkService) {
        boost::asio::post(_runtime.Context(), [stub, done = std::move(done)] { done(stub, {}); });
        return;
    }
    // A call of no method: a peer that serves the service answers NO_SUCH_METHOD.
    stub->Invoke({}, {},
                 [stub, done = std::move(done)](Stub::Status status, const std::string&,
                                                const std::string& failure) {
                     if (status == RpcFrameMsg::NO_SUCH_METHOD) {
                         done(stub, {});
                     } else if (!failure.empty()) {
                         done(nullptr, failure);
                     } else {
                         done(nullptr, "peer does not serve " + stub->GetSettings().service);
                     }
                 });
}

}  // namespace zef::rpc
