#pragma once

#include <atomic>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "frame/AsyncTimer.h"
#include "host/Endpoints.h"
#include "frame/IDaemonHealthListener.h"
#include "frame/IStoreEcho.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"
#include "zef/RetryPolicy.h"

namespace zef {
class AsioZefProvider;
class TimerFactory;
}  // namespace zef
namespace zef::rpc {
class Connection;
class ConnectionKeeper;
class RpcRuntime;
class Stub;
}  // namespace zef::rpc

namespace CfgAgent {

// Pings the store and the local proxy daemon every five seconds. The CCP
// session state it feeds is up only while both answer; a store barrier
// counts as an answer.
class DaemonHealthMonitor : public zef::RefCounted<DaemonHealthMonitor, zef::IRefCountable> {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;
    using EchoCallback = IStoreEcho::EchoCallback;

    // The listener and the store client outlive the monitor.
    DaemonHealthMonitor(IDaemonHealthListener* listener, IStoreEcho* loftdbClient,
                        zef::AsioZefProvider& provider,
                        std::string proxyEndpoint = Endpoints::Proxy(),
                        Clock clock = std::chrono::steady_clock::now);

    void Start();
    // Not under agentLock: a check holds this monitor's lock while it waits for it.
    void Stop();
    // Read without the monitor's lock, so that holders of agentLock may ask.
    uint32_t LoftdbConnected() const { return loftdbConnected.load(); }

    // One round of pings; the timer runs it.
    void Check();
    // The stub's stream-down callback.
    void OnStreamDown(int reason);

private:
    using Timer = AsyncTimer<DaemonHealthMonitor>;
    struct Peer;

    uint64_t Now() const;
    void MoveLoftdbEchoToBarrier();
    void CheckPeer(const Peer& peer, uint64_t now, const std::function<bool()>& sendEcho);
    void SendUpdate(uint32_t value, uint32_t source);
    bool SendLoftdbEcho();
    bool SendProxyEcho();
    void EchoAnswered(const Peer& peer, int status, const std::string& text);
    // The callback, holding this monitor alive until the answer comes.
    EchoCallback Counted(const EchoCallback& callback);

    void OnProxyConnect(const std::shared_ptr<zef::rpc::Connection>& connection);
    void OnProxyGone(const char* line);
    void RequestStub();
    void OnStubResult(std::shared_ptr<zef::rpc::Stub> result);

    Peer LoftdbPeer();
    Peer ProxyPeer();

    std::shared_ptr<Timer> timer;
    IDaemonHealthListener* const listener;
    IStoreEcho* const loftdbClient;
    uint64_t lastLoftdbEcho = 0;
    std::atomic<uint32_t> loftdbConnected{0};
    EchoCallback loftdbEchoCallback;
    const std::string proxyEndpoint;
    zef::rpc::RpcRuntime& rpc;
    std::shared_ptr<zef::rpc::ConnectionKeeper> connectionKeeper;
    zef::TimerFactory& timers;
    std::shared_ptr<boost::asio::steady_timer> retryTimer;
    std::shared_ptr<zef::rpc::Stub> stub;
    zef::RetryPolicy stubRetry;
    uint64_t lastProxyEcho = 0;
    EchoCallback proxyEchoCallback;
    std::atomic<uint32_t> proxyConnected{0};
    std::recursive_mutex lock;
    uint32_t loftdbEchoState = 0;
    uint32_t proxyEchoState = 0;
    const Clock clock;
};

}  // namespace CfgAgent
