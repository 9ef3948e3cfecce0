#include "cache/StateCacheL2Table.h"

#include <gtest/gtest.h>

#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "log/LogLevel.h"
#include "loftdb_common.pb.h"
#include "loftdb_overlay.pb.h"
#include "zef/RefPtr.h"

namespace {

using namespace CfgAgent;
namespace lb = halden::zef::loftdb;

class RecordingObserver : public SCL2TableObserver {
public:
    struct Call {
        LoftDBUpdateList list;
        bool isFullSync;
    };
    void ProcessL2DesiredStateUpdate(const LoftDBUpdateList& list, bool isFullSync) override {
        desired.push_back({list, isFullSync});
    }
    void ProcessL2RuntimeStateUpdate(const LoftDBUpdateList& list, bool isFullSync) override {
        runtime.push_back({list, isFullSync});
    }
    std::vector<Call> desired;
    std::vector<Call> runtime;
};

std::string Id(uint64_t left, uint64_t right) {
    lb::UuidMsg uuid;
    uuid.set_left(left);
    uuid.set_right(right);
    return uuid.SerializeAsString();
}

const std::string kSwitch = Id(1, 1);
const std::string kOther = Id(2, 2);

LoftDBUpdateMsg Object(uint32_t type, const std::string& id, uint32_t op) {
    return LoftDBUpdateMsg(type, id, op, std::string(), std::string());
}

LoftDBUpdateMsg Entry(uint32_t type, const std::string& id, uint32_t op, uint32_t property,
                      const std::string& value) {
    return LoftDBUpdateMsg(type, id, op, property, value);
}

// The store's and the host's message of one endpoint differ beside the label.
std::string Vtep(uint32_t label, uint32_t ip, const std::string& device = {}) {
    lb::LogSwitchVtepEntryMsg vtep;
    vtep.mutable_vtep_label()->set_label(label);
    vtep.set_vtep_ip(ip);
    if (!device.empty()) {
        vtep.set_dev_name(device);
    }
    return vtep.SerializeAsString();
}

std::string Vtep6(uint32_t label) {
    lb::LogSwitchVtepEntryMsg vtep;
    vtep.mutable_vtep_label()->set_label(label);
    vtep.set_vtep_ipv6(std::string(16, '\x01'));
    return vtep.SerializeAsString();
}

std::string Mac(uint64_t mac, uint32_t vtepLabel) {
    lb::LogSwitchMacEntryMsg entry;
    entry.set_mac(mac);
    entry.mutable_vtep()->mutable_vtep_label()->set_label(vtepLabel);
    return entry.SerializeAsString();
}

std::string Ip4(uint32_t address, uint64_t mac) {
    lb::LogSwitchIpEntryMsg entry;
    entry.mutable_ip()->set_ipv4(address);
    entry.set_mac(mac);
    return entry.SerializeAsString();
}

std::string Ip6(const std::string& address, uint64_t mac) {
    lb::LogSwitchIpEntryMsg entry;
    entry.mutable_ip()->set_ipv6(address);
    entry.set_mac(mac);
    return entry.SerializeAsString();
}

std::string Group(const std::string& id, uint32_t type) {
    lb::VtepGroupMsg group;
    group.set_id(id);
    group.set_label(static_cast<uint32_t>(std::stoul(id)));
    group.set_type(type);
    return group.SerializeAsString();
}

class StateCacheL2TableTest : public ::testing::Test {
protected:
    void SetUp() override {
        savedConsole = LogLevel::console.exchange(0);
        ASSERT_TRUE(table->RegisterDesiredStateObserver(&observer));
        ASSERT_TRUE(table->RegisterRuntimeStateObserver(&observer));
    }
    void TearDown() override { LogLevel::console = savedConsole; }

    std::vector<std::string> DesiredValues(const std::string& id, uint32_t property) {
        std::vector<std::string> values;
        table->GetDesiredPropertyValues(id, property, values);
        return values;
    }

    int savedConsole = 0;
    zef::RefPtr<StateCacheL2Table> table = zef::MakeRef<StateCacheL2Table>();
    RecordingObserver observer;
};

}  // namespace

TEST_F(StateCacheL2TableTest, ObserversRegisterOnceAndLeaveOnce) {
    EXPECT_FALSE(table->RegisterDesiredStateObserver(&observer));
    EXPECT_FALSE(table->RegisterRuntimeStateObserver(&observer));
    EXPECT_TRUE(table->UnregisterRuntimeStateObserver(&observer));
    EXPECT_FALSE(table->UnregisterRuntimeStateObserver(&observer));
    table->UpdateRuntimeState({Object(LOG_SWITCH_STATE, kSwitch, OP_UPDATE)}, true);
    EXPECT_TRUE(observer.runtime.empty());
}

TEST_F(StateCacheL2TableTest, EntryOfAnUnknownObjectIsDropped) {
    table->UpdateDesiredState({}, true);
    ASSERT_EQ(observer.desired.size(), 1u);
    EXPECT_TRUE(observer.desired[0].isFullSync) << "the first full sync is told even when empty";

    table->UpdateDesiredState({Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, Vtep(5, 1))},
                              false);
    EXPECT_EQ(observer.desired.size(), 1u);
    EXPECT_TRUE(DesiredValues(kSwitch, L2_VTEP).empty());

    const LoftDBUpdateList added = {Object(LOG_SWITCH_FIB, kSwitch, OP_UPDATE),
                                    Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, Vtep(5, 1))};
    table->UpdateDesiredState(added, false);
    ASSERT_EQ(observer.desired.size(), 2u);
    EXPECT_EQ(observer.desired[1].list, added);
    EXPECT_FALSE(observer.desired[1].isFullSync);
    EXPECT_EQ(DesiredValues(kSwitch, L2_VTEP), std::vector<std::string>{Vtep(5, 1)});
}

// What the host published as local comes back from the store as remote; the
// store's VTEP message differs, only its label tells that it is the same.
TEST_F(StateCacheL2TableTest, LocalEntriesNeverComeBackAsRemote) {
    table->UpdateRuntimeState({Object(LOG_SWITCH_STATE, kSwitch, OP_UPDATE),
                               Entry(LOG_SWITCH_STATE, kSwitch, OP_UPDATE, L2_VTEP, Vtep(5, 1, "vmk10")),
                               Entry(LOG_SWITCH_STATE, kSwitch, OP_UPDATE, L2_VM_MAC, Mac(0xa1, 5))},
                              true);
    table->UpdateDesiredState(
        {Object(LOG_SWITCH_FIB, kSwitch, OP_UPDATE),
         Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, Vtep(5, 9)),
         Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, Vtep6(5)),
         Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, Vtep(6, 2)),
         Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VM_MAC, Mac(0xa1, 5)),
         Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VM_MAC, Mac(0xa1, 6))},
        true);
    ASSERT_EQ(observer.desired.size(), 1u);
    const LoftDBUpdateList expected = {
        Object(LOG_SWITCH_FIB, kSwitch, OP_UPDATE),
        Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, Vtep6(5)),
        Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, Vtep(6, 2)),
        Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VM_MAC, Mac(0xa1, 6))};
    EXPECT_EQ(observer.desired[0].list, expected)
        << "an IPv6 endpoint of the same label and a MAC of another value pass";
    EXPECT_EQ(DesiredValues(kSwitch, L2_VTEP), (std::vector<std::string>{Vtep6(5), Vtep(6, 2)}));
}

TEST_F(StateCacheL2TableTest, LocalEntryReportedLaterTakesBackTheRemoteOne) {
    table->UpdateDesiredState({Object(LOG_SWITCH_FIB, kSwitch, OP_UPDATE),
                               Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, Vtep(7, 9)),
                               Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, Vtep(8, 3)),
                               Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VM_IP, Ip4(0x0a000001, 1))},
                              true);
    observer.desired.clear();

    const LoftDBUpdateList local = {
        Object(LOG_SWITCH_STATE, kSwitch, OP_UPDATE),
        Entry(LOG_SWITCH_STATE, kSwitch, OP_UPDATE, L2_VTEP, Vtep(7, 1, "vmk10")),
        Entry(LOG_SWITCH_STATE, kSwitch, OP_UPDATE, L2_VM_IP, Ip4(0x0a000001, 2)),
        Entry(LOG_SWITCH_STATE, kSwitch, OP_DELETE, L2_VTEP, Vtep(8, 3))};
    table->UpdateRuntimeState(local, false);

    ASSERT_EQ(observer.desired.size(), 1u);
    const LoftDBUpdateList removed = {
        Entry(LOG_SWITCH_FIB, kSwitch, OP_DELETE, L2_VTEP, Vtep(7, 9)),
        Entry(LOG_SWITCH_FIB, kSwitch, OP_DELETE, L2_VM_IP, Ip4(0x0a000001, 1))};
    EXPECT_EQ(observer.desired[0].list, removed)
        << "the store's own value goes, matched by key; a local removal takes nothing back";
    EXPECT_FALSE(observer.desired[0].isFullSync);
    EXPECT_EQ(DesiredValues(kSwitch, L2_VTEP), std::vector<std::string>{Vtep(8, 3)});

    ASSERT_EQ(observer.runtime.size(), 1u);
    EXPECT_EQ(observer.runtime[0].list, LoftDBUpdateList(local.begin(), std::prev(local.end())))
        << "the removal of an entry the host never had is no change";
}

TEST_F(StateCacheL2TableTest, NothingIsTakenBackBeforeTheStoresFirstFullSync) {
    table->UpdateDesiredState({Object(LOG_SWITCH_FIB, kSwitch, OP_UPDATE),
                               Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, Vtep(7, 9))},
                              false);
    EXPECT_FALSE(table->FullLoadDone());
    observer.desired.clear();
    table->UpdateRuntimeState({Object(LOG_SWITCH_STATE, kSwitch, OP_UPDATE),
                               Entry(LOG_SWITCH_STATE, kSwitch, OP_UPDATE, L2_VTEP, Vtep(7, 1))},
                              false);
    EXPECT_TRUE(observer.desired.empty());
    EXPECT_EQ(DesiredValues(kSwitch, L2_VTEP), std::vector<std::string>{Vtep(7, 9)});
}

// A group holds one value, whatever the keys of the old and the new one.
TEST_F(StateCacheL2TableTest, GroupUpdateReplacesTheGroup) {
    const std::string group = "4097";
    lb::VtepGroupMsg renamed;
    renamed.ParseFromString(Group(group, 3));
    renamed.set_id("4098");
    renamed.set_label(4098);
    table->UpdateDesiredState({Entry(L2_VTEP_GROUP_OBJECT, group, OP_UPDATE, L2_VTEP_GROUP, Group(group, 3))},
                              true);
    table->UpdateDesiredState(
        {Entry(L2_VTEP_GROUP_OBJECT, group, OP_UPDATE, L2_VTEP_GROUP, renamed.SerializeAsString())},
        false);
    EXPECT_EQ(DesiredValues(group, L2_VTEP_GROUP), std::vector<std::string>{renamed.SerializeAsString()});
    std::string value;
    EXPECT_TRUE(table->GetDesiredValueByKey(group, L2_VTEP_GROUP, 4098, value));
    EXPECT_FALSE(table->GetDesiredValueByKey(group, L2_VTEP_GROUP, 4097, value));
    ASSERT_EQ(observer.desired.size(), 2u);

    table->UpdateDesiredState(
        {Entry(L2_VTEP_GROUP_OBJECT, group, OP_UPDATE, L2_VTEP_GROUP, renamed.SerializeAsString())},
        true);
    EXPECT_EQ(observer.desired.size(), 2u) << "the same group again is no change";
    EXPECT_EQ(DesiredValues(group, L2_VTEP_GROUP).size(), 1u) << "and survives the full sync";

    table->UpdateDesiredState({Entry(L2_VTEP_GROUP_OBJECT, group, OP_DELETE, L2_VTEP_GROUP, {})}, false);
    ASSERT_EQ(observer.desired.size(), 3u);
    EXPECT_EQ(observer.desired[2].list,
              LoftDBUpdateList{Entry(L2_VTEP_GROUP_OBJECT, group, OP_DELETE, L2_VTEP_GROUP,
                                     renamed.SerializeAsString())});
}

TEST_F(StateCacheL2TableTest, AddressFamiliesHaveKeysApart) {
    const std::string v6 = std::string("\x20\x01\x0d\xb8\0\0\0\0", 8) + std::string("\0\0\0\0\x0a\0\0\x01", 8);
    const L2ValueKey key4 = StateCacheL2Table::GetL2PropertyValueKeyFromString(Ip4(0x0a000001, 1), L2_VM_IP);
    const L2ValueKey key6 = StateCacheL2Table::GetL2PropertyValueKeyFromString(Ip6(v6, 1), L2_VM_IP);
    EXPECT_EQ(key4, (L2ValueKey{{0x0a000001, 0}}));
    EXPECT_EQ(key6, (L2ValueKey{{0x20010db800000000, 0x000000000a000001}}));
    EXPECT_EQ(StateCacheL2Table::GetL2PropertyValueKeyFromString(Vtep(5, 1), L2_VTEP), (L2ValueKey{{5, 4}}));
    EXPECT_EQ(StateCacheL2Table::GetL2PropertyValueKeyFromString(Vtep6(5), L2_VTEP), (L2ValueKey{{5, 6}}));
    EXPECT_EQ(StateCacheL2Table::GetL2PropertyValueKeyFromString(Vtep(5, 1), LS_VNI), L2ValueKey{});

    table->UpdateDesiredState({Object(LOG_SWITCH_FIB, kSwitch, OP_UPDATE),
                               Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VM_IP, Ip4(0x0a000001, 1)),
                               Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VM_IP, Ip6(v6, 1))},
                              true);
    table->UpdateDesiredState({Entry(LOG_SWITCH_FIB, kSwitch, OP_DELETE, L2_VM_IP, Ip4(0x0a000001, 1))},
                              false);
    std::string value;
    EXPECT_FALSE(table->GetDesiredValueByKey128(kSwitch, L2_VM_IP, key4, value));
    ASSERT_TRUE(table->GetDesiredValueByKey128(kSwitch, L2_VM_IP, key6, value));
    EXPECT_EQ(value, Ip6(v6, 1));
}

// After a reconnect the store replays all it has; what it no longer has goes,
// the property rows ahead of the objects, and ahead of what is new.
TEST_F(StateCacheL2TableTest, FullSyncRemovesWhatTheReplayLacks) {
    const LoftDBUpdateList first = {
        Object(LOG_SWITCH_FIB, kSwitch, OP_UPDATE),
        Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, Vtep(1, 1)),
        Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VM_MAC, Mac(0xa1, 1)),
        Object(ROUTING_DOMAIN_FIB, kOther, OP_UPDATE),
        Entry(ROUTING_DOMAIN_FIB, kOther, OP_UPDATE, L2_VTEP, Vtep(2, 2))};
    table->UpdateDesiredState(first, true);
    table->UpdateDesiredState(first, true);
    ASSERT_EQ(observer.desired.size(), 1u) << "an identical replay tells nobody";

    table->UpdateDesiredState({Object(LOG_SWITCH_FIB, kSwitch, OP_UPDATE),
                               Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VTEP, Vtep(1, 1)),
                               Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VM_MAC, Mac(0xa2, 1))},
                              true);
    ASSERT_EQ(observer.desired.size(), 2u);
    const LoftDBUpdateList expected = {
        Entry(LOG_SWITCH_FIB, kSwitch, OP_DELETE, L2_VM_MAC, Mac(0xa1, 1)),
        Entry(ROUTING_DOMAIN_FIB, kOther, OP_DELETE, L2_VTEP, Vtep(2, 2)),
        Object(ROUTING_DOMAIN_FIB, kOther, OP_DELETE),
        Entry(LOG_SWITCH_FIB, kSwitch, OP_UPDATE, L2_VM_MAC, Mac(0xa2, 1))};
    EXPECT_EQ(observer.desired[1].list, expected);
    EXPECT_FALSE(observer.desired[1].isFullSync) << "only the first full sync is told as one";
    std::vector<L2Entry> rows;
    EXPECT_FALSE(table->GetDesiredObject(kOther, rows));
    EXPECT_EQ(table->DesiredCount(), 3u);
    EXPECT_EQ(table->DesiredSize(), 3 * (kSwitch.size() + 28) + Vtep(1, 1).size() + Mac(0xa2, 1).size());
}

TEST_F(StateCacheL2TableTest, ObjectRemovalTakesItsEntriesAlong) {
    table->UpdateRuntimeState({Object(ROUTING_DOMAIN_VTEP, kOther, OP_UPDATE),
                               Entry(ROUTING_DOMAIN_VTEP, kOther, OP_UPDATE, L2_VTEP, Vtep(3, 3)),
                               Object(LOG_SWITCH_STATE, kSwitch, OP_UPDATE),
                               Entry(LOG_SWITCH_STATE, kSwitch, OP_UPDATE, L2_VM_MAC, Mac(0xa1, 3)),
                               Entry(LOG_SWITCH_STATE, kSwitch, OP_UPDATE, L2_VTEP, Vtep(3, 3))},
                              true);
    observer.runtime.clear();

    EXPECT_TRUE(table->RemoveLocalObject(kOther));
    EXPECT_FALSE(table->RemoveLocalObject(kOther));
    ASSERT_EQ(observer.runtime.size(), 1u);
    EXPECT_EQ(observer.runtime[0].list,
              (LoftDBUpdateList{Entry(ROUTING_DOMAIN_VTEP, kOther, OP_DELETE, L2_VTEP, Vtep(3, 3)),
                                Object(ROUTING_DOMAIN_VTEP, kOther, OP_DELETE)}));

    table->UpdateRuntimeState({Object(LOG_SWITCH_STATE, kSwitch, OP_DELETE)}, false);
    ASSERT_EQ(observer.runtime.size(), 2u);
    EXPECT_EQ(observer.runtime[1].list,
              (LoftDBUpdateList{Entry(LOG_SWITCH_STATE, kSwitch, OP_DELETE, L2_VM_MAC, Mac(0xa1, 3)),
                                Entry(LOG_SWITCH_STATE, kSwitch, OP_DELETE, L2_VTEP, Vtep(3, 3)),
                                Object(LOG_SWITCH_STATE, kSwitch, OP_DELETE)}));
    EXPECT_EQ(table->RuntimeCount(), 0u);
    EXPECT_FALSE(table->HasRuntimeValue(kSwitch, L2_VTEP, Vtep(3, 3)));
}
