#include "frame/DaemonHealthMonitor.h"

#include <utility>

#include "daemon_health.pb.h"
#include "frame/AgentLock.h"
#include "frame/IoContexts.h"
#include "log/Logger.h"
#include "zef/AsioZefProvider.h"
#include "zef/TimerFactory.h"
#include "zef/rpc/CallObserver.h"
#include "zef/rpc/Connection.h"
#include "zef/rpc/ConnectionKeeperBuilder.h"
#include "zef/rpc/RpcRuntime.h"
#include "zef/rpc/Stub.h"
#include "zef/rpc/StubFactory.h"

namespace CfgAgent {

using namespace std::chrono_literals;

namespace {

constexpr uint64_t kFirstCheckMicros = 1'000'000;
constexpr uint64_t kCheckPeriodMicros = 5'000'000;
constexpr uint64_t kEchoTimeoutSeconds = 60;
constexpr uint64_t kNanosPerSecond = 1'000'000'000;
constexpr uint32_t kEchoNone = 0;
constexpr uint32_t kEchoInFlight = 1;
constexpr uint32_t kEchoAnswered = 2;
constexpr const char* kPing = "ping";
constexpr const char* kProxyService = "halden.zef.daemon.DaemonHealth";
constexpr const char* kEchoMethod = "Echo";
constexpr const char* kStubId = "cfg-agent";
constexpr std::chrono::milliseconds kStubTimeout = 30000ms;
constexpr std::chrono::milliseconds kStubRetry = 5000ms;

// What sets the two peers apart beyond their state.
struct PeerInfo {
    uint32_t source;
    const char* timeout;
    const char* pingFailed;
    const char* pingSent;
    const char* connected;
    const char* disconnected;
    const char* echoStatus;
    bool logBeforeDisconnectUpdate;
};

constexpr PeerInfo kLoftdb{
    IDaemonHealthListener::HEALTH_LOFTDB,
    "DaemonHealthMonitor: loftdb echo timeout (%1 sec)",
    "DaemonHealthMonitor: ping loftdb failed",
    "DaemonHealthMonitor: ping loftdb sent",
    "DaemonHealthMonitor: loftdb connected",
    "DaemonHealthMonitor: loftdb disconnected",
    "DaemonHealthMonitor::LoftdbEchoCB: status %1",
    false,
};

constexpr PeerInfo kProxy{
    IDaemonHealthListener::HEALTH_PROXY,
    "DaemonHealthMonitor: zef-proxy echo timeout (%1 sec)",
    "DaemonHealthMonitor: ping zef-proxy failed",
    "DaemonHealthMonitor: ping zef-proxy sent",
    "DaemonHealthMonitor: zef-proxy connected",
    "DaemonHealthMonitor: zef-proxy disconnected",
    "DaemonHealthMonitor::ZefProxyEchoCB: status %1",
    true,
};

// Hears one proxy echo and hands its end to the echo callback.
class EchoResponseObserver : public zef::rpc::CallObserver<halden::zef::daemon::EchoMsg> {
public:
    explicit EchoResponseObserver(DaemonHealthMonitor::EchoCallback callback)
        : _callback(std::move(callback)) {}

    void OnResponse(const halden::zef::daemon::EchoMsg& response) override {
        CFG_LOG(LL_DEBUG, "DaemonHealthMonitor: received zef-proxy echo response");
        _text = response.text();
    }
    void OnClose(Status status) override {
        _callback(status, status == zef::rpc::RpcFrameMsg::OK
                              ? _text
                              : zef::rpc::RpcFrameMsg::Status_Name(status));
    }
    void OnFailure(Status status, const std::string& why) override { _callback(status, why); }

private:
    DaemonHealthMonitor::EchoCallback _callback;
    std::string _text;
};

void LogOnlyStreamDown(int) {
    CFG_LOG(LL_DEBUG, "DaemonHealthMonitor: stream is down. Do not reset stub");
}

}  // namespace

// One peer's state, as the check and the echo callbacks share it.
struct DaemonHealthMonitor::Peer {
    const PeerInfo& info;
    uint64_t& lastEcho;
    std::atomic<uint32_t>& connected;
    uint32_t& echoState;
};

DaemonHealthMonitor::DaemonHealthMonitor(IDaemonHealthListener* listener,
                                         IStoreEcho* loftdbClient,
                                         zef::AsioZefProvider& provider, std::string proxyEndpoint,
                                         Clock clock)
    : listener(listener),
      loftdbClient(loftdbClient),
      proxyEndpoint(std::move(proxyEndpoint)),
      rpc(provider.rpc()),
      timers(provider.timers()),
      stubRetry(kStubRetry),
      clock(std::move(clock)) {}

DaemonHealthMonitor::Peer DaemonHealthMonitor::LoftdbPeer() {
    return {kLoftdb, lastLoftdbEcho, loftdbConnected, loftdbEchoState};
}

DaemonHealthMonitor::Peer DaemonHealthMonitor::ProxyPeer() {
    return {kProxy, lastProxyEcho, proxyConnected, proxyEchoState};
}

uint64_t DaemonHealthMonitor::Now() const {
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(clock().time_since_epoch()).count());
}

void DaemonHealthMonitor::Start() {
    std::lock_guard<std::recursive_mutex> guard(lock);
    const zef::RefPtr<DaemonHealthMonitor> self(this);
    connectionKeeper =
        zef::rpc::ConnectionKeeperBuilder(rpc)
            .SetEndpoint(proxyEndpoint)
            .SetRetryPolicy(zef::RetryPolicy(1000ms, 5000ms, 2.0, zef::RetryPolicy::kNoLimit))
            .SetReconnectPolicy({true})
            .SetConnectCallback([self](const std::shared_ptr<zef::rpc::Connection>& connection) {
                self->OnProxyConnect(connection);
            })
            .SetCloseCallback([self](const std::string&) {
                self->OnProxyGone("DaemonHealthMonitor: zef-proxy rpc closed");
            })
            .SetFailureCallback([self](const std::string&) {
                self->OnProxyGone("DaemonHealthMonitor: zef-proxy rpc falied");
            })
            .Build();
    proxyEchoCallback = [this](int status, const std::string& text) {
        EchoAnswered(ProxyPeer(), status, text);
    };
    connectionKeeper->Connect();
    lastProxyEcho = Now();
    timer =
        std::make_shared<Timer>(IoContexts::Timer(), &DaemonHealthMonitor::Check, nullptr, this);
    loftdbEchoCallback = [this](int status, const std::string& text) {
        EchoAnswered(LoftdbPeer(), status, text);
    };
    lastLoftdbEcho = Now();
    timer->Start(kFirstCheckMicros);
}

void DaemonHealthMonitor::Stop() {
    std::shared_ptr<zef::rpc::ConnectionKeeper> keeper;
    std::shared_ptr<zef::rpc::Stub> oldStub;
    std::shared_ptr<Timer> oldTimer;
    {
        std::lock_guard<std::recursive_mutex> guard(lock);
        oldStub = std::move(stub);
        keeper = std::move(connectionKeeper);
        oldTimer = std::move(timer);
        if (retryTimer) {
            retryTimer->cancel();
            retryTimer.reset();
        }
    }
    // Closed outside the lock: their ends may call back into it.
    if (oldTimer) {
        oldTimer->Close();
    }
    if (keeper) {
        keeper->Close();
    }
}

void DaemonHealthMonitor::Check() {
    std::lock_guard<std::recursive_mutex> guard(lock);
    MoveLoftdbEchoToBarrier();
    const uint64_t now = Now();
    CheckPeer(LoftdbPeer(), now, [this] { return SendLoftdbEcho(); });
    CheckPeer(ProxyPeer(), now, [this] { return SendProxyEcho(); });
    if (timer) {
        timer->Start(kCheckPeriodMicros);
        CFG_LOG(LL_DEBUG, "DaemonHealthMonitor: reschedule");
    }
}

void DaemonHealthMonitor::MoveLoftdbEchoToBarrier() {
    const uint64_t barrierSeconds = loftdbClient->LastBarrierTime();
    const uint64_t echoSeconds = lastLoftdbEcho / kNanosPerSecond;
    if (barrierSeconds > echoSeconds) {
        lastLoftdbEcho += (barrierSeconds - echoSeconds) * kNanosPerSecond;
    }
}

void DaemonHealthMonitor::CheckPeer(const Peer& peer, uint64_t now,
                                    const std::function<bool()>& sendEcho) {
    const bool timedOut =
        now > peer.lastEcho && now - peer.lastEcho > kEchoTimeoutSeconds * kNanosPerSecond;
    if (timedOut) {
        CFG_LOG(LL_WARN, peer.info.timeout, kEchoTimeoutSeconds);
    }
    bool sent = true;
    if (peer.echoState != kEchoInFlight) {
        // In flight before the send, so that an answer given inside it counts.
        const uint32_t before = std::exchange(peer.echoState, kEchoInFlight);
        sent = sendEcho();
        if (sent) {
            CFG_LOG(LL_DEBUG, peer.info.pingSent);
        } else {
            peer.echoState = before;
            CFG_LOG(LL_WARN, peer.info.pingFailed);
        }
    }
    if (sent && !timedOut) {
        if (peer.connected == 0) {
            peer.connected = 1;
            CFG_LOG(LL_INFO, peer.info.connected);
            SendUpdate(1, peer.info.source);
        }
        return;
    }
    if (peer.connected == 1) {
        peer.connected = 0;
        if (peer.info.logBeforeDisconnectUpdate) {
            CFG_LOG(LL_WARN, peer.info.disconnected);
            SendUpdate(0, peer.info.source);
        } else {
            SendUpdate(0, peer.info.source);
            CFG_LOG(LL_WARN, peer.info.disconnected);
        }
    }
}

void DaemonHealthMonitor::SendUpdate(uint32_t value, uint32_t source) {
    std::lock_guard<std::recursive_mutex> agent(agentLock());
    listener->OnDaemonHealthStateUpdate(value, source);
}

DaemonHealthMonitor::EchoCallback DaemonHealthMonitor::Counted(const EchoCallback& callback) {
    return [self = zef::RefPtr<DaemonHealthMonitor>(this), callback](
               int status, const std::string& text) { callback(status, text); };
}

bool DaemonHealthMonitor::SendLoftdbEcho() {
    return loftdbClient->Echo(kPing, Counted(loftdbEchoCallback));
}

bool DaemonHealthMonitor::SendProxyEcho() {
    if (!stub) {
        return false;
    }
    halden::zef::daemon::EchoMsg request;
    request.set_text(kPing);
    stub->Call<halden::zef::daemon::EchoMsg>(
        kEchoMethod, request, std::make_unique<EchoResponseObserver>(Counted(proxyEchoCallback)));
    return true;
}

void DaemonHealthMonitor::EchoAnswered(const Peer& peer, int status, const std::string& text) {
    std::lock_guard<std::recursive_mutex> guard(lock);
    peer.echoState = kEchoAnswered;
    if (status == 0) {
        peer.lastEcho = Now();
        return;
    }
    CFG_LOG(LL_WARN, peer.info.echoStatus, text);
}

void DaemonHealthMonitor::OnProxyConnect(const std::shared_ptr<zef::rpc::Connection>& connection) {
    RequestStub();
    CFG_LOG(LL_INFO, "DaemonHealthMonitor: zef-proxy rpc connection info: %1", connection->Text());
}

void DaemonHealthMonitor::OnProxyGone(const char* line) {
    CFG_LOG(LL_INFO, line);
    std::lock_guard<std::recursive_mutex> guard(lock);
    stub.reset();
}

void DaemonHealthMonitor::RequestStub() {
    std::shared_ptr<zef::rpc::Connection> connection;
    {
        std::lock_guard<std::recursive_mutex> guard(lock);
        if (!connectionKeeper) {
            return;  // stopped
        }
        connection = connectionKeeper->Current();
    }
    CFG_LOG(LL_DEBUG, "DaemonHealthMonitor: requesting stub");
    zef::rpc::StubFactory::StubCreator(rpc, std::move(connection))
        .Service(kProxyService)
        .Timeout(kStubTimeout)
        .Id(kStubId)
        .Context({true})
        .Create([self = zef::RefPtr<DaemonHealthMonitor>(this)](
                    std::shared_ptr<zef::rpc::Stub> result, const std::string&) {
            self->OnStubResult(std::move(result));
        });
}

void DaemonHealthMonitor::OnStubResult(std::shared_ptr<zef::rpc::Stub> result) {
    std::lock_guard<std::recursive_mutex> guard(lock);
    if (!connectionKeeper) {
        return;  // stopped
    }
    if (!result) {
        const std::chrono::milliseconds delay = stubRetry.NextDelay().value_or(kStubRetry);
        CFG_LOG(LL_INFO,
                "DaemonHealthMonitor: failed to get zef-proxy stub to %1, retrying in %2 ms...",
                proxyEndpoint, delay.count());
        retryTimer = std::make_shared<boost::asio::steady_timer>(timers.Context(), delay);
        retryTimer->async_wait([self = zef::RefPtr<DaemonHealthMonitor>(this)](
                                   const boost::system::error_code& error) {
            if (!error) {
                self->RequestStub();
            }
        });
        return;
    }
    stubRetry.Reset();
    if (stub) {
        stub->SetStreamDownCallback(LogOnlyStreamDown);
    }
    stub = std::move(result);
    stub->SetStreamDownCallback([self = zef::RefPtr<DaemonHealthMonitor>(this)](int reason) {
        self->OnStreamDown(reason);
    });
    CFG_LOG(LL_INFO, "DaemonHealthMonitor: zef-proxy stub achieved");
}

void DaemonHealthMonitor::OnStreamDown(int reason) {
    CFG_LOG(LL_INFO, "DaemonHealthMonitor: stream is down (%1)",
            zef::rpc::Stub::ReasonText(reason));
    {
        std::lock_guard<std::recursive_mutex> guard(lock);
        if (stub) {
            stub->SetStreamDownCallback(LogOnlyStreamDown);
            stub.reset();
        }
    }
    if (reason != zef::rpc::STREAM_CLOSED_BY_CLIENT && reason != zef::rpc::STREAM_SHUTDOWN &&
        reason != zef::rpc::STREAM_CONNECTION_LOST) {
        RequestStub();
    }
}

}  // namespace CfgAgent
