#include "cache/StateCacheConfigTable.h"

#include <gtest/gtest.h>

#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "loftdb_switching.pb.h"
#include "zef/RefPtr.h"

namespace {

using namespace CfgAgent;

// Records every call it gets.
class RecordingObserver : public SCConfigTableObserver {
public:
    struct Call {
        LoftDBUpdateList list;
        bool isFullSync;
    };
    void ProcessConfigDesiredStateUpdate(const LoftDBUpdateList& list, bool isFullSync) override {
        desired.push_back({list, isFullSync});
    }
    void ProcessConfigRuntimeStateUpdate(const LoftDBUpdateList& list, bool isFullSync) override {
        runtime.push_back({list, isFullSync});
    }
    std::vector<Call> desired;
    std::vector<Call> runtime;
};

const std::string kSwitch = "switch-1";
const std::string kPort = "port-1";

LoftDBUpdateMsg Object(uint32_t type, const std::string& id, uint32_t op) {
    return LoftDBUpdateMsg(type, id, op, std::string(), std::string());
}

LoftDBUpdateMsg Property(uint32_t type, const std::string& id, uint32_t op, uint32_t property,
                         const std::string& value) {
    return LoftDBUpdateMsg(type, id, op, property, value);
}

std::string ExtraConfigs(std::initializer_list<std::pair<const char*, const char*>> pairs) {
    halden::zef::loftdb::LogSwitchConfigMsg value;
    for (const auto& [key, val] : pairs) {
        auto* pair = value.add_extra_configs();
        pair->set_key(key);
        pair->set_value(val);
    }
    return value.SerializeAsString();
}

class StateCacheConfigTableTest : public ::testing::Test {
protected:
    void SetUp() override {
        savedConsole = LogLevel::console.exchange(0);
        table = zef::MakeRef<StateCacheConfigTable>();
        ASSERT_TRUE(table->RegisterDesiredStateObserver(LOG_SWITCH_CONFIG, &switches));
        ASSERT_TRUE(table->RegisterDesiredStateObserver(LOG_SWITCH_PORT_CONFIG, &ports));
        ASSERT_TRUE(table->RegisterRuntimeStateObserver(VIF_STATE, &ports));
    }
    void TearDown() override { LogLevel::console = savedConsole; }

    // A switch with a VNI and a port, as one full sync.
    LoftDBUpdateList Store() {
        return {Object(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE),
                Property(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE, LS_VNI, "vni-5001"),
                Object(LOG_SWITCH_PORT_CONFIG, kPort, OP_UPDATE),
                Property(LOG_SWITCH_PORT_CONFIG, kPort, OP_UPDATE, LSP_ADMIN_STATE_UP, "up")};
    }

    int savedConsole = 0;
    zef::RefPtr<StateCacheConfigTable> table;
    RecordingObserver switches;
    RecordingObserver ports;
};

TEST_F(StateCacheConfigTableTest, FirstFullSyncTellsEveryObserverOnceEvenWhenEmpty) {
    table->UpdateDesiredState({}, true);
    ASSERT_EQ(switches.desired.size(), 1u);
    EXPECT_TRUE(switches.desired[0].isFullSync);
    EXPECT_TRUE(switches.desired[0].list.empty());
    ASSERT_EQ(ports.desired.size(), 1u);

    // A later identical full sync is no news at all.
    table->UpdateDesiredState({}, true);
    EXPECT_EQ(switches.desired.size(), 1u);
    EXPECT_EQ(ports.desired.size(), 1u);
}

TEST_F(StateCacheConfigTableTest, ObserversHearOnlyTheirTypesInOrder) {
    table->UpdateDesiredState(Store(), true);
    ASSERT_EQ(switches.desired.size(), 1u);
    ASSERT_EQ(switches.desired[0].list.size(), 2u);
    EXPECT_EQ(switches.desired[0].list.back().propertyType, LS_VNI);
    ASSERT_EQ(ports.desired[0].list.size(), 2u);
    EXPECT_EQ(ports.desired[0].list.front().objectType, LOG_SWITCH_PORT_CONFIG);

    table->UpdateDesiredState({Property(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE, LS_VNI, "vni-6000")},
                              false);
    ASSERT_EQ(switches.desired.size(), 2u);
    EXPECT_FALSE(switches.desired[1].isFullSync);
    ASSERT_EQ(switches.desired[1].list.size(), 1u);
    EXPECT_EQ(switches.desired[1].list.front().propertyValue, "vni-6000");
    EXPECT_EQ(ports.desired.size(), 1u) << "nothing of theirs changed";
}

// What vanished while the agent was away comes back as deletes, properties
// first, then objects, ahead of what is new; and with the flag false.
TEST_F(StateCacheConfigTableTest, LaterFullSyncRemovesWhatTheStoreNoLongerHas) {
    table->UpdateDesiredState(Store(), true);
    LoftDBUpdateList replay = {Object(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE),
                               Object(LOG_SWITCH_CONFIG, "switch-2", OP_UPDATE)};
    table->UpdateDesiredState(replay, true);

    ASSERT_EQ(switches.desired.size(), 2u);
    const auto& toSwitches = switches.desired[1];
    EXPECT_FALSE(toSwitches.isFullSync);
    ASSERT_EQ(toSwitches.list.size(), 2u);
    EXPECT_EQ(toSwitches.list.front().operation, OP_DELETE);
    EXPECT_EQ(toSwitches.list.front().propertyType, LS_VNI);
    EXPECT_EQ(toSwitches.list.front().propertyValue, "vni-5001");
    EXPECT_EQ(toSwitches.list.back().objectId, "switch-2");

    ASSERT_EQ(ports.desired.size(), 2u);
    const auto& toPorts = ports.desired[1].list;
    ASSERT_EQ(toPorts.size(), 2u);
    EXPECT_EQ(toPorts.front().propertyType, LSP_ADMIN_STATE_UP);
    EXPECT_EQ(toPorts.back().propertyType, 0u);
    EXPECT_EQ(toPorts.back().operation, OP_DELETE);
    EXPECT_TRUE(table->GetObjectById(kPort).empty());
}

TEST_F(StateCacheConfigTableTest, DeletingAnObjectDeletesItsPropertiesFirst) {
    table->UpdateDesiredState(Store(), true);
    table->UpdateDesiredState({Object(LOG_SWITCH_CONFIG, kSwitch, OP_DELETE)}, false);
    const auto& list = switches.desired.back().list;
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list.front().propertyType, LS_VNI);
    EXPECT_EQ(list.back().propertyType, 0u);
    // A property the table never had is no change.
    const size_t calls = switches.desired.size();
    table->UpdateDesiredState({Property(LOG_SWITCH_CONFIG, kSwitch, OP_DELETE, LS_VLAN, "")}, false);
    EXPECT_EQ(switches.desired.size(), calls);
}

TEST_F(StateCacheConfigTableTest, RepeatedCreateOutsideFullSyncChangesNothing) {
    table->UpdateDesiredState(Store(), true);
    table->UpdateDesiredState({Object(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE)}, false);
    EXPECT_EQ(switches.desired.size(), 1u);
}

TEST_F(StateCacheConfigTableTest, ExtraConfigsAreToldPairByPair) {
    table->UpdateDesiredState(
        {Object(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE),
         Property(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE, LS_EXTRA_CONFIGS,
                  ExtraConfigs({{"a", "1"}, {"b", "2"}, {"c", "3"}}))},
        true);
    table->UpdateDesiredState({Property(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE, LS_EXTRA_CONFIGS,
                                        ExtraConfigs({{"a", "1"}, {"b", "20"}, {"d", "4"}}))},
                              false);
    const auto& list = switches.desired.back().list;
    ASSERT_EQ(list.size(), 3u);
    halden::zef::loftdb::LogSwitchConfigMsg value;
    auto it = list.begin();
    EXPECT_EQ(it->operation, OP_DELETE);
    ASSERT_TRUE(value.ParseFromString(it->propertyValue));
    ASSERT_EQ(value.extra_configs_size(), 1);
    EXPECT_EQ(value.extra_configs(0).key(), "c");
    ++it;
    EXPECT_EQ(it->operation, OP_UPDATE);
    ASSERT_TRUE(value.ParseFromString(it->propertyValue));
    ASSERT_EQ(value.extra_configs_size(), 1);
    EXPECT_EQ(value.extra_configs(0).value(), "20");
    ++it;
    ASSERT_TRUE(value.ParseFromString(it->propertyValue));
    EXPECT_EQ(value.extra_configs(0).key(), "d");

    std::string stored;
    ASSERT_TRUE(table->GetPropertyValue(kSwitch, LS_EXTRA_CONFIGS, stored));
    ASSERT_TRUE(value.ParseFromString(stored));
    EXPECT_EQ(value.extra_configs_size(), 3) << "the table keeps the whole new value";
}

TEST_F(StateCacheConfigTableTest, UnknownOperationEndsTheCallUntold) {
    table->UpdateDesiredState(Store(), true);
    table->UpdateDesiredState({Property(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE, LS_VNI, "vni-7"),
                               Property(LOG_SWITCH_CONFIG, kSwitch, OP_ADD, LS_VLAN, "x")},
                              false);
    EXPECT_EQ(switches.desired.size(), 1u);
}

TEST_F(StateCacheConfigTableTest, RuntimeSideHasItsOwnGenerationsAndFlag) {
    const std::string vif = "vif-1";
    table->UpdateRuntimeState({Object(VIF_STATE, vif, OP_UPDATE),
                               Property(VIF_STATE, vif, OP_UPDATE, VIF_MAC, "mac-1")},
                              true);
    ASSERT_EQ(ports.runtime.size(), 1u);
    EXPECT_TRUE(ports.runtime[0].isFullSync);
    std::string mac;
    ASSERT_TRUE(table->GetRuntimeValue(vif, VIF_MAC, mac));
    EXPECT_EQ(mac, "mac-1");

    // An empty runtime full sync says nothing stands any more.
    table->UpdateRuntimeState({}, true);
    ASSERT_EQ(ports.runtime.size(), 2u);
    EXPECT_FALSE(ports.runtime[1].isFullSync);
    EXPECT_EQ(ports.runtime[1].list.size(), 2u);
    EXPECT_FALSE(table->GetRuntimeValue(vif, VIF_MAC, mac));
    EXPECT_EQ(table->RuntimeSize(), 0u);
}

TEST_F(StateCacheConfigTableTest, QueriesAndByteAccount) {
    table->UpdateDesiredState(Store(), true);
    std::vector<ConfigEntry> rows;
    ASSERT_TRUE(table->GetObjectsByType(LOG_SWITCH_CONFIG, LS_VNI, rows));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_FALSE(table->GetObjectsByType(LOG_SWITCH_CONFIG, LS_VLAN, rows));
    std::string value;
    EXPECT_TRUE(table->GetObjectProperty(LOG_SWITCH_PORT_CONFIG, LSP_ADMIN_STATE_UP, kPort, value));
    EXPECT_EQ(value, "up");
    uint32_t type = 0;
    ASSERT_TRUE(table->GetObjectType(kPort, type));
    EXPECT_EQ(type, LOG_SWITCH_PORT_CONFIG);
    // id + value + 12 per row.
    EXPECT_EQ(table->DesiredSize(),
              (kSwitch.size() + 12) + (kSwitch.size() + 8 + 12) + (kPort.size() + 12) +
                  (kPort.size() + 2 + 12));
}

TEST_F(StateCacheConfigTableTest, ObserverRegistrationRules) {
    EXPECT_FALSE(table->RegisterDesiredStateObserver(LOG_SWITCH_CONFIG, nullptr));
    EXPECT_FALSE(table->RegisterDesiredStateObserver(LOG_SWITCH_CONFIG, &switches));
    EXPECT_TRUE(table->UnregisterDesiredStateObserver(&switches));
    table->UpdateDesiredState(Store(), true);
    EXPECT_TRUE(switches.desired.empty());
    EXPECT_FALSE(table->UnregisterRuntimeStateObserver(nullptr));
}

}  // namespace
