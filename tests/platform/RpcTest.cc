#include <gtest/gtest.h>

#include <boost/asio/connect.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <thread>

#include "health.pb.h"
#include "zef/rpc/Endpoint.h"
#include "zef/rpc/RpcRuntime.h"
#include "zef/rpc/Server.h"
#include "zef/rpc/ServerBuilder.h"

using namespace std::chrono_literals;
using zef::rpc::RpcFrameMsg;

namespace {

using Request = halden::zef::health::HealthRequestMsg;
using Response = halden::zef::health::HealthResponseMsg;

// Answers "Who" with its own name in endpoint_id; "Fail" refuses.
class NameService : public zef::rpc::Service {
public:
    explicit NameService(const std::string& name) : Service("test.Name") {
        AddMethod<Request, Response>("Who", [name](const Request&, Response& out) {
            out.set_endpoint_id(name);
            return true;
        });
        AddMethod<Request, Response>("Fail", [](const Request&, Response&) { return false; });
    }
};

std::shared_ptr<zef::rpc::ServiceTable> Table(const std::string& name) {
    auto table = std::make_shared<zef::rpc::ServiceTable>();
    (*table)["test.Name"] = std::make_shared<NameService>(name);
    return table;
}

class RpcTest : public ::testing::Test {
protected:
    void SetUp() override {
        server = runtime.CreateServerBuilder()
                     .AddListeningEndpoint("tcp://127.0.0.1:0")
                     .AddLocalEndpointId("server")
                     .RegisterService(std::make_shared<NameService>("server"), {1})
                     .BuildStarted();
        ASSERT_TRUE(server);
        endpoint = "tcp://127.0.0.1:" + std::to_string(server->BoundPorts().at(0));
    }
    void TearDown() override {
        if (server) {
            server->Stop();
        }
    }

    RpcFrameMsg::Status Call(zef::rpc::Connection& connection, const std::string& service,
                             const std::string& method, std::string payload, Response* out) {
        std::string body;
        auto status = connection.CallSync(service, method, std::move(payload), body, 10s);
        if (out != nullptr) {
            EXPECT_TRUE(out->ParseFromString(body));
        }
        return status;
    }

    zef::rpc::RpcRuntime runtime;
    std::shared_ptr<zef::rpc::Server> server;
    std::string endpoint;
};

TEST(RpcEndpointTest, ParsesOnlyTcpHostAndPort) {
    auto ok = zef::rpc::Endpoint::Parse("tcp://127.0.0.1:4097");
    ASSERT_TRUE(ok);
    EXPECT_EQ(ok->host, "127.0.0.1");
    EXPECT_EQ(ok->port, 4097);
    EXPECT_EQ(ok->ToString(), "tcp://127.0.0.1:4097");
    for (const char* bad : {"udp://127.0.0.1:1", "tcp://127.0.0.1", "tcp://:80", "tcp://h:",
                            "tcp://h:70000", "tcp://h:12x", ""}) {
        EXPECT_FALSE(zef::rpc::Endpoint::Parse(bad)) << bad;
    }
}

TEST_F(RpcTest, CallsReachTheServiceAndStatusesTellWhatWentWrong) {
    auto connection = runtime.Dial(endpoint, nullptr, "client");
    ASSERT_TRUE(connection);
    Response response;
    ASSERT_EQ(Call(*connection, "test.Name", "Who", Request().SerializeAsString(), &response),
              RpcFrameMsg::OK);
    EXPECT_EQ(response.endpoint_id(), "server");
    EXPECT_EQ(connection->PeerEndpointId(), "server");

    EXPECT_EQ(Call(*connection, "no.Such", "Who", "", nullptr), RpcFrameMsg::NO_SUCH_SERVICE);
    EXPECT_EQ(Call(*connection, "test.Name", "Nope", "", nullptr), RpcFrameMsg::NO_SUCH_METHOD);
    EXPECT_EQ(Call(*connection, "test.Name", "Fail", "", nullptr), RpcFrameMsg::INTERNAL);
    EXPECT_EQ(Call(*connection, "test.Name", "Who", "\xff\xff\xff", nullptr),
              RpcFrameMsg::BAD_REQUEST);
}

TEST_F(RpcTest, TheDiallingSideServesTheListeningSide) {
    auto dialled = runtime.Dial(endpoint, Table("client"), "client");
    ASSERT_TRUE(dialled);
    Response response;
    ASSERT_EQ(Call(*dialled, "test.Name", "Who", "", &response), RpcFrameMsg::OK);
    EXPECT_EQ(response.endpoint_id(), "server");

    auto accepted = server->Connections();
    ASSERT_EQ(accepted.size(), 1u);
    EXPECT_EQ(accepted[0]->PeerEndpointId(), "client");
    ASSERT_EQ(Call(*accepted[0], "test.Name", "Who", "", &response), RpcFrameMsg::OK);
    EXPECT_EQ(response.endpoint_id(), "client");
}

TEST_F(RpcTest, ManyConcurrentCallersAllGetTheirOwnAnswer) {
    auto connection = runtime.Dial(endpoint, nullptr, "client");
    ASSERT_TRUE(connection);
    std::vector<std::thread> callers;
    std::atomic<int> good{0};
    for (int t = 0; t < 8; ++t) {
        callers.emplace_back([&] {
            for (int i = 0; i < 50; ++i) {
                std::string body;
                if (connection->CallSync("test.Name", "Who", "", body, 10s) == RpcFrameMsg::OK) {
                    ++good;
                }
            }
        });
    }
    for (auto& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(good.load(), 400);
}

TEST_F(RpcTest, PendingCallsFailWhenTheServerGoesAway) {
    auto connection = runtime.Dial(endpoint, nullptr, "client");
    ASSERT_TRUE(connection);
    ASSERT_EQ(Call(*connection, "test.Name", "Who", "", nullptr), RpcFrameMsg::OK);
    server->Stop();
    server.reset();
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (connection->IsOpen() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(10ms);
    }
    EXPECT_FALSE(connection->IsOpen());
    std::string body;
    EXPECT_EQ(connection->CallSync("test.Name", "Who", "", body, 10s), RpcFrameMsg::INTERNAL);
}

TEST_F(RpcTest, GarbageAndOversizedFramesCloseOnlyThatConnection) {
    boost::asio::io_context context;
    for (std::string bytes : {std::string("\x7f\xff\xff\xff", 4),
                              std::string("\x00\x00\x00\x03\xff\xff\xff", 7)}) {
        boost::asio::ip::tcp::socket raw(context);
        raw.connect({boost::asio::ip::make_address("127.0.0.1"), server->BoundPorts()[0]});
        boost::asio::write(raw, boost::asio::buffer(bytes));
        // The server drops the connection: a read ends with an error, not a hang.
        char sink[256];
        boost::system::error_code error;
        while (!error) {
            raw.read_some(boost::asio::buffer(sink), error);
        }
    }
    auto connection = runtime.Dial(endpoint, nullptr, "client");
    ASSERT_TRUE(connection);
    EXPECT_EQ(Call(*connection, "test.Name", "Who", "", nullptr), RpcFrameMsg::OK);
}

TEST_F(RpcTest, ListeningOnATakenPortFails) {
    zef::rpc::RpcRuntime other;
    auto second = other.CreateServerBuilder().AddListeningEndpoint(endpoint).BuildStarted();
    EXPECT_FALSE(second);
    EXPECT_FALSE(runtime.Dial("tcp://127.0.0.1:notaport", nullptr, "x"));
}

}  // namespace
