#include "l2/app/L2AlarmReporter.h"

#include <cjson/cJSON.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <mutex>

#include "cache/StateCacheConfigTable.h"
#include "frame/AgentLock.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "l2/codec/VxlanTepStateCodec.h"
#include "loftdb_common.pb.h"
#include "log/LogLevel.h"
#include "zef/RefPtr.h"
#include "zef/monitoring/EventSourceAPI.h"

namespace L2Test {
namespace {

using namespace CfgAgent;
using zef::monitoring::EventSourceAPI;

// The host's transport node is 6f0a1c2e-0000-4000-8000-abcdefabcdef.
constexpr uint64_t kHostLeft = 0x6f0a1c2e00004000ull;
constexpr uint64_t kHostRight = 0x8000abcdefabcdefull;

class L2AlarmReporterTest : public ::testing::Test {
protected:
    void SetUp() override {
        _console = LogLevel::console.exchange(0);
        _root = std::filesystem::temp_directory_path() / ("alarms-" + std::to_string(::getpid()));
        std::filesystem::remove_all(_root);
        ::setenv("ZEF_HOST_ROOT", _root.c_str(), 1);
        halden::zef::loftdb::UuidMsg host;
        host.set_left(kHostLeft);
        host.set_right(kHostRight);
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        _table->UpdateDesiredState(
            {LoftDBUpdateMsg(TRANSPORT_NODE_CONFIG, host.SerializeAsString(), OP_UPDATE, 0, {})}, true);
    }
    void TearDown() override {
        EventSourceAPI::FailCall("");
        _reporter.Stop();
        ::unsetenv("ZEF_HOST_ROOT");
        std::filesystem::remove_all(_root);
        LogLevel::console.store(_console);
    }

    static std::vector<uint8_t> Alarm(uint16_t type, uint32_t action, uint32_t state, bool ipv6,
                                      const std::string& tak = "tak12") {
        return VxlanTepStateCodec::Build({type, "hs-overlay", tak, action, state, ipv6});
    }
    void Report(const std::vector<uint8_t>& message) { _reporter.handleVxlanTEPAlarm(message); }

    // The samples the monitoring service was given, as their JSON lines.
    std::vector<std::string> Samples() const {
        std::vector<std::string> samples;
        std::ifstream in(EventSourceAPI::EventsFile());
        for (std::string line; std::getline(in, line);) {
            if (line.find(R"("call":"SetEventInstanceSample")") != std::string::npos) {
                samples.push_back(line);
            }
        }
        return samples;
    }

    int _console = 0;
    std::filesystem::path _root;
    zef::RefPtr<StateCacheConfigTable> _table = zef::MakeRef<StateCacheConfigTable>();
    L2AlarmReporter _reporter{*_table};
};

TEST_F(L2AlarmReporterTest, TheInstanceTakesTheTaknicsDigitsFamilyAndDpu) {
    const std::string host = "6f0a1c2e-0000-4000-8000-abcdefabcdef";
    std::string instance;
    ASSERT_TRUE(L2AlarmReporter::InstanceUuid(host, "tak12", false, "", instance));
    EXPECT_EQ(instance, "6f0a1c2e-0000-4000-8000-abcdefa00412");
    ASSERT_TRUE(L2AlarmReporter::InstanceUuid(host, "vtak3", true, "dpu-07", instance));
    EXPECT_EQ(instance, "6f0a1c2e-0000-4000-8000-abcdefab0763");
    EXPECT_FALSE(L2AlarmReporter::InstanceUuid(host, "vmk12", false, "", instance));
    EXPECT_FALSE(L2AlarmReporter::InstanceUuid(host, "tak", false, "", instance));
    EXPECT_FALSE(L2AlarmReporter::InstanceUuid(host, "tak1x", false, "", instance));
    EXPECT_FALSE(L2AlarmReporter::InstanceUuid(host, "tak1234567890", false, "", instance));
}

TEST_F(L2AlarmReporterTest, FaultsCarryTheirReasonInTheKeyOrderAndOnlyARaiseIsActive) {
    _reporter.Start();
    Report(Alarm(VXLAN_TEP_FAULT, 1, 2, false));
    EXPECT_TRUE(Samples().empty()) << "kept until the agent is in step with the kernel";
    _reporter.reportPendingAlarms();
    Report(Alarm(VXLAN_TEP_FAULT, 1, 3, true));
    Report(Alarm(VXLAN_TEP_FAULT, 2, 3, false));
    Report(Alarm(VXLAN_TEP_HA_ACTIVE, 1, 1, false));
    const std::vector<std::string> samples = Samples();
    ASSERT_EQ(samples.size(), 4u);
    const std::string host = "6f0a1c2e-0000-4000-8000-abcdefabcdef";
    EXPECT_NE(samples[0].find(R"("event":1,"instance":"6f0a1c2e-0000-4000-8000-abcdefa00412","active":true,)"
                              R"("sample":{"transport_node_id":")" +
                              host +
                              R"(","vtep_name":"tak12","vtep_state":"2","dvs_name":"hs-overlay",)"
                              R"("dpu_id":"","vtep_fault_reason":"TEP does not have an v4 address"})"),
              std::string::npos)
        << samples[0];
    EXPECT_NE(samples[1].find(R"("vtep_fault_reason":"all IPv6 BFD tunnels from TEP are down")"),
              std::string::npos)
        << samples[1];
    EXPECT_NE(samples[2].find(R"("active":false)"), std::string::npos) << samples[2];
    EXPECT_NE(samples[2].find(R"("vtep_fault_reason":"")"), std::string::npos) << samples[2];
    EXPECT_NE(samples[3].find(R"("event":9,)"), std::string::npos) << samples[3];
    EXPECT_NE(samples[3].find(R"("vtep_state":"1","dpu_id":"","dvs_name":"hs-overlay"})"), std::string::npos)
        << samples[3];
}

TEST_F(L2AlarmReporterTest, ShortValuesBadNamesAndAMissingSourceRaiseNothing) {
    _reporter.Start();
    _reporter.reportPendingAlarms();
    std::vector<uint8_t> shortened = Alarm(VXLAN_TEP_FAULT, 1, 2, false);
    shortened.resize(shortened.size() - 1);
    shortened[3] = static_cast<uint8_t>(shortened.size());
    Report(shortened);
    Report(Alarm(VXLAN_TEP_FAULT, 1, 2, false, "vmk1"));
    Report(Alarm(VXLAN_TEP_HA_AUTO_RECOVERY, 7, 2, false));
    EXPECT_TRUE(Samples().empty());

    // Without a source nothing is sent, and nothing is kept for later.
    _reporter.Stop();
    EventSourceAPI::FailCall("CreateEx");
    L2AlarmReporter failed(*_table);
    failed.Start();
    failed.handleVxlanTEPAlarm(Alarm(VXLAN_TEP_FAULT, 1, 2, false));
    EventSourceAPI::FailCall("");
    failed.reportPendingAlarms();
    EXPECT_TRUE(Samples().empty());
}

}  // namespace
}  // namespace L2Test
