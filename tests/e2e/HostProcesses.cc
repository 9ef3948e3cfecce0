#include "HostProcesses.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace zef::test {

using namespace std::chrono_literals;

HostProcesses::HostProcesses()
    : _root(_dir.Path() + "/root"),
      _storeEndpoint("tcp://127.0.0.1:" + std::to_string(FreePort())),
      _healthEndpoint("tcp://127.0.0.1:" + std::to_string(FreePort())),
      _proxyEndpoint("tcp://127.0.0.1:" + std::to_string(FreePort())) {}

HostProcesses::~HostProcesses() {
    if (_agent) {
        StopAgent();
    }
    for (auto* child : {&_dpsim, &_store}) {
        if (*child) {
            (*child)->Signal(SIGTERM);
            (*child)->Wait(10s);
        }
    }
}

std::map<std::string, std::string> HostProcesses::Environment() const {
    return {{"ZEF_HOST_ROOT", _root},
            {"ZEF_LOFTDB_ENDPOINT", _storeEndpoint},
            {"ZEF_HEALTH_ENDPOINT", _healthEndpoint},
            {"ZEF_PROXY_ENDPOINT", _proxyEndpoint}};
}

std::string HostProcesses::Work(const std::string& name) {
    const std::string path = _dir.Path() + "/" + name + std::to_string(++_serial);
    std::filesystem::create_directories(path);
    return path;
}

void HostProcesses::StartStore() {
    _store = std::make_unique<ChildProcess>(
        ZEF_LOFTDB_BIN,
        std::vector<std::string>{"--listen", _storeEndpoint, "--data-dir", _dir.Path() + "/data"},
        std::map<std::string, std::string>{}, Work("store"));
    ASSERT_TRUE(_store->WaitForOutput("loftdb listening on", kBound)) << _store->Stdout();
}

void HostProcesses::KillStore() {
    _store->Signal(SIGKILL);
    _store->Wait(kBound);
    _store.reset();
}

void HostProcesses::StartAgent(const std::string& configXml) {
    const std::string config = _dir.Write("agent.xml", configXml);
    _agent = std::make_unique<ChildProcess>(ZEF_CFGAGENT_BIN, std::vector<std::string>{"-c", config},
                                            Environment(), Work("agent"));
    ASSERT_TRUE(_agent->WaitForOutput("Start running cli server", kBound)) << _agent->Stdout();
}

bool HostProcesses::StopAgent() {
    _agent->Signal(SIGTERM);
    const bool clean = _agent->Wait(kBound) == 0;
    EXPECT_TRUE(clean) << _agent->Stdout();
    return clean;
}

void HostProcesses::StartDpsim(const std::vector<std::string>& links) {
    std::vector<std::string> args;
    for (const std::string& link : links) {
        args.insert(args.end(), {"--link", link});
    }
    args.insert(args.end(), {"--record", RecordPath()});
    _dpsim = std::make_unique<ChildProcess>(ZEF_DPSIM_BIN, args, Environment(), Work("dpsim"));
    for (const std::string& link : links) {
        const std::string name = link.substr(0, link.find(':'));
        ASSERT_TRUE(_dpsim->WaitForOutput("dpsim serving " + name, kBound)) << _dpsim->Stdout();
    }
}

std::string HostProcesses::Run(const std::string& program, const std::vector<std::string>& args) {
    ChildProcess child(program, args, Environment(), Work("client"));
    EXPECT_EQ(child.Wait(kBound), 0) << program << " " << child.Stderr() << child.Stdout();
    return child.Stdout();
}

std::string HostProcesses::Store(const std::vector<std::string>& args) {
    std::vector<std::string> all{"--endpoint", _storeEndpoint};
    all.insert(all.end(), args.begin(), args.end());
    return Run(ZEF_LOFTDB_CTL_BIN, all);
}

std::string HostProcesses::Dpsim(const std::vector<std::string>& args) {
    std::vector<std::string> all{"ctl"};
    all.insert(all.end(), args.begin(), args.end());
    return Run(ZEF_DPSIM_BIN, all);
}

std::string HostProcesses::Appctl(const std::vector<std::string>& args) {
    std::vector<std::string> all{"-t", _root + "/var/run/halden/zef-cfgagent/cfgagent-cli"};
    all.insert(all.end(), args.begin(), args.end());
    return Run("/usr/bin/ovs-appctl", all);
}

bool HostProcesses::Poll(const std::function<std::string()>& fetch,
                         const std::function<bool(const std::string&)>& holds, std::string& last,
                         std::chrono::milliseconds bound) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (std::chrono::steady_clock::now() < deadline) {
        last = fetch();
        if (holds(last)) {
            return true;
        }
        std::this_thread::sleep_for(100ms);
    }
    return false;
}

std::string HostProcesses::ReadRecord() const {
    std::ifstream in(RecordPath());
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace zef::test
