#pragma once

#include <atomic>
#include <string>
#include <thread>

#include "cli/api/CommandRegistry.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"

struct unixctl_conn;
struct unixctl_server;

namespace CfgAgent {

// The operator's command socket: a thread of its own serving the named
// commands, one at a time. It answers the log level and smartnic commands
// itself; every other answer comes from the registry its owners filled. A
// command nobody answers is not registered.
class CliServer : public zef::RefCounted<CliServer, zef::IRefCountable> {
public:
    static constexpr const char* kSocketPath = "/var/run/halden/zef-cfgagent/cfgagent-cli";

    explicit CliServer(CommandRegistry registry);
    ~CliServer();

    // False when the socket cannot be made; the agent runs on without it.
    bool Start();
    void Stop();
    virtual void Reply(unixctl_conn* connection, const std::string& text);

    // The answer to one command, as the socket would give it.
    CommandReply Answer(const std::string& name, const CommandRegistry::Args& args) const;

    static std::string SocketPath();

private:
    void AddOwnCommands();
    void Loop();

    CommandRegistry _registry;
    unixctl_server* _server = nullptr;
    std::atomic<bool> _running{false};
    std::thread _thread;
};

}  // namespace CfgAgent
