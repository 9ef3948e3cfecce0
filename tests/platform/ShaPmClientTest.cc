#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "frame/ShaStatus.h"
#include "sha.pb.h"
#include "zef/sha/ShaPmClient.h"

using namespace std::chrono_literals;

namespace {

bool WaitFor(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

TEST(ShaPmClientTest, CollectsAtOnceAndBeatsUntilStopped) {
    zef::sha::ShaPmClient client("zef-cfgagent");
    client.Start();
    int context = 0;
    std::atomic<int> calls{0};
    std::atomic<void*> seen{nullptr};
    client.RegisterCombinedMessageMetricCollection(
        CfgAgent::ShaStatus::kCollectionName,
        [&](void* ctx) {
            seen = ctx;
            ++calls;
            return CfgAgent::ShaStatus::CombinedMessage(true);
        },
        &context, 20);
    client.StartMetricCollection();
    client.StartProcessHeartbeat(5, 30);
    // The message is kept after the callback returns: wait for what is asserted.
    ASSERT_TRUE(WaitFor([&] {
        return client.LastCombinedMessage(CfgAgent::ShaStatus::kCollectionName)
                       .find("cfgagent-loftdb-connection") != std::string::npos &&
               client.HeartbeatCount() >= 1;
    }));
    EXPECT_EQ(calls.load(), 1) << "collected at once, then every 20 seconds";
    EXPECT_EQ(seen.load(), &context);
    client.StopProcessHeartbeat();
    client.StopMetricCollection();
    client.UnregisterMetricCollectionAll();
    EXPECT_EQ(client.LastCombinedMessage(CfgAgent::ShaStatus::kCollectionName), "");
    client.Stop();
}

TEST(ShaStatusTest, CombinedMessageCarriesTheStoreConnection) {
    for (bool connected : {true, false}) {
        auto message = CfgAgent::ShaStatus::CombinedMessage(connected);
        ASSERT_EQ(message->status_data().sub_status_size(), 1);
        EXPECT_EQ(message->status_data().status(), 2u);
        EXPECT_EQ(message->status_data().severity(), 1u);
        EXPECT_EQ(message->status_data().sub_status(0).name(), "cfgagent-loftdb-connection");
        EXPECT_EQ(message->status_data().sub_status(0).status(), connected ? 1u : 2u);
        ASSERT_EQ(message->agent_ids_size(), 1);
        EXPECT_EQ(message->agent_ids(0), 1u);
        EXPECT_EQ(message->schema_version(), 3u);
    }
}

}  // namespace
