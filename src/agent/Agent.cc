#include "agent/Agent.h"

#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <syslog.h>
#include <unistd.h>

#include <boost/property_tree/ptree.hpp>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "agent/AppContext.h"
#include "agent/AppRegistry.h"
#include "agent/Applications.h"
#include "cache/CacheCommands.h"
#include "cache/StateCache.h"
#include "cache/StateCacheObserver.h"
#include "cli/CliServer.h"
#include "frame/StageClock.h"
#include "frame/AgentConfig.h"
#include "frame/AppEntry.h"
#include "host/Endpoints.h"
#include "frame/NodeType.h"
#include "frame/ShaStatus.h"
#include "frame/WorkGroup.h"
#include "log/Logger.h"
#include "log/SyslogLink.h"
#include "log/zef/Logger.h"
#include "product.pb.h"
#include "sha.pb.h"
#include "store/LoftdbClient.h"
#include "store/MsgDispatcher.h"
#include "store/UpdateQueue.h"
#include "zef/AsioZefProvider.h"
#include "zef/DaemonHealthService.h"
#include "zef/LibraryLogLevels.h"
#include "zef/rpc/RpcRuntime.h"
#include "zef/rpc/Server.h"
#include "zef/rpc/ServerBuilder.h"
#include "zef/sha/ShaPmClient.h"
#include "zef/upm/UPMService.h"
#include "zef/wft/WorkflowUtil.h"

#ifndef ZEF_BUILD_STRING
#define ZEF_BUILD_STRING "unknown"
#endif

namespace CfgAgent {

namespace {

// Runs a stop sequence on the way out of a scope unless it already ran: an
// exception after the loops started must not leave them for the join.
class StopOnExit {
public:
    explicit StopOnExit(std::function<void()> stop) : _stop(std::move(stop)) {}
    ~StopOnExit() { Now(); }
    StopOnExit(const StopOnExit&) = delete;
    StopOnExit& operator=(const StopOnExit&) = delete;
    void Now() {
        if (_stop) {
            std::exchange(_stop, nullptr)();
        }
    }

private:
    std::function<void()> _stop;
};

// Stops the process work group on every way out of the run, exceptions included.
struct WorkGroupScope {
    explicit WorkGroupScope(zef::metrics::MetricsRegistry& metrics) { WorkGroup::Start(metrics); }
    ~WorkGroupScope() { WorkGroup::Stop(); }
    WorkGroupScope(const WorkGroupScope&) = delete;
    WorkGroupScope& operator=(const WorkGroupScope&) = delete;
};

}  // namespace

namespace {

// A stop request during the start waits until the provider, which owns the
// stop, stands; it then ends the run in the stop order like any other.
class StopSignalsHeld {
public:
    StopSignalsHeld() {
        sigemptyset(&_signals);
        sigaddset(&_signals, SIGTERM);
        sigaddset(&_signals, SIGINT);
        pthread_sigmask(SIG_BLOCK, &_signals, nullptr);
    }
    ~StopSignalsHeld() { Release(); }
    StopSignalsHeld(const StopSignalsHeld&) = delete;
    StopSignalsHeld& operator=(const StopSignalsHeld&) = delete;
    void Release() {
        if (std::exchange(_held, false)) {
            pthread_sigmask(SIG_UNBLOCK, &_signals, nullptr);
        }
    }

private:
    sigset_t _signals{};
    bool _held = true;
};

}  // namespace

int Agent::Main(int argc, char** argv) {
    StopSignalsHeld held;
    std::string configPath = AgentConfig::DefaultPath();
    if (!ParseCommandLine(argc, argv, configPath)) {
        return -1;
    }
    if (!LoadConfiguration(configPath)) {
        return -1;
    }
    try {
        return Run([&held] { held.Release(); });
    } catch (const std::bad_alloc&) {
        CFG_LOG(LL_ERROR, "Failed to run zef-cfgagent");
        SyslogLink::Process().Send(LOG_ERR, "CFGAGENT_ALLOC_FAIL : CfgAgent error: no memory!");
        std::fflush(nullptr);
        std::_Exit(1);
    } catch (const std::exception& e) {
        CFG_LOG(LL_ERROR, "Failed to run zef-cfgagent");
        CFG_LOG(LL_DEBUG, "%1", e.what());
        return -1;
    }
}

bool Agent::ParseCommandLine(int argc, char** argv, std::string& configPath) {
    opterr = 0;
    int option = 0;
    while ((option = getopt(argc, argv, "sc:")) != -1) {
        if (option != 'c') {
            std::fprintf(stderr, "Usage: %s [-c configFile]\n", argv[0]);
            return false;
        }
        configPath = optarg;
    }
    return true;
}

bool Agent::LoadConfiguration(const std::string& path) {
    CFG_LOG(LL_DEBUG, "Try loading config file: %1", path);
    if (AgentConfig::Load(path)) {
        return true;
    }
    CFG_LOG(LL_ERROR, "Failed loading config file: %1", path).Tag("errorCode:LCP00003");
    std::cout << "-----------------------------------\n* Error *: CfgAgent start failed.\n"
              << "  Configuration file " << path << " is invalid!\n"
              << "-----------------------------------\n"
              << std::flush;
    return false;
}

void Agent::ApplyLogSettings() {
    const AgentSettings& s = AgentConfig::Settings();
    LogLevel::agent = s.logLevel;
    LogLevel::console = s.outputToConsole ? 1 : 0;
    LogLevel::cradle = s.cradleLogLevel;
    zef::metrics::library_log_level = s.metricsLogLevel;
    zef::net::library_log_level = s.netLogLevel;
    zef::rpc::library_log_level = s.rpcLogLevel;
    zef::loftdb::library_log_level = s.loftdbLogLevel;
    zef::upm::library_log_level = s.upmLogLevel;
    zef::sha::library_log_level = s.shaLogLevel;
    zef::wft::library_log_level = s.workflowLogLevel;
    zef::wft::WorkflowUtil::SetTraceLevel(static_cast<uint8_t>(s.workflowTraceLevel));
    // Every priority passes, as a mask of 0xff would let it.
    SyslogLink::Process().Open("cfgAgent", LOG_PID, LOG_DAEMON);
    CFG_LOG(LL_INFO, "Workflow tracing set trace_level %1 log_level %2", s.workflowTraceLevel,
            s.workflowLogLevel);
    CFG_LOG(LL_INFO, "Build Number: %1", ZEF_BUILD_STRING);
}

void Agent::IgnoreSigpipe() {
    struct sigaction action {};
    action.sa_handler = SIG_IGN;
    sigfillset(&action.sa_mask);
    sigdelset(&action.sa_mask, SIGABRT);
    action.sa_flags = SA_RESTART;
    if (sigaction(SIGPIPE, &action, nullptr) != 0) {
        CFG_LOG(LL_WARN, "Failed to register SIGPIPE handler");
    }
}

void Agent::EnableCoreDump() {
    rlimit limit{RLIM_INFINITY, RLIM_INFINITY};
    if (setrlimit(RLIMIT_CORE, &limit) == 0) {
        CFG_LOG(LL_DEBUG, "Enable core dump");
    } else {
        CFG_LOG(LL_ERROR, "Failed to enable core dump: %1", std::strerror(errno))
            .Tag("errorCode:LCP00027");
    }
}

int Agent::Run(const std::function<void()>& providerStands) {
    const AgentSettings& settings = AgentConfig::Settings();
    WorkGroup::SetThreadCounts({settings.ioThreads, settings.workThreads});
    ApplyLogSettings();
    IgnoreSigpipe();
    EnableCoreDump();
    CFG_LOG(LL_INFO, "Instrument configCache %1 l2Cache %2 l3Cache %3 loftdbClient %4",
            settings.instrumentConfigCache, settings.instrumentL2Cache,
            settings.instrumentL3Cache, settings.instrumentLoftdbClient);
    StageClock::Enable(settings.instrumentConfigCache || settings.instrumentLoftdbClient);

    NodeType::Detect();
    if (!NodeType::LogAndCheck()) {
        return -1;
    }
    CFG_LOG(LL_INFO, "Start cfgAgent");

    auto provider = std::make_unique<zef::AsioZefProvider>(
        zef::AsioZefProvider::Options{}, AgentConfig::Tree().get_child("config"), "");
    providerStands();

    halden::zef::ProductVersionMsg version;
    version.set_major(2);
    version.set_minor(3);
    auto healthService = std::make_shared<zef::DaemonHealthService>(version);
    std::shared_ptr<zef::rpc::Server> healthServer = provider->rpc()
                                                         .CreateServerBuilder()
                                                         .AddListeningEndpoint(Endpoints::Health())
                                                         .AddLocalEndpointId("zef-cfgagent")
                                                         .RegisterService(healthService, {1})
                                                         .BuildStarted();
    if (!healthServer) {
        CFG_LOG(LL_ERROR, "Health RPC server is not listening on %1", Endpoints::Health());
    }

    std::optional<WorkGroupScope> workGroup(std::in_place, provider->metrics());

    auto stateCache = zef::MakeRef<StateCache>();
    auto updateQueue = std::make_shared<UpdateQueue>(UpdateQueue::kNoLimit, true, true);
    auto loftdbClient = zef::MakeRef<LoftdbClient>(updateQueue, Endpoints::Loftdb());
    std::shared_ptr<zef::upm::UPMService> upmService = loftdbClient->UpmService();
    auto stateCacheObserver = zef::MakeRef<StateCacheObserver>(*loftdbClient, stateCache);
    stateCacheObserver->Start();
    auto dispatcher = zef::MakeRef<MsgDispatcher>(updateQueue);
    dispatcher->Register(CONFIGCACHE, zef::RefPtr<Component>(stateCache->ConfigTable()));
    dispatcher->Register(L2CACHE, zef::RefPtr<Component>(stateCache->L2Table()));
    dispatcher->Register(L3CACHE, zef::RefPtr<Component>(stateCache->L3Table()));

    // A malformed list ends the start, whichever applications this build has.
    const boost::property_tree::ptree apps = AgentConfig::Tree().get_child("config.cfgAgent.apps");
    const std::vector<AppEntry> entries = AppEntry::ReadAll(apps);
    const AppContext context{stateCache, dispatcher, loftdbClient, provider.get(), upmService};
    AppRegistry applications;
    Applications::RegisterAll(applications);
    applications.StartConfigured(entries, context);

    zef::RefPtr<CliServer> cli;
    StopOnExit road([&] {
        loftdbClient->Stop();
        upmService->Stop();
        applications.Stop();
        if (cli) {
            cli->Stop();
        }
        dispatcher->Unregister(zef::RefPtr<Component>(stateCache->L3Table()));
        stateCacheObserver->Stop();
        dispatcher->Stop();
    });

    CFG_LOG(LL_INFO, "Loftdb client starts");
    loftdbClient->Start();
    applications.LateStart();
    upmService->Start();
    CFG_LOG(LL_INFO, "Starting running CLI Server");
    CommandRegistry commands;
    CacheCommands(stateCache).Register(commands);
    applications.AddCommands(commands, context);
    Applications::AddCommands(commands, applications);
    cli = zef::MakeRef<CliServer>(std::move(commands));
    cli->Start();
    // Last of the road: no component sees an update before all stand.
    dispatcher->Start();

    auto sha = std::make_unique<zef::sha::ShaPmClient>("zef-cfgagent");
    sha->Start();
    sha->RegisterCombinedMessageMetricCollection(
        ShaStatus::kCollectionName,
        [](void* context) {
            const auto* registry = static_cast<const AppRegistry*>(context);
            return ShaStatus::CombinedMessage(Applications::StoreConnected(*registry));
        },
        &applications, 20);
    sha->StartMetricCollection();
    sha->StartProcessHeartbeat(5, 30);

    provider->Run(1);

    CFG_LOG(LL_INFO, "Clean up platform");
    road.Now();
    workGroup.reset();
    sha->StopMetricCollection();
    sha->UnregisterMetricCollectionAll();
    sha->StopProcessHeartbeat();
    sha->Stop();
    if (healthServer) {
        healthServer->Stop();
    }
    return 0;
}

}  // namespace CfgAgent
