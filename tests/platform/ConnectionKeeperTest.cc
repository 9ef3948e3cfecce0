#include <gtest/gtest.h>

#include "EchoPeer.h"
#include "frame/TestSupport.h"
#include "zef/rpc/Connection.h"
#include "zef/rpc/ConnectionKeeper.h"
#include "zef/rpc/ConnectionKeeperBuilder.h"

namespace {

using namespace std::chrono_literals;
using FrameTest::Signal;
using zef::rpc::Connection;
using zef::rpc::ConnectionKeeper;

class ConnectionKeeperTest : public ::testing::Test {
protected:
    std::shared_ptr<ConnectionKeeper> Keeper(const std::string& endpoint, zef::RetryPolicy retry,
                                             bool reconnect) {
        return zef::rpc::ConnectionKeeperBuilder(runtime)
            .SetEndpoint(endpoint)
            .SetRetryPolicy(retry)
            .SetReconnectPolicy({reconnect})
            .SetConnectCallback([this](const std::shared_ptr<Connection>& connection) {
                EXPECT_TRUE(connection);
                connects.Raise();
            })
            .SetCloseCallback([this](const std::string&) { closes.Raise(); })
            .SetFailureCallback([this](const std::string&) { failures.Raise(); })
            .Build();
    }

    // Before the runtime: callbacks may raise them until its thread ends.
    Signal connects;
    Signal closes;
    Signal failures;
    FrameTest::QuietConsole quiet;
    zef::rpc::RpcRuntime runtime;
    zef::test::EchoPeer peer{runtime};
};

TEST_F(ConnectionKeeperTest, ReconnectsAfterThePeerComesBack) {
    ASSERT_TRUE(peer.Listen());
    auto keeper = Keeper(peer.Endpoint(), zef::RetryPolicy(10ms, 50ms, 2.0, -1), true);
    keeper->Connect();
    ASSERT_TRUE(connects.WaitFor(1));
    auto first = keeper->Current();
    ASSERT_TRUE(first);

    peer.Stop();
    ASSERT_TRUE(closes.WaitFor(1));
    ASSERT_TRUE(failures.WaitFor(2)) << "it keeps trying while the peer is away";
    EXPECT_FALSE(keeper->Current());

    ASSERT_TRUE(peer.Listen());
    ASSERT_TRUE(connects.WaitFor(2));
    auto second = keeper->Current();
    ASSERT_TRUE(second);
    EXPECT_NE(first, second);
    EXPECT_TRUE(second->IsOpen());
    keeper->Close();
}

TEST_F(ConnectionKeeperTest, FirstConnectRetriesUntilThePeerListens) {
    ASSERT_TRUE(peer.Listen());
    const std::string endpoint = peer.Endpoint();
    peer.Stop();
    auto keeper = Keeper(endpoint, zef::RetryPolicy(10ms, 20ms, 2.0, -1), false);
    keeper->Connect();
    ASSERT_TRUE(failures.WaitFor(3));
    ASSERT_TRUE(peer.Listen());
    ASSERT_TRUE(connects.WaitFor(1));
    EXPECT_EQ(closes.Count(), 0);
}

// Without a reconnect policy, and after Close, the keeper stays quiet.
TEST_F(ConnectionKeeperTest, ALossIsFinalWithoutReconnectPolicyOrAfterClose) {
    ASSERT_TRUE(peer.Listen());
    auto keeper = Keeper(peer.Endpoint(), zef::RetryPolicy(10ms), false);
    keeper->Connect();
    ASSERT_TRUE(connects.WaitFor(1));
    peer.Stop();
    ASSERT_TRUE(closes.WaitFor(1));
    ASSERT_TRUE(peer.Listen());
    EXPECT_FALSE(connects.WaitFor(2, FrameTest::kStillBlocked));

    auto closing = Keeper(peer.Endpoint(), zef::RetryPolicy(10ms), true);
    closing->Connect();
    ASSERT_TRUE(connects.WaitFor(2));
    auto connection = closing->Current();
    closing->Close();
    EXPECT_FALSE(closing->Current());
    ASSERT_TRUE(FrameTest::WaitUntil([&] { return !connection->IsOpen(); }));
    EXPECT_FALSE(connects.WaitFor(3, FrameTest::kStillBlocked));
    EXPECT_EQ(closes.Count(), 1) << "a close asked for is not reported";
}

}  // namespace
