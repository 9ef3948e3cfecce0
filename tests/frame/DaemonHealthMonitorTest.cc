#include <gtest/gtest.h>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/property_tree/ptree.hpp>
#include <thread>

#include "TestSupport.h"
#include "frame/DaemonHealthMonitor.h"
#include "frame/IoContexts.h"
#include "log/LogLevel.h"
#include "platform/EchoPeer.h"
#include "frame/IDaemonHealthListener.h"
#include "frame/IStoreEcho.h"
#include "zef/AsioZefProvider.h"
#include "zef/rpc/Stub.h"

namespace FrameTest {
namespace {

using CfgAgent::DaemonHealthMonitor;
using CfgAgent::IDaemonHealthListener;
using Update = std::pair<uint32_t, uint32_t>;  // value, source

constexpr Update kStoreUp{1, IDaemonHealthListener::HEALTH_LOFTDB};
constexpr Update kStoreDown{0, IDaemonHealthListener::HEALTH_LOFTDB};
constexpr Update kProxyUp{1, IDaemonHealthListener::HEALTH_PROXY};
constexpr Update kProxyDown{0, IDaemonHealthListener::HEALTH_PROXY};

// Holds each echo's callback until the case answers it.
class FakeStore : public CfgAgent::IStoreEcho {
public:
    bool Echo(const std::string& text, EchoCallback done) override {
        std::lock_guard<std::mutex> guard(mutex);
        texts.push_back(text);
        if (reachable) {
            pending.push_back(std::move(done));
        }
        return reachable;
    }
    uint64_t LastBarrierTime() const override { return barrierSeconds.load(); }

    void Answer(int status) {
        EchoCallback done;
        {
            std::lock_guard<std::mutex> guard(mutex);
            ASSERT_FALSE(pending.empty());
            done = std::move(pending.front());
            pending.erase(pending.begin());
        }
        done(status, status == 0 ? "ping" : "echo failed");
    }
    size_t Echoes() {
        std::lock_guard<std::mutex> guard(mutex);
        return texts.size();
    }

    std::atomic<bool> reachable{true};
    std::atomic<uint64_t> barrierSeconds{0};
    std::mutex mutex;
    std::vector<std::string> texts;
    std::vector<EchoCallback> pending;
};

// Keeps the health updates.
class FakeConvertor : public IDaemonHealthListener {
public:
    void OnDaemonHealthStateUpdate(uint32_t value, uint32_t source) override {
        std::lock_guard<std::mutex> guard(mutex);
        updates.emplace_back(value, source);
    }

    std::vector<Update> Updates() {
        std::lock_guard<std::mutex> guard(mutex);
        return updates;
    }
    // Updates of one source, in order.
    std::vector<uint32_t> Of(uint32_t source) {
        std::vector<uint32_t> values;
        for (const auto& [value, from] : Updates()) {
            if (from == source) {
                values.push_back(value);
            }
        }
        return values;
    }

    std::mutex mutex;
    std::vector<Update> updates;
};

// The agent's log on the console, kept for the case to read.
class LogLines {
public:
    LogLines()
        : _agent(CfgAgent::LogLevel::agent.exchange(CfgAgent::LL_DEBUG)),
          _console(CfgAgent::LogLevel::console.exchange(1)) {
        testing::internal::CaptureStdout();
    }
    ~LogLines() {
        CfgAgent::LogLevel::agent.store(_agent);
        CfgAgent::LogLevel::console.store(_console);
        testing::internal::GetCapturedStdout();
    }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    bool Has(const std::string& text) {
        _text += testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
        return _text.find(text) != std::string::npos;
    }

private:
    int _agent;
    int _console;
    std::string _text;
};

std::string ClosedEndpoint() {
    boost::asio::io_context context;
    boost::asio::ip::tcp::acceptor acceptor(context,
                                            {boost::asio::ip::make_address("127.0.0.1"), 0});
    return "tcp://127.0.0.1:" + std::to_string(acceptor.local_endpoint().port());
}

// The provider runs on its own thread, for the stub retry timer; time as the
// monitor sees it moves only when a case says so.
class DaemonHealthMonitorTest : public ::testing::Test {
protected:
    void TearDown() override {
        if (monitor) {
            monitor->Stop();
        }
        DrainTimers();
        provider.Stop();
        providerThread.join();
    }

    // Lets the cancelled waits of stopped timers end, and their hold on the monitor.
    static void DrainTimers() {
        CfgAgent::IoContexts::Timer().restart();
        CfgAgent::IoContexts::Timer().poll();
    }

    void Make(const std::string& proxyEndpoint) {
        monitor =
            zef::MakeRef<DaemonHealthMonitor>(&convertor, &store, provider, proxyEndpoint, [this] {
                return std::chrono::steady_clock::time_point(std::chrono::seconds(seconds.load()));
            });
        monitor->Start();
    }
    void Advance(uint64_t by) { seconds += by; }

    // Checks until the proxy's stub takes a ping: with a stub every check
    // sends one, unless one is still in flight.
    bool WaitForProxyPing() {
        return WaitUntil([&] {
            const int before = peer.Echoes();
            monitor->Check();
            return WaitUntil([&] { return peer.Echoes() > before; }, 100ms);
        });
    }

    QuietConsole quiet;
    FakeStore store;
    FakeConvertor convertor;
    std::atomic<uint64_t> seconds{1000};
    zef::AsioZefProvider provider{{}, boost::property_tree::ptree(), "health-test"};
    std::thread providerThread{[this] { provider.Run(1); }};
    zef::test::EchoPeer peer{provider.rpc()};
    zef::RefPtr<DaemonHealthMonitor> monitor;
};

TEST_F(DaemonHealthMonitorTest, TheTimerChecksOneSecondAfterStart) {
    auto& context = CfgAgent::IoContexts::Timer();
    context.restart();
    auto work = boost::asio::make_work_guard(context);
    std::thread worker([&] { context.run(); });
    Make(ClosedEndpoint());
    EXPECT_TRUE(WaitUntil([&] { return !convertor.Updates().empty(); }));
    EXPECT_EQ(convertor.Updates(), std::vector<Update>{kStoreUp})
        << "the store is up at the first check, the proxy without a stub is not";
    EXPECT_EQ(monitor->LoftdbConnected(), 1u);
    monitor->Stop();
    work.reset();
    context.stop();
    worker.join();
    EXPECT_EQ(store.texts, std::vector<std::string>{"ping"});
}

TEST_F(DaemonHealthMonitorTest, BarriersKeepTheStoreUpWhenNoEchoIsAnswered) {
    Make(ClosedEndpoint());
    monitor->Check();
    EXPECT_EQ(convertor.Of(IDaemonHealthListener::HEALTH_LOFTDB), std::vector<uint32_t>{1});
    for (int i = 0; i < 4; ++i) {
        Advance(30);
        store.barrierSeconds = seconds.load();
        monitor->Check();
    }
    EXPECT_EQ(convertor.Of(IDaemonHealthListener::HEALTH_LOFTDB), std::vector<uint32_t>{1});
    EXPECT_EQ(store.Echoes(), 1u) << "the echo in flight is never sent again";

    Advance(60);
    monitor->Check();
    EXPECT_EQ(convertor.Of(IDaemonHealthListener::HEALTH_LOFTDB), std::vector<uint32_t>{1});
    Advance(1);
    monitor->Check();
    EXPECT_EQ(convertor.Of(IDaemonHealthListener::HEALTH_LOFTDB), (std::vector<uint32_t>{1, 0}));
    EXPECT_EQ(monitor->LoftdbConnected(), 0u);
}

TEST_F(DaemonHealthMonitorTest, TheStoreGoesDownSixtySecondsAfterTheLastGoodEcho) {
    Make(ClosedEndpoint());
    monitor->Check();
    Advance(10);
    store.Answer(0);  // the last good one, at 10 s
    for (int i = 0; i < 6; ++i) {
        Advance(10);
        monitor->Check();
        store.Answer(1);
    }
    EXPECT_EQ(convertor.Of(IDaemonHealthListener::HEALTH_LOFTDB), std::vector<uint32_t>{1});
    EXPECT_EQ(store.Echoes(), 7u) << "each answer, failed ones too, lets the next ping go";
    Advance(1);
    monitor->Check();
    EXPECT_EQ(convertor.Of(IDaemonHealthListener::HEALTH_LOFTDB), (std::vector<uint32_t>{1, 0}));

    store.Answer(0);
    monitor->Check();
    EXPECT_EQ(convertor.Of(IDaemonHealthListener::HEALTH_LOFTDB), (std::vector<uint32_t>{1, 0, 1}))
        << "an answer brings it back at the next check";
}

TEST_F(DaemonHealthMonitorTest, AnUnsentPingTakesTheStoreDownAtOnce) {
    Make(ClosedEndpoint());
    monitor->Check();
    store.Answer(0);
    store.reachable = false;
    monitor->Check();
    EXPECT_EQ(convertor.Updates(), (std::vector<Update>{kStoreUp, kStoreDown}));
    store.reachable = true;
    monitor->Check();
    EXPECT_EQ(convertor.Of(IDaemonHealthListener::HEALTH_LOFTDB), (std::vector<uint32_t>{1, 0, 1}));
}

TEST_F(DaemonHealthMonitorTest, ALateEchoAfterStopFindsItsOwner) {
    Make(ClosedEndpoint());
    monitor->Check();
    monitor->Stop();
    DrainTimers();
    monitor.reset();
    store.Answer(0);
    EXPECT_EQ(convertor.Updates(), std::vector<Update>{kStoreUp});
}

TEST_F(DaemonHealthMonitorTest, TheProxyIsUpWhileItsStubAnswersAndDownAtOnceWithout) {
    ASSERT_TRUE(peer.Listen());
    Make(peer.Endpoint());
    ASSERT_TRUE(WaitForProxyPing());
    EXPECT_EQ(convertor.Of(IDaemonHealthListener::HEALTH_PROXY), std::vector<uint32_t>{1});
    ASSERT_TRUE(WaitForProxyPing()) << "each answer opens the way for the next ping";

    peer.Stop();
    ASSERT_TRUE(WaitUntil([&] {
        monitor->Check();
        return convertor.Of(IDaemonHealthListener::HEALTH_PROXY).size() == 2;
    }));
    EXPECT_EQ(convertor.Updates().back(), kProxyDown);

    ASSERT_TRUE(peer.Listen());
    ASSERT_TRUE(WaitForProxyPing()) << "the keeper reconnects and a new stub comes";
    EXPECT_EQ(convertor.Of(IDaemonHealthListener::HEALTH_PROXY), (std::vector<uint32_t>{1, 0, 1}));
    EXPECT_EQ(convertor.Of(IDaemonHealthListener::HEALTH_LOFTDB), std::vector<uint32_t>{1});
}

TEST_F(DaemonHealthMonitorTest, OnlyAStreamDownForAnotherReasonAsksForANewStub) {
    ASSERT_TRUE(peer.Listen());
    Make(peer.Endpoint());
    for (int reason : {zef::rpc::STREAM_CLOSED_BY_CLIENT, zef::rpc::STREAM_SHUTDOWN,
                       zef::rpc::STREAM_CONNECTION_LOST}) {
        ASSERT_TRUE(WaitForProxyPing());
        LogLines log;
        monitor->OnStreamDown(reason);
        EXPECT_TRUE(log.Has("DaemonHealthMonitor: stream is down ("));
        EXPECT_FALSE(log.Has("DaemonHealthMonitor: requesting stub")) << reason;
        const int before = peer.Echoes();
        // Once the last echo is answered, the next check finds no stub.
        EXPECT_TRUE(WaitUntil([&] {
            monitor->Check();
            return log.Has("DaemonHealthMonitor: ping zef-proxy failed");
        })) << reason;
        EXPECT_EQ(peer.Echoes(), before);
        EXPECT_EQ(convertor.Updates().back(), kProxyDown);

        // Another reason brings a stub back, and the next round starts with it.
        monitor->OnStreamDown(zef::rpc::STREAM_SERVICE_GONE);
        EXPECT_TRUE(log.Has("DaemonHealthMonitor: requesting stub")) << reason;
    }
    ASSERT_TRUE(WaitForProxyPing());
    EXPECT_EQ(convertor.Updates().back(), kProxyUp);
}

}  // namespace
}  // namespace FrameTest
