#include "cache/CacheCommands.h"

#include <gtest/gtest.h>

#include "cli/api/CommandRegistry.h"
#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_common.pb.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_routing.pb.h"

namespace {

using namespace CfgAgent;

class CacheCommandsTest : public ::testing::Test {
protected:
    void SetUp() override {
        savedConsole = LogLevel::console.exchange(0);
        savedLevel = LogLevel::agent.exchange(LL_WARN);  // a line per added row would dominate
    }
    void TearDown() override {
        LogLevel::console = savedConsole;
        LogLevel::agent = savedLevel;
    }

    void Fill(size_t objects) {
        LoftDBUpdateList list;
        for (size_t i = 0; i < objects; ++i) {
            list.emplace_back(LOG_SWITCH_CONFIG, "id-" + std::to_string(i), OP_UPDATE, std::string(),
                              std::string());
        }
        cache->ConfigTable()->UpdateDesiredState(list, true);
    }

    // One logical switch with `macs` MAC rows beside its own row. The local
    // side gets MACs of its own: the table takes back remote ones it reports.
    LoftDBUpdateList Switch(uint32_t type, size_t macs) const {
        const uint64_t first = type == LOG_SWITCH_STATE ? 0x0050570000000000ull : 0x0050560000000000ull;
        LoftDBUpdateList list;
        list.emplace_back(type, kSwitch, OP_UPDATE, std::string(), std::string());
        for (size_t i = 0; i < macs; ++i) {
            halden::zef::loftdb::LogSwitchMacEntryMsg mac;
            mac.set_mac(first + i);
            list.emplace_back(type, kSwitch, OP_UPDATE, L2_VM_MAC, mac.SerializeAsString());
        }
        return list;
    }

    static std::string SwitchId() {
        halden::zef::loftdb::UuidMsg id;
        id.set_left(0x0102030405060708ull);
        id.set_right(0x090a0b0c0d0e0f10ull);
        return id.SerializeAsString();
    }

    static size_t Rows(const std::string& json) {
        size_t rows = 0;
        for (size_t at = json.find("\"ObjectID\""); at != std::string::npos;
             at = json.find("\"ObjectID\"", at + 1)) {
            ++rows;
        }
        return rows;
    }

    const std::string kSwitch = SwitchId();
    int savedConsole = 0;
    int savedLevel = 0;
    zef::RefPtr<StateCache> cache = zef::MakeRef<StateCache>();
};

TEST_F(CacheCommandsTest, DesiredDumpStopsAtItsCap) {
    CacheCommands commands(cache);
    Fill(CacheCommands::kMaxDumpRows);
    EXPECT_EQ(Rows(commands.ConfigRemote()), CacheCommands::kMaxDumpRows);
    Fill(CacheCommands::kMaxDumpRows + 1);
    EXPECT_EQ(Rows(commands.ConfigRemote()), CacheCommands::kMaxDumpRows);
    EXPECT_EQ(Rows(commands.ConfigOfType(LOG_SWITCH_CONFIG)), CacheCommands::kMaxDumpRows + 1)
        << "the by-type dumps have no cap";
    EXPECT_EQ(Rows(commands.ConfigOfType(CONTAINER)), 0u);
}

TEST_F(CacheCommandsTest, L2DumpsStopAtTheirCap) {
    CacheCommands commands(cache);
    auto& table = *cache->L2Table();
    table.UpdateDesiredState(Switch(LOG_SWITCH_FIB, CacheCommands::kMaxDumpRows - 1), true);
    table.UpdateRuntimeState(Switch(LOG_SWITCH_STATE, CacheCommands::kMaxDumpRows), true);
    EXPECT_EQ(Rows(commands.L2Remote()), CacheCommands::kMaxDumpRows);
    EXPECT_EQ(Rows(commands.L2Local()), CacheCommands::kMaxDumpRows);
    EXPECT_EQ(table.RuntimeCount(), CacheCommands::kMaxDumpRows + 1);
}

// The fields an operator looks for, printed the way the tools print them.
TEST_F(CacheCommandsTest, L2RowsShowTheEntrysFields) {
    namespace lb = halden::zef::loftdb;
    lb::LogSwitchVtepEntryMsg vtep;
    vtep.mutable_vtep_label()->set_label(4101);
    vtep.set_vtep_ip(0xc0a80a01);
    vtep.set_vtep_mac(0x005056aabbccull);
    vtep.set_dev_name("vmk10");
    lb::LogSwitchIpEntryMsg ip;
    ip.mutable_ip()->set_ipv6(std::string("\x20\x01\x0d\xb8", 4) + std::string(11, '\0') + "\x01");
    lb::VtepGroupMsg group;
    group.set_id("7");
    group.set_label(7);
    *group.add_vteps() = vtep;
    auto& table = *cache->L2Table();
    table.UpdateDesiredState(
        {LoftDBUpdateMsg(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, std::string(), std::string()),
         LoftDBUpdateMsg(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, vtep.SerializeAsString()),
         LoftDBUpdateMsg(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VM_IP, ip.SerializeAsString()),
         LoftDBUpdateMsg(L2_VTEP_GROUP_OBJECT, "7", OP_UPDATE, L2_VTEP_GROUP, group.SerializeAsString())},
        true);
    const std::string dump = CacheCommands(cache).L2Remote();
    for (const char* expected :
         {"\"ObjectID\":\"01020304-0506-0708-090a-0b0c0d0e0f10\"", "\"ObjectType\":\"LOG_SWITCH_FIB\"",
          "\"vtep_ip\":\"192.168.10.1\"", "\"vtep_mac\":\"00:50:56:aa:bb:cc\"", "\"dev_name\":\"vmk10\"",
          "\"label\":4101", "\"ipv6\":\"2001:0db8:0000:0000:0000:0000:0000:0001\"", "\"ObjectID\":\"7\"",
          "\"ha_mode\":\"None\"", "\"vtep\":[{", "\"vtep_label\":4101"}) {
        EXPECT_NE(dump.find(expected), std::string::npos) << expected << " in " << dump;
    }
}

TEST_F(CacheCommandsTest, TableAndSizesHoldTheL2Sides) {
    CacheCommands commands(cache);
    cache->L2Table()->UpdateDesiredState(Switch(LOG_SWITCH_FIB, 2), true);
    cache->L2Table()->UpdateRuntimeState(Switch(LOG_SWITCH_STATE, 1), true);
    const std::string table = commands.CacheTable();
    const size_t local = table.find("\"local_l2_cache\"");
    const size_t remote = table.find("\"remote_l2_cache\"");
    ASSERT_NE(local, std::string::npos);
    ASSERT_NE(remote, std::string::npos);
    EXPECT_EQ(Rows(table.substr(local, remote > local ? remote - local : std::string::npos)), 2u);

    const size_t macBytes = Switch(LOG_SWITCH_FIB, 1).back().propertyValue.size();
    const std::string sizes = commands.CacheSize();
    const std::string runtime = "{\"TableName\":\"RuntimeL2Cache\",\"Size\":" +
                                std::to_string(2 * (kSwitch.size() + 28) + macBytes) + "}";
    const std::string desired = "{\"TableName\":\"DesiredL2Cache\",\"Size\":" +
                                std::to_string(3 * (kSwitch.size() + 28) + 2 * macBytes) + "}";
    EXPECT_NE(sizes.find(runtime), std::string::npos) << sizes;
    EXPECT_NE(sizes.find(desired), std::string::npos) << sizes;
    EXPECT_LT(sizes.find("RuntimeL2Cache"), sizes.find("DesiredL2Cache"));
}

// The routing dump shows each row's message, has no cap, and stands in the
// all-tables answer and the sizes like the others.
TEST_F(CacheCommandsTest, L3RowsAreShownWholeBesideTheOtherTables) {
    namespace lb = halden::zef::loftdb;
    lb::LogRouterConfigMsg router;
    router.mutable_id()->ParseFromString(kSwitch);
    router.set_rtx_id(12);
    LoftDBUpdateList load = {LoftDBUpdateMsg(LOG_ROUTER_CONFIG, kSwitch, OP_UPDATE,
                                             INVALID_PROPERTY, router.SerializeAsString())};
    size_t bytes = kSwitch.size() + load.back().propertyValue.size() + 12;
    halden::zef::loftdb::UuidMsg fibId;
    fibId.set_left(3);
    const std::string fib = fibId.SerializeAsString();
    for (uint32_t i = 0; i < CacheCommands::kMaxDumpRows; ++i) {
        lb::FibNextHopMsg hop;
        hop.mutable_ip()->set_ipv4(0x0a000000 + i);
        load.emplace_back(FIB, fib, OP_ADD, L3_FIB_NEXT_HOP, hop.SerializeAsString());
        bytes += fib.size() + load.back().propertyValue.size() + 12;
    }
    cache->L3Table()->UpdateDesiredState(load, true);

    CommandRegistry registry;
    CacheCommands(cache).Register(registry);
    const CommandRegistry::Handler* remote = registry.Find("cfgagent/l3/remote");
    ASSERT_NE(remote, nullptr);
    const std::string dump = (*remote)({}).text;
    EXPECT_EQ(Rows(dump), CacheCommands::kMaxDumpRows + 1);
    const std::string fibText = UuidBytesToString(fib);
    for (const std::string& expected : std::vector<std::string>{
             R"("ObjectID":"01020304-0506-0708-090a-0b0c0d0e0f10")",
             R"("ObjectType":"LOG_ROUTER_CONFIG")", R"("PropertyType":"INVALID_PROPERTY")",
             "rtx_id: 12\"", R"("FullSyncVersion":1)", R"("ObjectType":"FIB")",
             "\"ObjectID\":\"" + fibText + "\"", R"("PropertyType":"L3_FIB_NEXT_HOP")",
             R"("PropertyValue":"ip { ipv4: 167772160 }")"}) {
        EXPECT_NE(dump.find(expected), std::string::npos)
            << expected << " in " << dump.substr(0, 600);
    }

    const std::string table = CacheCommands(cache).CacheTable();
    const size_t l3 = table.find("\"remote_l3_cache\"");
    ASSERT_NE(l3, std::string::npos);
    EXPECT_EQ(Rows(table.substr(l3)), CacheCommands::kMaxDumpRows + 1);

    const std::string sizes = CacheCommands(cache).CacheSize();
    EXPECT_NE(
        sizes.find("{\"TableName\":\"DesiredL3Cache\",\"Size\":" + std::to_string(bytes) + "}"),
        std::string::npos)
        << sizes;
    EXPECT_LT(sizes.find("DesiredL2Cache"), sizes.find("DesiredL3Cache"));
}

}  // namespace
