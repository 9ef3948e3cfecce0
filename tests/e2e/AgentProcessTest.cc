#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <memory>

#include "ChildProcess.h"
#include "health.pb.h"
#include "zef/DaemonHealthService.h"
#include "zef/rpc/RpcRuntime.h"

using namespace std::chrono_literals;
using zef::test::ChildProcess;
using zef::test::TempDir;

namespace {

const char* const kAgent = ZEF_CFGAGENT_BIN;

std::string ConfigWithApps(const std::string& apps) {
    return "<config><log><level>5</level></log><cfgAgent><workGroup><ioThreads>1</ioThreads>"
           "<workThreads>4</workThreads></workGroup>" +
           apps + "</cfgAgent></config>";
}

const std::string kMinimalApps =
    "<apps><app><name>config</name><enabled>false</enabled><config/></app></apps>";

class AgentProcessTest : public ::testing::Test {
protected:
    // Starts the agent under a private host root and health endpoint.
    std::unique_ptr<ChildProcess> Start(const std::vector<std::string>& args) {
        healthEndpoint = "tcp://127.0.0.1:" + std::to_string(zef::test::FreePort());
        return std::make_unique<ChildProcess>(
            kAgent, args,
            std::map<std::string, std::string>{{"ZEF_HOST_ROOT", root.Path() + "/root"},
                                               {"ZEF_HEALTH_ENDPOINT", healthEndpoint}},
            root.Path());
    }

    std::unique_ptr<ChildProcess> StartWithConfig(const std::string& xml) {
        return Start({"-c", root.Write("agent.xml", xml)});
    }

    TempDir root;
    std::string healthEndpoint;
};

TEST_F(AgentProcessTest, UnknownOptionPrintsUsageAndFails) {
    for (const char* option : {"-x", "-s"}) {
        auto agent = Start({option});
        ASSERT_EQ(agent->Wait(10s), 255) << option;
        EXPECT_EQ(agent->Stderr(), std::string("Usage: ") + kAgent + " [-c configFile]\n") << option;
    }
}

TEST_F(AgentProcessTest, UnreadableOrInvalidConfigurationPrintsBanner) {
    const std::string missing = root.Path() + "/none.xml";
    const std::string broken = root.Write("broken.xml", "<config><log>");
    for (const std::string& path : {missing, broken}) {
        auto agent = Start({"-c", path});
        ASSERT_EQ(agent->Wait(10s), 255) << path;
        const std::string banner =
            "-----------------------------------\n* Error *: CfgAgent start failed.\n"
            "  Configuration file " +
            path + " is invalid!\n-----------------------------------\n";
        EXPECT_NE(agent->Stdout().find(banner), std::string::npos) << agent->Stdout();
        EXPECT_NE(agent->Stdout().find("Failed loading config file: " + path),
                  std::string::npos);
    }
}

TEST_F(AgentProcessTest, DefaultConfigurationPathLiesUnderHostRoot) {
    auto agent = Start({});
    ASSERT_EQ(agent->Wait(10s), 255);
    EXPECT_NE(agent->Stdout().find(root.Path() + "/root/etc/halden/zef/zef-cfgagent.xml"),
              std::string::npos)
        << agent->Stdout();
}

TEST_F(AgentProcessTest, MalformedApplicationListEndsTheStart) {
    const std::string noApps = ConfigWithApps("");
    const std::string disabledWithoutConfig =
        ConfigWithApps("<apps><app><name>vxlan</name><enabled>false</enabled></app></apps>");
    const std::string portSessionWithoutLink =
        ConfigWithApps("<apps><app><name>config</name><enabled>true</enabled><config/></app></apps>");
    for (const std::string& xml : {noApps, disabledWithoutConfig, portSessionWithoutLink}) {
        auto agent = StartWithConfig(xml);
        ASSERT_EQ(agent->Wait(20s), 255) << agent->Stdout();
        EXPECT_NE(agent->Stdout().find("Failed to run zef-cfgagent"), std::string::npos);
        EXPECT_EQ(agent->Stdout().find("Clean up platform"), std::string::npos);
    }
}

TEST_F(AgentProcessTest, UnknownNodeTypeEndsTheStart) {
    root.Write("root/etc/halden/zef/node-type", "7\n");
    auto agent = StartWithConfig(ConfigWithApps(kMinimalApps));
    ASSERT_EQ(agent->Wait(10s), 255);
    EXPECT_NE(agent->Stdout().find("level=\"error\"] Node type is unknow"), std::string::npos)
        << agent->Stdout();
    EXPECT_EQ(agent->Stdout().find("Start cfgAgent"), std::string::npos);
}

TEST_F(AgentProcessTest, AStopRequestDuringTheStartEndsItInTheStopOrder) {
    auto agent = StartWithConfig(ConfigWithApps(kMinimalApps));
    ASSERT_TRUE(agent->WaitForOutput("Start cfgAgent", 20s)) << agent->Stdout();
    agent->Signal(SIGTERM);
    ASSERT_EQ(agent->Wait(20s), 0) << agent->Stdout();
    EXPECT_NE(agent->Stdout().find("Clean up platform"), std::string::npos) << agent->Stdout();
}

TEST_F(AgentProcessTest, StartsServesHealthAndStopsCleanlyOnSigterm) {
    auto agent = StartWithConfig(ConfigWithApps(
        "<apps><app><name>unheard-of</name><enabled>true</enabled><config/></app>"
        "<app><name>config</name><enabled>false</enabled><config/></app></apps>"));
    ASSERT_TRUE(agent->WaitForOutput("Start cfgAgent", 20s)) << agent->Stdout();
    EXPECT_NE(agent->Stdout().find("level=\"info\"] Node type is other"), std::string::npos);
    EXPECT_NE(agent->Stdout().find("Instrument configCache 0 l2Cache 0 l3Cache 0 loftdbClient 0"),
              std::string::npos);
    // The file's level 5 holds from the log settings on, not before.
    EXPECT_EQ(agent->Stdout().find("Try loading config file: "), std::string::npos);
    EXPECT_NE(agent->Stdout().find("core dump"), std::string::npos);

    zef::rpc::RpcRuntime runtime;
    std::shared_ptr<zef::rpc::Connection> connection;
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (!connection && std::chrono::steady_clock::now() < deadline) {
        connection = runtime.Dial(healthEndpoint, nullptr, "test");
        if (!connection) {
            std::this_thread::sleep_for(50ms);
        }
    }
    ASSERT_TRUE(connection) << "health endpoint never answered";
    std::string response;
    ASSERT_EQ(connection->CallSync(zef::DaemonHealthService::kServiceName,
                                   zef::DaemonHealthService::kGetHealth,
                                   halden::zef::health::HealthRequestMsg().SerializeAsString(),
                                   response, 10s),
              zef::rpc::RpcFrameMsg::OK);
    halden::zef::health::HealthResponseMsg health;
    ASSERT_TRUE(health.ParseFromString(response));
    EXPECT_EQ(health.status(), halden::zef::health::HealthResponseMsg::HEALTHY);
    EXPECT_EQ(health.version().major(), 2u);
    EXPECT_EQ(health.version().minor(), 3u);
    EXPECT_EQ(connection->PeerEndpointId(), "zef-cfgagent");

    agent->Signal(SIGTERM);
    ASSERT_EQ(agent->Wait(10s), 0) << agent->Stdout();
    EXPECT_NE(agent->Stdout().find("Clean up platform"), std::string::npos);
}

}  // namespace
