#include "cache/ConfigTableQueries.h"

#include <gtest/gtest.h>

#include "cache/StateCacheConfigTable.h"
#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "loftdb_switching.pb.h"
#include "zef/RefPtr.h"

namespace {

using namespace CfgAgent;
using namespace halden::zef::loftdb;

UuidMsg Uuid(uint64_t n) {
    UuidMsg uuid;
    uuid.set_left(n);
    uuid.set_right(n);
    return uuid;
}

std::string Id(uint64_t n) { return Uuid(n).SerializeAsString(); }

// Two switches on two zones, one host switch per zone, three ports.
class ConfigTableQueriesTest : public ::testing::Test {
protected:
    void SetUp() override {
        savedConsole = LogLevel::console.exchange(0);
        LoftDBUpdateList list;
        TransportNodeConfigMsg node;
        auto* overlay = node.add_transport_switches();
        overlay->set_host_switch_id("hs-overlay");
        *overlay->add_transport_zone_ids() = Uuid(100);
        auto* vlan = node.add_transport_switches();
        vlan->set_host_switch_id("hs-vlan");
        *vlan->add_transport_zone_ids() = Uuid(200);
        *vlan->add_transport_zone_ids() = Uuid(201);
        Put(list, TRANSPORT_NODE_CONFIG, Id(9), TN_TRANSPORT_SWITCHES, node);

        LogSwitchConfigMsg web;
        *web.mutable_transport_zone_id() = Uuid(100);
        Put(list, LOG_SWITCH_CONFIG, Id(1), LS_TRANSPORT_ZONE_ID, web);
        LogSwitchConfigMsg orphan;
        *orphan.mutable_transport_zone_id() = Uuid(999);
        Put(list, LOG_SWITCH_CONFIG, Id(2), LS_TRANSPORT_ZONE_ID, orphan);

        Port(list, 11, 1, [](LogSwitchPortAttachmentMsg& a) {
            a.set_id("vif-a");
            a.set_dvport_id("dvport-a");
        });
        Port(list, 12, 1, [](LogSwitchPortAttachmentMsg& a) { *a.mutable_link_port_id() = Uuid(50); });
        Port(list, 13, 2, [](LogSwitchPortAttachmentMsg& a) { a.set_id("vif-c"); });
        table->UpdateDesiredState(list, true);
    }
    void TearDown() override { LogLevel::console = savedConsole; }

    template <typename Message>
    void Put(LoftDBUpdateList& list, uint32_t type, const std::string& id, uint32_t property,
             const Message& value) {
        list.emplace_back(type, id, OP_UPDATE, std::string(), std::string());
        list.emplace_back(type, id, OP_UPDATE, property, value.SerializeAsString());
    }

    template <typename Fill>
    void Port(LoftDBUpdateList& list, uint64_t port, uint64_t sw, Fill fill) {
        LogSwitchPortConfigMsg attachment;
        fill(*attachment.mutable_attachment());
        Put(list, LOG_SWITCH_PORT_CONFIG, Id(port), LSP_ATTACHMENT, attachment);
        LogSwitchPortConfigMsg switchId;
        *switchId.mutable_switch_id() = Uuid(sw);
        list.emplace_back(LOG_SWITCH_PORT_CONFIG, Id(port), OP_UPDATE, LSP_SWITCH_ID,
                          switchId.SerializeAsString());
    }

    int savedConsole = 0;
    zef::RefPtr<StateCacheConfigTable> table = zef::MakeRef<StateCacheConfigTable>();
    ConfigTableQueries queries{*table};
};

TEST_F(ConfigTableQueriesTest, HostSwitchesAndTheirZones) {
    EXPECT_EQ(queries.TransportZonesOfHostSwitch("hs-vlan"),
              (std::vector<std::string>{Id(200), Id(201)}));
    EXPECT_TRUE(queries.TransportZonesOfHostSwitch("hs-none").empty());
    EXPECT_EQ(queries.HostSwitchOfLogicalSwitch(Id(1)), "hs-overlay");
    EXPECT_FALSE(queries.HostSwitchOfLogicalSwitch(Id(2))) << "its zone is on no host switch";
    EXPECT_FALSE(queries.HostSwitchOfLogicalSwitch(Id(3))) << "no such switch";
}

TEST_F(ConfigTableQueriesTest, PortsByTheirAttachments) {
    EXPECT_EQ(queries.LogicalPortByVif("vif-c"), Id(13));
    EXPECT_FALSE(queries.LogicalPortByVif("vif-z"));
    EXPECT_EQ(queries.VifIds(), (std::set<std::string>{"vif-a", "vif-c"}));
    EXPECT_EQ(queries.PortByLinkAttachment(Uuid(50)), Id(12));
    EXPECT_EQ(queries.LinkPortsOfSwitch(Id(1)), std::vector<std::string>{Id(50)});
    EXPECT_TRUE(queries.LinkPortsOfSwitch(Id(2)).empty());
}

TEST_F(ConfigTableQueriesTest, PortIdStandsInWhereTheAttachmentNamesNothing) {
    EXPECT_EQ(queries.DvPortOfLogicalPort(Id(11)), "dvport-a");
    EXPECT_EQ(queries.DvPortOfLogicalPort(Id(13)), "00000000-0000-000d-0000-00000000000d");
    EXPECT_EQ(queries.VifOfLogicalPort(Id(11)), "vif-a");
    EXPECT_EQ(queries.VifOfLogicalPort(Id(12)), "00000000-0000-000c-0000-00000000000c");
    EXPECT_FALSE(queries.VifOfLogicalPort(Id(77)));
}

}  // namespace
