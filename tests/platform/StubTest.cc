#include <gtest/gtest.h>

#include <boost/asio/ip/tcp.hpp>
#include <mutex>

#include "EchoPeer.h"
#include "frame/TestSupport.h"
#include "zef/rpc/Stub.h"
#include "zef/rpc/StubFactory.h"

namespace {

using namespace std::chrono_literals;
using FrameTest::Signal;
using halden::zef::daemon::EchoMsg;
using zef::rpc::RpcFrameMsg;
using zef::rpc::Stub;

// How one call ended.
struct CallEnd {
    std::mutex mutex;
    std::vector<std::string> events;
    Signal done;

    void Add(std::string event) {
        {
            std::lock_guard<std::mutex> guard(mutex);
            events.push_back(std::move(event));
        }
        done.Raise();
    }
    std::vector<std::string> Events() {
        std::lock_guard<std::mutex> guard(mutex);
        return events;
    }
};

class RecordingObserver : public zef::rpc::CallObserver<EchoMsg> {
public:
    explicit RecordingObserver(std::shared_ptr<CallEnd> end) : _end(std::move(end)) {}
    void OnResponse(const EchoMsg& response) override {
        std::lock_guard<std::mutex> guard(_end->mutex);
        _end->events.push_back("response " + response.text());
    }
    void OnClose(Status status) override { _end->Add("close " + RpcFrameMsg::Status_Name(status)); }
    void OnFailure(Status, const std::string& why) override { _end->Add("failure " + why); }

private:
    std::shared_ptr<CallEnd> _end;
};

class StubTest : public ::testing::Test {
protected:
    struct Created {
        std::shared_ptr<Stub> stub;
        std::string error;
        Signal done;
    };

    void SetUp() override { ASSERT_TRUE(peer.Listen()); }

    std::shared_ptr<Created> Create(std::shared_ptr<zef::rpc::Connection> connection,
                                    const std::string& service, bool checkService,
                                    std::chrono::milliseconds timeout = 10s) {
        auto created = std::make_shared<Created>();
        zef::rpc::StubFactory::StubCreator(runtime, std::move(connection))
            .Service(service)
            .Timeout(timeout)
            .Id("test")
            .Context({checkService})
            .Create([created](std::shared_ptr<Stub> stub, const std::string& error) {
                created->stub = std::move(stub);
                created->error = error;
                created->done.Raise();
            });
        return created;
    }

    std::shared_ptr<CallEnd> Echo(Stub& stub, const std::string& text) {
        auto end = std::make_shared<CallEnd>();
        EchoMsg request;
        request.set_text(text);
        stub.Call<EchoMsg>("Echo", request, std::make_unique<RecordingObserver>(end));
        return end;
    }

    // Before the runtime: the stream-down callbacks may raise it until its thread ends.
    Signal down;
    std::atomic<int> reason{0};
    FrameTest::QuietConsole quiet;
    zef::rpc::RpcRuntime runtime;
    zef::test::EchoPeer peer{runtime};
};

TEST_F(StubTest, ACheckedStubCallsTheService) {
    auto created = Create(runtime.Dial(peer.Endpoint(), nullptr, "test"), peer.kService, true);
    ASSERT_TRUE(created->done.WaitFor(1));
    ASSERT_TRUE(created->stub) << created->error;
    auto end = Echo(*created->stub, "ping");
    ASSERT_TRUE(end->done.WaitFor(1));
    EXPECT_EQ(end->Events(), (std::vector<std::string>{"response ping", "close OK"}));
    EXPECT_EQ(peer.Echoes(), 1);
}

TEST_F(StubTest, NoStubWithoutConnectionOrWhereTheServiceIsNotServed) {
    auto unserved = Create(runtime.Dial(peer.Endpoint(), nullptr, "test"), "no.Such", true);
    ASSERT_TRUE(unserved->done.WaitFor(1));
    EXPECT_FALSE(unserved->stub);
    EXPECT_EQ(unserved->error, "peer does not serve no.Such");

    auto unconnected = Create(nullptr, peer.kService, true);
    ASSERT_TRUE(unconnected->done.WaitFor(1));
    EXPECT_FALSE(unconnected->stub);
    EXPECT_EQ(unconnected->error, "not connected");
}

TEST_F(StubTest, TheStreamGoesDownOnceWhenTheConnectionIsLost) {
    auto created = Create(runtime.Dial(peer.Endpoint(), nullptr, "test"), peer.kService, true);
    ASSERT_TRUE(created->done.WaitFor(1));
    ASSERT_TRUE(created->stub);
    created->stub->SetStreamDownCallback([this](int why) {
        reason = why;
        down.Raise();
    });
    peer.Stop();
    ASSERT_TRUE(down.WaitFor(1));
    EXPECT_EQ(reason.load(), zef::rpc::STREAM_CONNECTION_LOST);

    auto end = Echo(*created->stub, "late");
    ASSERT_TRUE(end->done.WaitFor(1));
    EXPECT_EQ(end->Events(), std::vector<std::string>{"failure connection closed"});
    EXPECT_EQ(down.Count(), 1);
}

// An unchecked stub learns of the missing service from its first call.
TEST_F(StubTest, ARefusedServiceEndsTheCallAndTheStream) {
    auto created = Create(runtime.Dial(peer.Endpoint(), nullptr, "test"), "no.Such", false);
    ASSERT_TRUE(created->done.WaitFor(1));
    ASSERT_TRUE(created->stub);
    created->stub->SetStreamDownCallback([this](int why) {
        reason = why;
        down.Raise();
    });
    auto end = Echo(*created->stub, "ping");
    ASSERT_TRUE(end->done.WaitFor(1));
    EXPECT_EQ(end->Events(), std::vector<std::string>{"close NO_SUCH_SERVICE"});
    ASSERT_TRUE(down.WaitFor(1));
    EXPECT_EQ(reason.load(), zef::rpc::STREAM_SERVICE_GONE);
}

TEST_F(StubTest, ACallWithoutAnswerFailsAtTheTimeout) {
    // Connections complete in the listen backlog; nobody ever reads them.
    boost::asio::io_context idle;
    boost::asio::ip::tcp::acceptor silent(idle, {boost::asio::ip::make_address("127.0.0.1"), 0});
    const std::string endpoint =
        "tcp://127.0.0.1:" + std::to_string(silent.local_endpoint().port());
    auto created = Create(runtime.Dial(endpoint, nullptr, "test"), peer.kService, false, 20ms);
    ASSERT_TRUE(created->done.WaitFor(1));
    ASSERT_TRUE(created->stub);
    auto end = Echo(*created->stub, "ping");
    ASSERT_TRUE(end->done.WaitFor(1));
    EXPECT_EQ(end->Events(), std::vector<std::string>{"failure no answer within 20 ms"});
}

}  // namespace
