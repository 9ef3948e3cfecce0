#include <gtest/gtest.h>
#include <signal.h>

#include <boost/property_tree/ptree.hpp>
#include <future>
#include <thread>

#include "zef/AsioZefProvider.h"

using namespace std::chrono_literals;

namespace {

// Run must come back for both ways a daemon is told to stop.
TEST(AsioZefProviderTest, RunReturnsOnStopAndOnTerminationSignals) {
    for (int signal : {0, SIGTERM, SIGINT}) {
        zef::AsioZefProvider provider({}, boost::property_tree::ptree(), "");
        auto ran = std::async(std::launch::async, [&] { provider.Run(2); });
        if (signal == 0) {
            provider.Stop();
        } else {
            ASSERT_EQ(raise(signal), 0);
        }
        ASSERT_EQ(ran.wait_for(10s), std::future_status::ready) << "signal " << signal;
    }
}

TEST(AsioZefProviderTest, SignalBeforeRunStillEndsIt) {
    zef::AsioZefProvider provider({}, boost::property_tree::ptree(), "");
    ASSERT_EQ(raise(SIGTERM), 0);
    auto ran = std::async(std::launch::async, [&] { provider.Run(1); });
    ASSERT_EQ(ran.wait_for(10s), std::future_status::ready);
}

}  // namespace
