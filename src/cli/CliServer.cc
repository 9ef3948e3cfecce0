#include "cli/CliServer.h"

#include <pthread.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>

#include "cli/CommandTable.h"
#include "cli/LogLevelCommands.h"
#include "host/HostPaths.h"
#include "log/Logger.h"

extern "C" {
#include "jsonrpc.h"
#include "openvswitch/poll-loop.h"
#include "unixctl.h"
}

namespace CfgAgent {

namespace {

// The library keeps commands for the life of the process; they reach the
// server that runs now through this pointer.
std::atomic<CliServer*> activeServer{nullptr};

void Serve(unixctl_conn* connection, int argc, const char* argv[], void* aux) {
    const auto* entry = static_cast<const CommandTable::Entry*>(aux);
    CliServer* server = activeServer.load();
    if (server == nullptr) {
        unixctl_command_reply_error(connection, "server is stopping");
        return;
    }
    const CommandReply reply = server->Answer(entry->name, CommandRegistry::Args(argv + 1, argv + argc));
    if (reply.failed) {
        unixctl_command_reply_error(connection, reply.text.c_str());
    } else {
        server->Reply(connection, reply.text);
    }
}

}  // namespace

CliServer::CliServer(CommandRegistry registry) : _registry(std::move(registry)) { AddOwnCommands(); }

CliServer::~CliServer() { Stop(); }

std::string CliServer::SocketPath() { return HostPaths::Resolve(kSocketPath); }

void CliServer::AddOwnCommands() {
    for (const LogLevelCommands::Row& row : LogLevelCommands::Rows()) {
        _registry.Add(row.set, [&row](const CommandRegistry::Args& args) {
            return LogLevelCommands::Set(row, args.at(0));
        });
        _registry.Add(row.get, [&row](const CommandRegistry::Args&) { return LogLevelCommands::Get(row); });
    }
    _registry.Add("cfgagent/set-wft/tracelevel", [](const CommandRegistry::Args& args) {
        return LogLevelCommands::SetTraceLevel(args.at(0));
    });
    _registry.Add("cfgagent/get-wft/tracelevel",
                  [](const CommandRegistry::Args&) { return LogLevelCommands::GetTraceLevel(); });
    // What a smartnic would show has no source on this host.
    for (const char* name : {"cfgagent/smartnic/demuxbyid", "cfgagent/smartnic/demuxbytype",
                             "cfgagent/smartnic/demuxinfo", "cfgagent/smartnic/muxconfig",
                             "cfgagent/smartnic/muxl2", "cfgagent/smartnic/muxglobalvtep",
                             "cfgagent/smartnic/hostswitch", "cfgagent/smartnic/rtf"}) {
        _registry.Add(name, [](const CommandRegistry::Args&) { return std::string("[]"); });
    }
}

CommandReply CliServer::Answer(const std::string& name, const CommandRegistry::Args& args) const {
    const CommandRegistry::Handler* handler = _registry.Find(name);
    return handler != nullptr ? (*handler)(args) : CommandReply::Failure("\"" + name + "\" is not answered");
}

bool CliServer::Start() {
    const std::string path = SocketPath();
    CFG_LOG(LL_INFO, "cfgagent cli socket %1", path);
    // Registering a name again is a no-op in the library.
    for (const CommandTable::Entry& entry : CommandTable::Entries()) {
        if (_registry.Find(entry.name) != nullptr) {
            unixctl_command_register(entry.name, entry.usage, entry.minArgs, entry.maxArgs, Serve,
                                     const_cast<CommandTable::Entry*>(&entry));
        }
    }
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    const int error = unixctl_server_create(path.c_str(), &_server);
    if (error != 0) {
        CFG_LOG(LL_ERROR, "Cannot create zef-cfgagent unixctl server: %1", std::strerror(error))
            .Tag("errorCode:LCP00701");
        _server = nullptr;
        return false;
    }
    activeServer = this;
    _running = true;
    _thread = std::thread([this] {
        pthread_setname_np(pthread_self(), "zef-cli");
        Loop();
    });
    CFG_LOG(LL_INFO, "Start running cli server");
    return true;
}

void CliServer::Loop() {
    for (;;) {
        try {
            unixctl_server_run(_server);
        } catch (const std::exception&) {
            CFG_LOG(LL_ERROR, "failed to process command").Tag("errorCode:LCP00703");
        }
        if (!_running) {
            unixctl_server_destroy(_server);
            _server = nullptr;
            CFG_LOG(LL_INFO, "Cli server terminated");
            return;
        }
        unixctl_server_wait(_server);
        poll_block();
    }
}

void CliServer::Stop() {
    if (!_thread.joinable()) {
        return;
    }
    _running = false;
    // A connection to the own socket wakes the blocked poll.
    struct jsonrpc* client = nullptr;
    if (unixctl_client_create(SocketPath().c_str(), &client) != 0) {
        CFG_LOG(LL_ERROR, "unixctl client create failed").Tag("errorCode:LCP00115");
    } else {
        jsonrpc_close(client);
    }
    _thread.join();
    CliServer* self = this;
    activeServer.compare_exchange_strong(self, nullptr);
}

void CliServer::Reply(unixctl_conn* connection, const std::string& text) {
    unixctl_command_reply(connection, text.c_str());
}

}  // namespace CfgAgent
