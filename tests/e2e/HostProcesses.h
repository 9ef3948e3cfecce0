#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ChildProcess.h"

namespace zef::test {

// The store, the dataplane simulator and the agent, each a real process under
// one private host root with private endpoints, and their command-line clients.
class HostProcesses {
public:
    static constexpr std::chrono::seconds kBound{30};

    HostProcesses();
    ~HostProcesses();

    void StartStore();
    // Ends the store with SIGKILL: what it journaled is all it keeps.
    void KillStore();
    // The agent with `configXml` written as its configuration file.
    void StartAgent(const std::string& configXml);
    // Ends the agent with SIGTERM; false when it did not exit cleanly.
    bool StopAgent();
    // dpsim serving `links` ("NAME:PROTOCOL") and recording to RecordPath().
    void StartDpsim(const std::vector<std::string>& links);

    // Runs a client to its end and gives its standard output.
    std::string Run(const std::string& program, const std::vector<std::string>& args);
    std::string Store(const std::vector<std::string>& args);
    std::string Dpsim(const std::vector<std::string>& args);
    std::string Appctl(const std::vector<std::string>& args);

    // Polls `fetch` until `holds` says yes of its answer; `last` keeps the last answer.
    bool Poll(const std::function<std::string()>& fetch,
              const std::function<bool(const std::string&)>& holds, std::string& last,
              std::chrono::milliseconds bound = kBound);

    const std::string& Root() const { return _root; }
    std::string RecordPath() const { return _dir.Path() + "/dp.jsonl"; }
    std::string ReadRecord() const;
    ChildProcess& Agent() { return *_agent; }
    ChildProcess& StoreProcess() { return *_store; }

private:
    std::string Work(const std::string& name);
    std::map<std::string, std::string> Environment() const;

    TempDir _dir;
    std::string _root;
    std::string _storeEndpoint;
    std::string _healthEndpoint;
    std::string _proxyEndpoint;
    int _serial = 0;
    std::unique_ptr<ChildProcess> _store;
    std::unique_ptr<ChildProcess> _dpsim;
    std::unique_ptr<ChildProcess> _agent;
};

}  // namespace zef::test
