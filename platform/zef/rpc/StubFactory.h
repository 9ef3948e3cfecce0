#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "zef/rpc/Stub.h"

namespace zef::rpc {

class Connection;
class RpcRuntime;

class StubFactory {
public:
    struct ClientContext {
        // The stub is given only once the peer has shown that it serves the
        // service; otherwise at once.
        bool checkService = false;
    };
    // On the RPC thread: a stub, or null and why not.
    using StubCallback = std::function<void(std::shared_ptr<Stub> stub, const std::string& error)>;

    // Makes a stub for one service on a connection of a keeper.
    class StubCreator {
    public:
        StubCreator(RpcRuntime& runtime, std::shared_ptr<Connection> connection)
            : _runtime(runtime), _connection(std::move(connection)) {}

        StubCreator& Service(std::string name);
        StubCreator& Timeout(std::chrono::milliseconds timeout);
        StubCreator& Id(std::string id);
        StubCreator& Context(ClientContext context);
        void Create(StubCallback done) const;

    private:
        RpcRuntime& _runtime;
        std::shared_ptr<Connection> _connection;
        Stub::Settings _settings;
        ClientContext _context;
    };
};

}  // namespace zef::rpc
