#include "port/conversion/DVSPropConvertor.h"

#include <gtest/gtest.h>

#include <map>
#include <mutex>

#include "cache/StateCacheConfigTable.h"
#include "frame/AgentLock.h"
#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_switching.pb.h"
#include "loftdb_system.pb.h"
#include "port/session/IConfigApp.h"
#include "port/kcp/KcpHdsUpdateCodec.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpPortContainerListCodec.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/conversion/PortEntry.h"

namespace PortTest {
namespace {

using namespace CfgAgent;
namespace lb = halden::zef::loftdb;

constexpr const char* kSwitch = "11111111-0000-4000-8000-000000000001";
constexpr const char* kPort = "22222222-0000-4000-8000-000000000002";
constexpr const char* kOtherPort = "22222222-0000-4000-8000-000000000003";

std::string Id(const char* text) {
    lb::UuidMsg uuid;
    EXPECT_TRUE(UuidFromString(text, uuid));
    return uuid.SerializeAsString();
}

// The port properties the kernel would hold after every message: op 1 sets
// keys, op 3 replaces the record's set.
class KernelPorts : public IConfigApp {
public:
    bool SendToDP(std::span<const uint8_t> message) override {
        auto data = KcpMessage::FirstData(message);
        std::vector<KcpHdsRecord> records;
        if (data && data->Type() == KCP_HDS_PROPERTY_UPDATE &&
            KcpHdsUpdateCodec::Decode(data->Value(), records)) {
            for (const KcpHdsRecord& record : records) {
                for (const KcpProperty& property : record.properties) {
                    hds[record.hdsId][property.type] = property.value;
                }
            }
        }
        if (data && data->Type() == KCP_HDS_LIST_UPDATE) {
            KcpIdListCodec::Decode(data->Type(), data->Value(), hdsList);
        }
        KcpPortContainerList portContainers;
        if (data && data->Type() == KCP_PORT_CONTAINER_LIST_UPDATE &&
            KcpPortContainerListCodec::Decode(data->Value(), portContainers)) {
            portContainerLists.push_back(portContainers);
        }
        if (data && data->Type() == KCP_TAKNIC_LIST_UPDATE) {
            KcpIdListCodec::Decode(data->Type(), data->Value(), taknicList);
        }
        KcpPropertyUpdate taknicUpdate;
        if (data && data->Type() == KCP_TAKNIC_PROPERTY_UPDATE &&
            KcpPropertyUpdateCodec::Decode(data->Type(), data->Value(), taknicUpdate)) {
            for (const KcpPropertyRecord& record : taknicUpdate.records) {
                for (const KcpProperty& property : record.properties) {
                    taknics[record.id][property.type] = property.value;
                }
            }
        }
        KcpPropertyUpdate update;
        if (!data || !KcpPropertyUpdateCodec::Decode(data->Type(), data->Value(), update) ||
            data->Type() != KCP_PORT_PROPERTY_UPDATE) {
            return true;
        }
        for (const KcpPropertyRecord& record : update.records) {
            ++pushes[{record.id, update.operation}];
            if (update.operation == KCP_OP_FULL_SYNC) {
                ports[record.id].clear();
            }
            for (const KcpProperty& property : record.properties) {
                ports[record.id][property.type] = property.value;
            }
        }
        return true;
    }
    std::string Text(const std::string& vif, uint16_t key) {
        const std::vector<uint8_t>& value = ports[vif][key];
        return value.empty() ? std::string() : std::string(value.begin(), value.end() - 1);
    }
    std::map<std::string, std::map<uint16_t, std::vector<uint8_t>>> ports;
    std::map<std::string, std::map<uint16_t, std::vector<uint8_t>>> hds;
    std::vector<std::string> hdsList;
    std::map<std::string, std::map<uint16_t, std::vector<uint8_t>>> taknics;
    std::vector<std::string> taknicList;
    std::vector<KcpPortContainerList> portContainerLists;
    std::map<std::pair<std::string, uint8_t>, int> pushes;
};

class DVSPropConvertorTest : public ::testing::Test {
protected:
    void SetUp() override { _savedConsole = LogLevel::console.exchange(0); }
    void TearDown() override { LogLevel::console.store(_savedConsole); }

    void Store(uint32_t objectType, const char* id, uint32_t property, const std::string& value,
               uint32_t operation = OP_UPDATE) {
        _table->UpdateDesiredState(
            {LoftDBUpdateMsg(objectType, Id(id), OP_UPDATE, 0, {}),
             LoftDBUpdateMsg(objectType, Id(id), operation, property, value)},
            false);
    }
    // What the port session does with a batch of the table.
    void Change(uint32_t objectType, const char* id, uint32_t property, const std::string& value,
                uint32_t operation = OP_UPDATE) {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        Store(objectType, id, property, value, operation);
        _convertor->ProcessConfigPropertyUpdate(objectType, Id(id), operation, property, value);
        if (objectType == LOG_SWITCH_CONFIG) {
            _convertor->SendPortUnblockUpdate({}, {Id(id)});
        } else {
            _convertor->SendPortUnblockUpdate({Id(id)}, {});
        }
    }
    static std::string SwitchValue(const std::function<void(lb::LogSwitchConfigMsg&)>& set) {
        lb::LogSwitchConfigMsg config;
        set(config);
        return config.SerializeAsString();
    }
    static std::string PortValue(const std::function<void(lb::LogSwitchPortConfigMsg&)>& set) {
        lb::LogSwitchPortConfigMsg config;
        set(config);
        return config.SerializeAsString();
    }
    void ConfigureUnblockedPort() {
        Store(LOG_SWITCH_CONFIG, kSwitch, LS_VNI, SwitchValue([](auto& c) { c.set_vni(5001); }));
        Store(LOG_SWITCH_CONFIG, kSwitch, LS_ADMIN_STATE_UP,
              SwitchValue([](auto& c) { c.set_admin_state_up(true); }));
        Store(LOG_SWITCH_PORT_CONFIG, kPort, LSP_SWITCH_ID,
              PortValue([](auto& c) { EXPECT_TRUE(UuidFromString(kSwitch, *c.mutable_switch_id())); }));
        Store(LOG_SWITCH_PORT_CONFIG, kPort, LSP_ADMIN_STATE_UP,
              PortValue([](auto& c) { c.set_admin_state_up(true); }));
        Store(LOG_SWITCH_PORT_CONFIG, kPort, LSP_ATTACHMENT,
              PortValue([](auto& c) { c.mutable_attachment()->set_id("vif-1"); }));
    }
    void Connect(const std::string& vif = "vif-1", const std::string& port = kPort) {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        _convertor->ProcessVifInfoUpdate({vif, port, "hs-1", "", KCP_VIF_VNIC}, KCP_OP_UPDATE, true);
    }

    KernelPorts _kernel;
    zef::RefPtr<StateCacheConfigTable> _table = zef::MakeRef<StateCacheConfigTable>();
    zef::RefPtr<DVSPropConvertor> _convertor = zef::MakeRef<DVSPropConvertor>(*_table, _kernel);

private:
    int _savedConsole = 0;
};

TEST_F(DVSPropConvertorTest, APortGetsItsWholeSetOnConnectAndIsUnblockedWhenAllHolds) {
    ConfigureUnblockedPort();
    EXPECT_TRUE(_kernel.ports.empty()) << "nothing goes out before the VIF exists";
    Connect();
    ASSERT_EQ(_kernel.ports.count("vif-1"), 1u);
    EXPECT_EQ(_kernel.ports["vif-1"][1], (std::vector<uint8_t>{0, 0, 0x13, 0x89}));
    EXPECT_EQ(_kernel.Text("vif-1", 101), "false");
    EXPECT_EQ((_kernel.pushes[{"vif-1", KCP_OP_UPDATE}]), 1);
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    ASSERT_EQ(_convertor->Ports().size(), 1u);
    EXPECT_EQ(_convertor->Ports()[0].lsId.Text(), kSwitch);
    EXPECT_TRUE(_convertor->Ports()[0].outOfSync) << "a new port is pushed again by the next tick";
}

TEST_F(DVSPropConvertorTest, EachMissingConditionKeepsThePortBlocked) {
    Store(LOG_SWITCH_PORT_CONFIG, kPort, LSP_SWITCH_ID,
          PortValue([](auto& c) { EXPECT_TRUE(UuidFromString(kSwitch, *c.mutable_switch_id())); }));
    Store(LOG_SWITCH_PORT_CONFIG, kPort, LSP_ADMIN_STATE_UP,
          PortValue([](auto& c) { c.set_admin_state_up(true); }));
    Connect();
    EXPECT_EQ(_kernel.Text("vif-1", 101), "true") << "switch admin state missing";
    Change(LOG_SWITCH_CONFIG, kSwitch, LS_ADMIN_STATE_UP,
           SwitchValue([](auto& c) { c.set_admin_state_up(true); }));
    EXPECT_EQ(_kernel.Text("vif-1", 101), "true") << "no VNI, VLAN or trunk";
    Change(LOG_SWITCH_CONFIG, kSwitch, LS_VLAN, SwitchValue([](auto& c) { c.set_vlan(20); }));
    EXPECT_EQ(_kernel.Text("vif-1", 101), "false");
    EXPECT_EQ(_kernel.ports["vif-1"][102], (std::vector<uint8_t>{0, 0, 0, 20, 0, 0, 0, 0}));
    Change(LOG_SWITCH_PORT_CONFIG, kPort, LSP_ADMIN_STATE_UP,
           PortValue([](auto& c) { c.set_admin_state_up(false); }));
    EXPECT_EQ(_kernel.Text("vif-1", 101), "true");
    Change(LOG_SWITCH_PORT_CONFIG, kPort, LSP_ADMIN_STATE_UP,
           PortValue([](auto& c) { c.set_admin_state_up(true); }));
    EXPECT_EQ(_kernel.Text("vif-1", 101), "false");
    Change(LOG_SWITCH_CONFIG, kSwitch, LS_ADMIN_STATE_UP,
           SwitchValue([](auto& c) { c.set_admin_state_up(false); }));
    EXPECT_EQ(_kernel.Text("vif-1", 101), "true");
}

TEST_F(DVSPropConvertorTest, OnlyRemovingTheLastOfVniVlanAndTrunkBlocks) {
    ConfigureUnblockedPort();
    Store(LOG_SWITCH_CONFIG, kSwitch, LS_VLAN_TRUNK, SwitchValue([](auto& c) {
              auto* range = c.mutable_vlan_trunk()->add_ranges();
              range->set_start(10);
              range->set_end(19);
          }));
    Connect();
    EXPECT_EQ(_kernel.Text("vif-1", 101), "false");
    Change(LOG_SWITCH_CONFIG, kSwitch, LS_VLAN_TRUNK, {}, OP_DELETE);
    EXPECT_EQ(_kernel.Text("vif-1", 101), "false") << "the VNI is still there";
    EXPECT_EQ(_kernel.ports["vif-1"][102], std::vector<uint8_t>(8, 0));
    Change(LOG_SWITCH_CONFIG, kSwitch, LS_VNI, {}, OP_DELETE);
    EXPECT_EQ(_kernel.Text("vif-1", 101), "true");
    EXPECT_TRUE(_kernel.ports["vif-1"][1].empty());
}

TEST_F(DVSPropConvertorTest, RemovingATrunkLeavesThePlainVlanAndRemovingTheVlanLeavesTheTrunk) {
    ConfigureUnblockedPort();
    Store(LOG_SWITCH_CONFIG, kSwitch, LS_VLAN, SwitchValue([](auto& c) { c.set_vlan(0x0123); }));
    Store(LOG_SWITCH_CONFIG, kSwitch, LS_VLAN_TRUNK, SwitchValue([](auto& c) {
              auto* range = c.mutable_vlan_trunk()->add_ranges();
              range->set_start(10);
              range->set_end(19);
          }));
    Connect();
    Change(LOG_SWITCH_CONFIG, kSwitch, LS_VLAN_TRUNK, {}, OP_DELETE);
    EXPECT_EQ(_kernel.ports["vif-1"][102], (std::vector<uint8_t>{0, 0, 0x01, 0x23, 0, 0, 0, 0}));
    Store(LOG_SWITCH_CONFIG, kSwitch, LS_VLAN_TRUNK, SwitchValue([](auto& c) {
              auto* range = c.mutable_vlan_trunk()->add_ranges();
              range->set_start(10);
              range->set_end(19);
          }));
    Change(LOG_SWITCH_CONFIG, kSwitch, LS_VLAN, {}, OP_DELETE);
    EXPECT_EQ(_kernel.ports["vif-1"][102],
              (std::vector<uint8_t>{0, 1, 0, 0, 0, 0, 0, 1, 0, 10, 0, 19}));
    EXPECT_EQ(_kernel.Text("vif-1", 101), "false");
}

// A VIF that the kernel reports under a DVPort number reaches its logical
// port through the attachment naming the DVPort, whichever comes first.
TEST_F(DVSPropConvertorTest, AVifOnADvPortGetsTheSetOfTheLogicalPortAttachedToIt) {
    ConfigureUnblockedPort();
    Store(LOG_SWITCH_PORT_CONFIG, kPort, LSP_ATTACHMENT, PortValue([](auto& c) {
              c.mutable_attachment()->set_id("vif-1");
              c.mutable_attachment()->set_dvport_id("1234");
          }));
    Connect("vif-1", "1234");
    EXPECT_EQ(_kernel.Text("vif-1", 101), "false");
    EXPECT_FALSE(_kernel.ports["vif-1"][1].empty()) << "the switch's VNI";
    ASSERT_EQ(_convertor->Ports().size(), 1u);
    EXPECT_EQ(_convertor->Ports()[0].lspId.Text(), kPort);

    Connect("vif-2", "77");
    EXPECT_TRUE(_kernel.ports["vif-2"].empty()) << "no logical port names DVPort 77 yet";
    Change(LOG_SWITCH_PORT_CONFIG, kOtherPort, LSP_SWITCH_ID,
           PortValue([](auto& c) { EXPECT_TRUE(UuidFromString(kSwitch, *c.mutable_switch_id())); }));
    Change(LOG_SWITCH_PORT_CONFIG, kOtherPort, LSP_ADMIN_STATE_UP,
           PortValue([](auto& c) { c.set_admin_state_up(true); }));
    Change(LOG_SWITCH_PORT_CONFIG, kOtherPort, LSP_ATTACHMENT, PortValue([](auto& c) {
               c.mutable_attachment()->set_id("vif-2");
               c.mutable_attachment()->set_dvport_id("77");
           }));
    EXPECT_EQ(_kernel.Text("vif-2", 101), "false");
    EXPECT_FALSE(_kernel.ports["vif-2"][1].empty());
}

TEST_F(DVSPropConvertorTest, TwoOutOfSyncMarksInOneTickMakeOneFullSyncPush) {
    ConfigureUnblockedPort();
    Connect();
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    _convertor->OnResyncProperty(false);
    EXPECT_EQ((_kernel.pushes[{"vif-1", KCP_OP_FULL_SYNC}]), 1) << "the first tick after connect";
    _convertor->OnResyncProperty(false);
    EXPECT_EQ((_kernel.pushes[{"vif-1", KCP_OP_FULL_SYNC}]), 1) << "in sync: nothing to push";
    _convertor->SetPortOutOfSync("vif-1");
    _convertor->SetPortOutOfSync("vif-1");
    _convertor->SetPortOutOfSync("vif-unknown");
    _convertor->OnResyncProperty(false);
    EXPECT_EQ((_kernel.pushes[{"vif-1", KCP_OP_FULL_SYNC}]), 2);
    EXPECT_EQ(_kernel.Text("vif-1", 101), "false");
}

TEST_F(DVSPropConvertorTest, PortsTheKernelLeftOutOfItsReportAreDropped) {
    ConfigureUnblockedPort();
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    _convertor->ProcessVifInfoUpdate({"vif-1", kPort, "hs-1", "", KCP_VIF_VNIC}, KCP_OP_UPDATE, true);
    _convertor->ResetSync();
    _convertor->ProcessVifInfoUpdate({"vif-2", "42", "hs-1", "", KCP_VIF_VNIC}, KCP_OP_UPDATE, false);
    _convertor->ProcessVifInfoUpdate({"vif-3", "not a port id", "hs-1", "", KCP_VIF_VNIC},
                                     KCP_OP_UPDATE, false);
    EXPECT_EQ(_convertor->Ports().size(), 2u);
    _convertor->OnVifReportComplete();
    ASSERT_EQ(_convertor->Ports().size(), 1u);
    EXPECT_EQ(_convertor->Ports()[0].vifId, "vif-2");
}

TEST_F(DVSPropConvertorTest, ExtraConfigsOfPortAndSwitchMeetOnThePortWithThePortWinning) {
    ConfigureUnblockedPort();
    Connect();
    auto pairs = [](std::vector<std::pair<std::string, std::string>> list) {
        return [list](auto& config) {
            for (const auto& [key, value] : list) {
                auto* pair = config.add_extra_configs();
                pair->set_key(key);
                pair->set_value(value);
            }
        };
    };
    const std::string edge = "com.halden.port.extraConfig.mcloud.edge";
    const std::string rarp = "com.halden.port.extraConfig.forward.rarp";
    Change(LOG_SWITCH_CONFIG, kSwitch, LS_EXTRA_CONFIGS,
           SwitchValue(pairs({{edge, "from-switch"}, {rarp, "yes"}})));
    EXPECT_EQ(_kernel.Text("vif-1", 243), "from-switch");
    EXPECT_EQ(_kernel.Text("vif-1", 341), "yes");
    // An unknown key is refused alone.
    Change(LOG_SWITCH_PORT_CONFIG, kPort, LSP_EXTRA_CONFIGS,
           PortValue(pairs({{"com.example.unknown", "x"}, {edge, "from-port"}})));
    EXPECT_EQ(_kernel.Text("vif-1", 243), "from-port");
    Change(LOG_SWITCH_CONFIG, kSwitch, LS_EXTRA_CONFIGS, SwitchValue(pairs({{edge, "again"}})));
    EXPECT_EQ(_kernel.Text("vif-1", 243), "from-port") << "the port's own value stands";
    EXPECT_TRUE(_kernel.ports["vif-1"][341].empty()) << "the switch's dropped key is removed";
    Change(LOG_SWITCH_PORT_CONFIG, kPort, LSP_EXTRA_CONFIGS, {}, OP_DELETE);
    EXPECT_TRUE(_kernel.ports["vif-1"][243].empty());
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    EXPECT_EQ(_convertor->PortExtraConfigs().Of(*Uuid::FromText(kPort)), nullptr);
    ASSERT_NE(_convertor->SwitchExtraConfigs().Of(*Uuid::FromText(kSwitch)), nullptr);
    EXPECT_EQ(_convertor->SwitchExtraConfigs().Of(*Uuid::FromText(kSwitch))->at(edge), "again");
}

TEST_F(DVSPropConvertorTest, FullSyncSendsTheHostSwitchesWithTheirForwardingModes) {
    lb::TransportNodeConfigMsg node;
    node.add_transport_switches()->set_host_switch_id("hs-default");
    auto* second = node.add_transport_switches();
    second->set_host_switch_id("hs-mode2");
    second->set_forwarding_mode(2);
    auto* secured = node.add_transport_switches();
    secured->set_host_switch_id("hs-secured");
    secured->set_zef_security_enabled(true);
    Store(TRANSPORT_NODE_CONFIG, kSwitch, TN_TRANSPORT_SWITCHES, node.SerializeAsString());
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    _convertor->FullSync(true);
    EXPECT_EQ(_kernel.hdsList, (std::vector<std::string>{"hs-default", "hs-mode2", "hs-secured"}));
    EXPECT_EQ(_kernel.hds["hs-default"][10], (std::vector<uint8_t>{0, 0, 0, 1}));
    EXPECT_EQ(_kernel.hds["hs-mode2"][10], (std::vector<uint8_t>{0, 0, 0, 2}));
    EXPECT_EQ(_kernel.hds.count("hs-secured"), 0u);
    EXPECT_EQ(_kernel.hds[""][1], (std::vector<uint8_t>{'d', 'o', 'w', 'n', 0}));
    // The control plane is up once the store says so and both daemons answer.
    lb::CcpSessionMsg session;
    session.set_status(1);
    _convertor->ProcessCcpSession({LoftDBUpdateMsg(CCP_SESSION, "s", OP_UPDATE, 0, session.SerializeAsString())});
    _convertor->OnDaemonHealthStateUpdate(1, IDVSPropConvertor::HEALTH_LOFTDB);
    EXPECT_EQ(_kernel.hds[""][1], (std::vector<uint8_t>{'d', 'o', 'w', 'n', 0}));
    _convertor->OnDaemonHealthStateUpdate(1, IDVSPropConvertor::HEALTH_PROXY);
    EXPECT_EQ(_kernel.hds[""][1], (std::vector<uint8_t>{'u', 'p', 0}));
    _convertor->OnDaemonHealthStateUpdate(0, IDVSPropConvertor::HEALTH_LOFTDB);
    EXPECT_EQ(_kernel.hds[""][1], (std::vector<uint8_t>{'d', 'o', 'w', 'n', 0}));
}

// The devices under the node's tunnel endpoints are the host's taknics: they
// go into the full sync's list and get their labels on the next tick.
TEST_F(DVSPropConvertorTest, TunnelEndpointDevicesAreTaknicsLabelledOnTheNextTick) {
    auto node = [](std::vector<std::pair<const char*, uint32_t>> devices) {
        lb::TransportNodeConfigMsg config;
        auto* transportSwitch = config.add_transport_switches();
        transportSwitch->set_host_switch_id("hs-1");
        for (const auto& [name, label] : devices) {
            auto* vtep = transportSwitch->add_vteps();
            vtep->set_dev_name(name);
            vtep->mutable_vtep_label()->set_label(label);
        }
        return config.SerializeAsString();
    };
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    Change(TRANSPORT_NODE_CONFIG, kSwitch, TN_TRANSPORT_SWITCHES, node({{"vmk10", 0x01020304}, {"vmk11", 9}}));
    EXPECT_TRUE(_kernel.taknics.empty()) << "labels wait for the tick";
    _convertor->OnResyncProperty(false);
    EXPECT_EQ(_kernel.taknics["vmk10"][1], (std::vector<uint8_t>{1, 2, 3, 4}));
    EXPECT_EQ(_kernel.taknics["vmk11"][1], (std::vector<uint8_t>{0, 0, 0, 9}));
    _kernel.taknics.clear();
    _convertor->OnResyncProperty(false);
    EXPECT_TRUE(_kernel.taknics.empty()) << "in sync after the push";
    _convertor->SetTaknicOutOfSync("vmk11");
    _convertor->OnResyncProperty(false);
    EXPECT_EQ(_kernel.taknics.size(), 1u);
    EXPECT_EQ(_kernel.taknics["vmk11"][1], (std::vector<uint8_t>{0, 0, 0, 9}));

    Change(TRANSPORT_NODE_CONFIG, kSwitch, TN_TRANSPORT_SWITCHES, node({{"vmk11", 10}}));
    _convertor->FullSync(true);
    EXPECT_EQ(_kernel.taknicList, std::vector<std::string>{"vmk11"});
    EXPECT_EQ(_kernel.taknics["vmk11"][1], (std::vector<uint8_t>{0, 0, 0, 10}));
}

TEST_F(DVSPropConvertorTest, GlobalOpaqueKeysReachEveryHostSwitchAndGoWhenDropped) {
    lb::TransportNodeConfigMsg node;
    node.add_transport_switches()->set_host_switch_id("hs-a");
    node.add_transport_switches()->set_host_switch_id("hs-b");
    Store(TRANSPORT_NODE_CONFIG, kSwitch, TN_TRANSPORT_SWITCHES, node.SerializeAsString());
    auto global = [](std::vector<std::pair<std::string, std::string>> pairs) {
        lb::GlobalConfigMsg config;
        for (const auto& [key, value] : pairs) {
            auto* pair = config.mutable_tmr_global_opaque_config()->add_opaque_configs();
            pair->set_key(key);
            pair->set_value(value);
        }
        return LoftDBUpdateList{LoftDBUpdateMsg(GLOBAL_CONFIG, "g", OP_UPDATE, 0, config.SerializeAsString())};
    };
    const std::string prefix = "com.halden.zef.extraConfig.mcloud.management.";
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    _convertor->ProcessGlobalOpaqueConfig(
        global({{prefix + "clusterVirtualIp", "10.0.0.1"}, {prefix + "clusterMasterIp", "10.0.0.2"},
                {prefix + "somethingElse", "x"}}),
        false);
    for (const char* hostSwitch : {"hs-a", "hs-b"}) {
        EXPECT_EQ(_kernel.hds[hostSwitch][11], (std::vector<uint8_t>{'1', '0', '.', '0', '.', '0', '.', '1', 0}));
        EXPECT_EQ(_kernel.hds[hostSwitch][12], (std::vector<uint8_t>{'1', '0', '.', '0', '.', '0', '.', '2', 0}));
        EXPECT_EQ(_kernel.hds[hostSwitch].size(), 2u) << "an unknown key goes nowhere";
    }
    _convertor->ProcessGlobalOpaqueConfig(global({{prefix + "clusterVirtualIp", "10.0.0.9"}}), false);
    EXPECT_TRUE(_kernel.hds["hs-a"][12].empty()) << "the dropped key is removed";
    _kernel.hds.clear();
    _convertor->FullSync(true);
    EXPECT_EQ(_kernel.hds["hs-b"][11], (std::vector<uint8_t>{'1', '0', '.', '0', '.', '0', '.', '9', 0}));
    EXPECT_EQ(_kernel.hds["hs-b"].count(12), 0u);
}

// An SPF port has no logical port: it takes the service plane switch, MAC
// management by default and static MAC learning on its host switch.
TEST_F(DVSPropConvertorTest, AnSpfPortTakesTheServicePlaneSwitchAndLosesItWithTheSwitch) {
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    Connect("vif-spf", "spfPort-1");
    EXPECT_EQ(_kernel.Text("vif-spf", 101), "true") << "no service plane switch yet";
    EXPECT_EQ(_kernel.ports["vif-spf"][141].size(), 11u);
    EXPECT_EQ(_kernel.hds["hs-1"][9], (std::vector<uint8_t>{'t', 'r', 'u', 'e', 0}));

    Change(LOG_SWITCH_CONFIG, kSwitch, LS_VNI, SwitchValue([](auto& c) { c.set_vni(7001); }));
    Change(LOG_SWITCH_CONFIG, kSwitch, LS_ADMIN_STATE_UP, SwitchValue([](auto& c) { c.set_admin_state_up(true); }));
    EXPECT_EQ(_kernel.Text("vif-spf", 101), "true") << "not a service plane switch";
    Change(LOG_SWITCH_CONFIG, kSwitch, LS_TYPE, SwitchValue([](auto& c) { c.set_type(3); }));
    EXPECT_EQ(_kernel.Text("vif-spf", 101), "false");
    EXPECT_EQ(_kernel.ports["vif-spf"][1], (std::vector<uint8_t>{0, 0, 0x1b, 0x59}));
    EXPECT_EQ(_kernel.ports["vif-spf"][181], (std::vector<uint8_t>{0, 0, 0, 0}));

    _kernel.hds.clear();
    _convertor->FullSync(true);
    EXPECT_EQ(_kernel.hds["hs-1"][9], (std::vector<uint8_t>{'t', 'r', 'u', 'e', 0})) << "in every full sync";

    _convertor->ProcessConfigEntityUpdate(LOG_SWITCH_CONFIG, Id(kSwitch), OP_DELETE);
    EXPECT_EQ(_kernel.Text("vif-spf", 101), "true");
    _convertor->ProcessVifInfoUpdate({"vif-spf", "spfPort-1", "hs-1", "", KCP_VIF_VNIC}, KCP_OP_DELETE, true);
    EXPECT_EQ(_kernel.hds["hs-1"][9], (std::vector<uint8_t>{'f', 'a', 'l', 's', 'e', 0}));
    EXPECT_TRUE(_convertor->Ports().empty());
}

TEST_F(DVSPropConvertorTest, HotmoveQueueMergesFlagsPerVif) {
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    _convertor->QueueHotmovePortSync("vif-9", KCP_SYNC_PORT_PROPERTIES);
    _convertor->QueueHotmovePortSync("vif-9", KCP_SYNC_PORT_CONTAINER_LIST);
    _convertor->QueueHotmovePortSync("vif-8", KCP_SYNC_PORT_PROPERTIES);
    EXPECT_EQ(_convertor->HotmoveQueue(),
              (std::map<std::string, uint32_t>{{"vif-8", 1}, {"vif-9", 3}}));
    // Without a configured logical port the entries wait for the next tick.
    _convertor->OnHotmoveSyncTimer();
    EXPECT_EQ(_convertor->HotmoveQueue().size(), 2u);
    _convertor->RemoveFromHotmoveQueue("vif-8");
    EXPECT_EQ(_convertor->HotmoveQueue().size(), 1u);

    // Once its logical port is there, the container list goes out: empty, as
    // this host knows no container interfaces of the port.
    ConfigureUnblockedPort();
    Store(LOG_SWITCH_PORT_CONFIG, kPort, LSP_ATTACHMENT, PortValue([](auto& c) { c.mutable_attachment()->set_id("vif-9"); }));
    Connect("vif-9", kPort);
    _convertor->OnHotmoveSyncTimer();
    EXPECT_TRUE(_convertor->HotmoveQueue().empty());
    ASSERT_EQ(_kernel.portContainerLists.size(), 1u);
    EXPECT_EQ(_kernel.portContainerLists[0].vifId, "vif-9");
    EXPECT_TRUE(_kernel.portContainerLists[0].containerVifIds.empty());
    _convertor->Stop();
}

}  // namespace
}  // namespace PortTest
