#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "cache/StateCache.h"
#include "port/ConfigApp.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"
#include "zef/RefPtr.h"

struct unixctl_conn;
struct unixctl_server;

namespace CfgAgent {

class CliJson;
class DVSPropConvertor;

// The operator's command socket: a thread of its own serving the named
// commands, one at a time. Commands of applications this build does not
// have are not registered.
class CliServer : public zef::RefCounted<CliServer, zef::IRefCountable> {
public:
    static constexpr const char* kSocketPath = "/var/run/halden/zef-cfgagent/cfgagent-cli";
    static constexpr size_t kMaxDumpRows = 60000;

    // `configApp` may be empty: the agent runs without the port session.
    CliServer(zef::RefPtr<StateCache> stateCache, zef::RefPtr<ConfigApp> configApp);
    ~CliServer();

    // False when the socket cannot be made; the agent runs on without it.
    bool Start();
    void Stop();
    virtual void Reply(unixctl_conn* connection, const std::string& text);

    // Answers of the commands, for the socket and for tests.
    std::string ConfigRemote();
    std::string ConfigLocal();
    std::string ConfigOfType(uint32_t objectType);
    std::string CacheTable();
    std::string CacheSize();
    std::string Uplinks();
    std::string LsPortList();
    std::string PortStatus();
    std::string PortExtraConfigs();
    std::string SwitchExtraConfigs();
    std::string SwitchAttachments();

    static std::string SocketPath();

private:
    static void RegisterCommands();
    // A JSON array filled from the port converter under agentLock; empty without one.
    std::string ConvertorRows(const std::function<void(DVSPropConvertor&, CliJson&)>& fill);
    void Loop();

    zef::RefPtr<StateCache> _stateCache;
    zef::RefPtr<ConfigApp> _configApp;
    unixctl_server* _server = nullptr;
    std::atomic<bool> _running{false};
    std::thread _thread;
};

}  // namespace CfgAgent
