#include "l2/app/L2App.h"

#include <gtest/gtest.h>

#include <boost/property_tree/ptree.hpp>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "cache/StateCacheConfigTable.h"
#include "cache/StateCacheL2Table.h"
#include "frame/AgentLock.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "l2/codec/VxlanConfigureCodec.h"
#include "l2/codec/VxlanControlCodec.h"
#include "l2/codec/VxlanGroupAssociationCodec.h"
#include "l2/codec/VxlanGroupCodec.h"
#include "l2/codec/VxlanMacUpdateCodec.h"
#include "l2/codec/VxlanMessage.h"
#include "l2/codec/VxlanUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"
#include "loftdb_common.pb.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_switching.pb.h"
#include "loftdb_system.pb.h"
#include "store/MsgDispatcher.h"
#include "l2/app/RecordingLink.h"
#include "support/LogCapture.h"

namespace L2Test {
namespace {

using namespace CfgAgent;
namespace lb = halden::zef::loftdb;
using Bytes = std::vector<uint8_t>;
using zef::test::LogCapture;

class RuntimeRecorder : public SCL2TableObserver {
public:
    struct Call {
        LoftDBUpdateList list;
        bool isFullSync;
    };
    void ProcessL2DesiredStateUpdate(const LoftDBUpdateList&, bool) override {}
    void ProcessL2RuntimeStateUpdate(const LoftDBUpdateList& list, bool isFullSync) override {
        calls.push_back({list, isFullSync});
    }
    std::vector<Call> calls;
};

std::string Id(uint64_t left, uint64_t right) {
    lb::UuidMsg uuid;
    uuid.set_left(left);
    uuid.set_right(right);
    return uuid.SerializeAsString();
}

const std::string kSwitch = Id(1, 1);
constexpr uint32_t kVni = 5001;
constexpr uint32_t kInstance = 7;

std::string SwitchConfig(const std::function<void(lb::LogSwitchConfigMsg&)>& set) {
    lb::LogSwitchConfigMsg config;
    set(config);
    return config.SerializeAsString();
}

std::string Vtep(uint32_t label, uint32_t ip, std::optional<uint32_t> encap = 4) {
    lb::LogSwitchVtepEntryMsg vtep;
    vtep.mutable_vtep_label()->set_label(label);
    vtep.set_vtep_ip(ip);
    vtep.set_vtep_mac(0x0050560000AAull);
    if (encap) {
        vtep.set_encap_type(*encap);
    }
    return vtep.SerializeAsString();
}

std::string Mac(uint64_t mac, uint32_t label, uint32_t ip) {
    lb::LogSwitchMacEntryMsg entry;
    entry.set_mac(mac);
    entry.mutable_vtep()->mutable_vtep_label()->set_label(label);
    entry.mutable_vtep()->set_vtep_ip(ip);
    return entry.SerializeAsString();
}

std::string Ip(uint32_t address, uint64_t mac) {
    lb::LogSwitchIpEntryMsg entry;
    entry.mutable_ip()->set_ipv4(address);
    entry.set_mac(mac);
    return entry.SerializeAsString();
}

LoftDBUpdateMsg FibObject(uint32_t op = OP_UPDATE) { return LoftDBUpdateMsg(LOG_SWITCH_FIB, kSwitch, op, {}, {}); }

LoftDBUpdateMsg Fib(uint32_t property, const std::string& value, uint32_t op = OP_UPDATE) {
    return LoftDBUpdateMsg(LOG_SWITCH_FIB, kSwitch, op, property, value);
}

uint16_t TypeOf(const Bytes& message) { return static_cast<uint16_t>((message[0] << 8) | message[1]); }

class L2AppTest : public ::testing::Test {
protected:
    void SetUp() override {
        _console = LogLevel::console.exchange(0);
        _app->Init({}, [this](DataplaneLink::DataCallback data, DataplaneLink::StatusCallback status) {
            _link = new RecordingLink(std::move(data), std::move(status));
            return zef::RefPtr<DataplaneLink>(_link);
        });
        _l2Table->RegisterRuntimeStateObserver(&_runtime);
    }
    void TearDown() override {
        _app->Stop();
        _l2Table->UnregisterRuntimeStateObserver(&_runtime);
        LogLevel::console.store(_console);
    }

    // The switch as the store configures it; the L2 table's first load.
    void Configure(uint32_t macLimit = 0) {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        LoftDBUpdateList config{
            LoftDBUpdateMsg(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE, 0, {}),
            LoftDBUpdateMsg(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE, LS_VNI,
                            SwitchConfig([](auto& c) { c.set_vni(kVni); }))};
        if (macLimit != 0) {
            config.push_back(LoftDBUpdateMsg(LOG_SWITCH_CONFIG, kSwitch, OP_UPDATE, LS_MAC_MANAGEMENT,
                                             SwitchConfig([&](auto& c) {
                                                 c.mutable_mac_management()->mutable_mac_learning()->set_limit(macLimit);
                                             })));
        }
        _configTable->UpdateDesiredState(config, true);
    }
    void LoadFib(LoftDBUpdateList rows) {
        rows.push_front(FibObject());
        _l2Table->UpdateDesiredState(rows, true);
    }
    void ConnectCcp() {
        lb::CcpSessionMsg session;
        session.mutable_id()->set_left(48);
        session.set_status(1);
        session.set_address_type(1);
        session.mutable_controller_address()->set_ipv4(0x0A000001);
        _app->UpdateDesiredState({LoftDBUpdateMsg(CCP_SESSION, Id(48, 1), OP_UPDATE, 0, session.SerializeAsString())},
                                 false);
    }

    void Kernel(const Bytes& message) { _app->OnData(message.data(), static_cast<int>(message.size())); }
    void LinkUp() { _app->OnLinkStatus(_link, DataplaneLink::LINK_UP); }
    // The ID of the last session the application opened.
    uint32_t OpenedSession() const {
        for (auto it = _link->sent.rbegin(); it != _link->sent.rend(); ++it) {
            VxlanSession session;
            if (VxlanControlCodec::ReadSession(*it, session).empty() && session.controlType == VXLAN_SESSION_OPEN) {
                return session.sessionId;
            }
        }
        ADD_FAILURE() << "no session opened";
        return 0;
    }
    // Link up, the kernel's ACK and, unless told otherwise, its Full Sync End.
    void Session(bool end = true) {
        LinkUp();
        const uint32_t id = OpenedSession();
        Kernel(VxlanControlCodec::BuildSession({VXLAN_SESSION_OPEN_ACK, id}));
        if (end) {
            Kernel(VxlanControlCodec::BuildSession({VXLAN_SESSION_FULL_SYNC_END, id}));
        }
    }
    void Join(uint32_t vni = kVni) { Kernel(VxlanControlCodec::BuildVniMembership({kInstance, vni, VXLAN_JOIN})); }
    // What went out since `from`.
    std::vector<Bytes> SentFrom(size_t from) const {
        return {_link->sent.begin() + static_cast<std::ptrdiff_t>(from), _link->sent.end()};
    }
    static std::vector<uint16_t> Types(const std::vector<Bytes>& messages) {
        std::vector<uint16_t> types;
        for (const Bytes& message : messages) {
            types.push_back(TypeOf(message));
        }
        return types;
    }
    // The data TLVs of every Update among `messages`, which they point into.
    static std::vector<Tlv> UpdateRow(const std::vector<Bytes>& messages) {
        std::vector<Tlv> row;
        for (const Bytes& message : messages) {
            std::vector<Tlv> some;
            if (TypeOf(message) == VXLAN_MSG_UPDATE && VxlanUpdateCodec::Read(message, some).empty()) {
                row.insert(row.end(), some.begin(), some.end());
            }
        }
        return row;
    }
    std::vector<VxlanConfigureItem> ConfigureItems(const std::vector<Bytes>& messages) {
        std::vector<VxlanConfigureItem> items;
        for (const Bytes& message : messages) {
            std::vector<VxlanConfigureItem> some;
            if (TypeOf(message) == VXLAN_MSG_CONFIGURE && VxlanConfigureCodec::Read(message, some).empty()) {
                items.insert(items.end(), some.begin(), some.end());
            }
        }
        return items;
    }

    int _console = 0;
    zef::RefPtr<StateCacheConfigTable> _configTable = zef::MakeRef<StateCacheConfigTable>();
    zef::RefPtr<StateCacheL2Table> _l2Table = zef::MakeRef<StateCacheL2Table>();
    zef::RefPtr<MsgDispatcher> _dispatcher = zef::MakeRef<MsgDispatcher>(std::make_shared<UpdateQueue>(UpdateQueue::kNoLimit, true, true));
    zef::RefPtr<L2App> _app = zef::MakeRef<L2App>(_configTable, _l2Table, _dispatcher);
    RecordingLink* _link = nullptr;
    RuntimeRecorder _runtime;
};

TEST_F(L2AppTest, LinkUpOpensASessionAndConfiguresTheModule) {
    LinkUp();
    ASSERT_EQ(_link->sent.size(), 2u);
    const uint32_t id = OpenedSession();
    const Bytes open{0x00, 0x0D, 0x00, 0x0D, 0x00, 0x01, 0x00, 0x09, 0x01, static_cast<uint8_t>(id >> 24),
                     static_cast<uint8_t>(id >> 16), static_cast<uint8_t>(id >> 8), static_cast<uint8_t>(id)};
    EXPECT_EQ(_link->sent[0], open);
    const Bytes configure{0x00, 0x02, 0x00, 0x28,                                // Configure, 40 bytes
                          0x00, 0x01, 0x00, 0x06, 0x0F, 0xF5,                    // max message length 4085
                          0x00, 0x03, 0x00, 0x06, 0x03, 0xE8,                    // period 1000 ms
                          0x00, 0x04, 0x00, 0x06, 0x00, 0x64,                    // 100 queries
                          0x00, 0x05, 0x00, 0x06, 0x00, 0x14,                    // 20 updates
                          0x00, 0x06, 0x00, 0x06, 0x02, 0xD0,                    // BTE ageing 720 s
                          0x00, 0x07, 0x00, 0x06, 0x02, 0x58};                   // ARP ageing 600 s
    EXPECT_EQ(_link->sent[1], configure);
}

TEST_F(L2AppTest, OutOfSyncOpensANewSessionAndTheOldOneIsSkipped) {
    LogCapture log;
    Session(false);
    const uint32_t first = OpenedSession();
    Kernel(VxlanControlCodec::BuildStateReport(false));
    EXPECT_EQ(_app->SessionId(), first);
    const size_t before = _link->sent.size();
    Kernel(VxlanControlCodec::BuildStateReport(true));
    ASSERT_GT(_link->sent.size(), before);
    VxlanSession reopened;
    ASSERT_EQ(VxlanControlCodec::ReadSession(_link->sent[before], reopened), "");
    EXPECT_EQ(reopened.controlType, VXLAN_SESSION_OPEN);
    EXPECT_EQ(reopened.sessionId, first + 1);
    EXPECT_EQ(_app->SessionStateValue(), L2App::SESSION_OPEN_SENT);

    Kernel(VxlanControlCodec::BuildSession({VXLAN_SESSION_OPEN_ACK, first}));
    EXPECT_EQ(_app->SessionStateValue(), L2App::SESSION_OPEN_SENT);
    EXPECT_TRUE(log.Has("L2App: skip messages with sessionID " + std::to_string(first) + ", current sessionID " +
                        std::to_string(first + 1)));
    Kernel(VxlanControlCodec::BuildSession({VXLAN_SESSION_OPEN_ACK, first + 1}));
    Kernel(VxlanControlCodec::BuildSession({VXLAN_SESSION_FULL_SYNC_END, first + 1}));
    EXPECT_EQ(_app->SessionStateValue(), L2App::SESSION_RUNNING);
}

TEST_F(L2AppTest, AJoinSendsMembershipLinkControllerRowsThenMacLimit) {
    Configure(4096);
    LoadFib({Fib(L2_VTEP, Vtep(11, 0x0A000002)), Fib(L2_VM_MAC, Mac(0x0050560000B1ull, 11, 0x0A000002)),
             Fib(L2_VM_IP, Ip(0xC0A80005, 0x0050560000B1ull))});
    ConnectCcp();
    Session();
    const size_t before = _link->sent.size();
    Join();
    const std::vector<Bytes> sent = SentFrom(before);
    ASSERT_EQ(Types(sent), (std::vector<uint16_t>{VXLAN_MSG_VNI_MEMBERSHIP, VXLAN_MSG_LINK_CHANGE,
                                                  VXLAN_MSG_CONTROLLER_IP, VXLAN_MSG_UPDATE, VXLAN_MSG_CONFIGURE}));
    VxlanLinkChange link;
    ASSERT_EQ(VxlanControlCodec::ReadLinkChange(sent[1], link), "");
    EXPECT_EQ(link, (VxlanLinkChange{kInstance, VXLAN_LINK_UP, {{kVni, 1, 1}}}));
    VxlanControllerIp controller;
    ASSERT_EQ(VxlanControlCodec::ReadControllerIp(sent[2], controller), "");
    EXPECT_EQ(controller.ipv4, 0x0A000001u);
    // The rows in the table's order, each of the VNI.
    const std::vector<Tlv> row = UpdateRow(sent);
    ASSERT_EQ(row.size(), 3u);
    std::vector<uint16_t> dataTypes;
    for (const Tlv& data : row) {
        dataTypes.push_back(data.Type());
    }
    EXPECT_EQ(dataTypes, (std::vector<uint16_t>{VXLAN_DATATYPE_IPv4, VXLAN_DATATYPE_VMMAC, VXLAN_DATATYPE_VTEP_MBR}));
    VxlanMacUpdate mac;
    ASSERT_EQ(VxlanMacUpdateCodec::Read(row[1], mac), "");
    EXPECT_EQ(mac.vni, kVni);
    EXPECT_EQ(mac.switchId, kInstance);
    ASSERT_EQ(mac.added.size(), 1u);
    EXPECT_EQ(mac.added[0].vtepLabel, 11u);
    const std::vector<VxlanConfigureItem> items = ConfigureItems({sent.back()});
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].type, VXLAN_CFG_MAC_LIMIT);
    EXPECT_EQ(items[0].macLimit, 4096u);
}

TEST_F(L2AppTest, MacLimitOutsideItsBoundsSendsNothing) {
    for (const auto& [limit, sent] : {std::pair{2047u, false}, {2048u, true}, {8192u, true}, {8193u, false}}) {
        SCOPED_TRACE(limit);
        Configure(limit);
        Session();
        const size_t before = _link->sent.size();
        Join();
        const std::vector<VxlanConfigureItem> items = ConfigureItems(SentFrom(before));
        EXPECT_EQ(!items.empty(), sent);
        if (sent) {
            EXPECT_EQ(items[0].macLimit, limit);
        }
        Kernel(VxlanControlCodec::BuildVniMembership({kInstance, kVni, VXLAN_LEAVE}));
    }
}

TEST_F(L2AppTest, NothingGoesToAVniTheKernelNeverJoined) {
    LogCapture log;
    Configure();
    LoadFib({});
    Session();
    const size_t before = _link->sent.size();
    {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        _l2Table->UpdateDesiredState({Fib(L2_VM_MAC, Mac(0x0050560000B1ull, 11, 0x0A000002))}, false);
    }
    EXPECT_EQ(_link->sent.size(), before);
    EXPECT_TRUE(log.Has("L2App: VNI 5001 doesn't receive Join from datapath"));

    VxlanMacUpdate learned{kInstance, 6001, {}, {VxlanMacEntry{}}};
    Bytes tlv;
    ASSERT_TRUE(VxlanMacUpdateCodec::Build(learned, tlv));
    Bytes update;
    ASSERT_TRUE(VxlanUpdateCodec::Build({tlv}, update));
    const size_t calls = _runtime.calls.size();
    Kernel(update);
    EXPECT_EQ(_runtime.calls.size(), calls);
    EXPECT_TRUE(log.Has("L2App: ignore VM MAC update due to no VNI join L2App"));
}

TEST_F(L2AppTest, WhatTheKernelLearnsDuringItsFullSyncWaitsForItsEnd) {
    Configure();
    LoadFib({});
    Session(false);
    Join();
    VxlanMacEntry entry;
    entry.vmMac = {0x00, 0x50, 0x56, 0x00, 0x00, 0xC1};
    entry.vtepLabel = 21;
    entry.vtepIp = 0x0A000009;
    Bytes tlv;
    ASSERT_TRUE(VxlanMacUpdateCodec::Build({kInstance, kVni, {}, {entry}}, tlv));
    Bytes update;
    ASSERT_TRUE(VxlanUpdateCodec::Build({tlv}, update));
    Kernel(update);
    EXPECT_TRUE(_runtime.calls.empty());
    EXPECT_EQ(_app->QueuedMessageCount(), 2u);

    Kernel(VxlanControlCodec::BuildSession({VXLAN_SESSION_FULL_SYNC_END, OpenedSession()}));
    ASSERT_FALSE(_runtime.calls.empty());
    const RuntimeRecorder::Call& call = _runtime.calls.front();
    EXPECT_TRUE(call.isFullSync);
    ASSERT_EQ(call.list.size(), 2u);
    EXPECT_EQ(call.list.front(), LoftDBUpdateMsg(LOG_SWITCH_STATE, kSwitch, OP_UPDATE, 0, {}));
    lb::LogSwitchMacEntryMsg mac;
    ASSERT_TRUE(mac.ParseFromString(call.list.back().propertyValue));
    EXPECT_EQ(call.list.back().propertyType, static_cast<uint32_t>(L2_VM_MAC));
    EXPECT_EQ(mac.mac(), 0x0050560000C1ull);
    EXPECT_EQ(mac.vtep().vtep_label().label(), 21u);
    EXPECT_EQ(_app->QueuedMessageCount(), 0u);

    // After the full sync a learned MAC goes at once.
    entry.vmMac[5] = 0xC2;
    ASSERT_TRUE(VxlanMacUpdateCodec::Build({kInstance, kVni, {}, {entry}}, tlv));
    ASSERT_TRUE(VxlanUpdateCodec::Build({tlv}, update));
    const size_t calls = _runtime.calls.size();
    Kernel(update);
    ASSERT_EQ(_runtime.calls.size(), calls + 1);
    EXPECT_FALSE(_runtime.calls.back().isFullSync);
}

TEST_F(L2AppTest, AVtepDeletedAndAddedInOneBatchReachesTheKernelAsTheAdd) {
    Configure();
    LoadFib({});
    Session();
    Join();
    const size_t before = _link->sent.size();
    {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        _app->ProcessL2DesiredStateUpdate(
            {Fib(L2_VTEP, Vtep(11, 0x0A000002), OP_DELETE), Fib(L2_VTEP, Vtep(11, 0x0A000002, 1))}, false);
    }
    const std::vector<Bytes> sent = SentFrom(before);
    const std::vector<Tlv> row = UpdateRow(sent);
    ASSERT_EQ(row.size(), 1u);
    VxlanVtepUpdate vteps;
    ASSERT_EQ(VxlanVtepUpdateCodec::Read(row[0], vteps), "");
    EXPECT_TRUE(vteps.removed.empty());
    ASSERT_EQ(vteps.added.size(), 1u);
    EXPECT_EQ(vteps.added[0].encapType, VXLAN_ENCAP_VXSTT);
}

TEST_F(L2AppTest, StoreEncapsMapToTheKernelsAndAnUnknownOneIsRefused) {
    LogCapture log;
    Configure();
    LoadFib({});
    Session();
    Join();
    const std::pair<std::optional<uint32_t>, uint8_t> mapped[] = {
        {1, VXLAN_ENCAP_VXSTT}, {3, VXLAN_ENCAP_GENEVE}, {std::nullopt, VXLAN_ENCAP_GENEVE},
        {4, VXLAN_ENCAP_VXLAN}, {5, VXLAN_ENCAP_VXLAN}};
    uint32_t label = 30;
    for (const auto& [stored, wire] : mapped) {
        const size_t before = _link->sent.size();
        ++label;
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        _app->ProcessL2DesiredStateUpdate({Fib(L2_VTEP, Vtep(label, 0x0A000000 + label, stored))}, false);
        const std::vector<Bytes> sent = SentFrom(before);
        const std::vector<Tlv> row = UpdateRow(sent);
        ASSERT_EQ(row.size(), 1u);
        VxlanVtepUpdate vteps;
        ASSERT_EQ(VxlanVtepUpdateCodec::Read(row[0], vteps), "");
        EXPECT_EQ(vteps.added.at(0).encapType, wire);
    }
    const size_t before = _link->sent.size();
    {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        _app->ProcessL2DesiredStateUpdate({Fib(L2_VTEP, Vtep(40, 0x0A000028, 2))}, false);
    }
    EXPECT_EQ(_link->sent.size(), before);
    EXPECT_TRUE(log.Has("Invalid VTEP encap type 2, IP: 10.0.0.40, label: 40"));
}

// What a row of data TLVs says of VTEP groups: "group L", "group L deleted",
// "switch uses L", "switch drops L", in order.
std::vector<std::string> GroupEvents(const std::vector<Tlv>& row) {
    std::vector<std::string> events;
    for (const Tlv& data : row) {
        VxlanGroup group;
        VxlanGroupAssociation association;
        if (VxlanGroupCodec::Read(data, group).empty()) {
            events.push_back("group " + std::to_string(group.label) + (group.deleted ? " deleted" : ""));
        } else if (VxlanGroupAssociationCodec::Read(data, association).empty()) {
            events.push_back(std::string(association.deleted ? "switch drops " : "switch uses ") +
                             std::to_string(association.label));
        }
    }
    return events;
}

TEST_F(L2AppTest, AGroupOfTransportNodesDeletedInUseStaysUntilItsLastUserGoes) {
    constexpr uint32_t kLabel = 0x40001;
    lb::VtepGroupMsg group;
    group.set_id(std::to_string(kLabel));
    group.set_label(kLabel);
    group.set_type(3);
    *group.add_vteps() = [] {
        lb::LogSwitchVtepEntryMsg vtep;
        vtep.mutable_vtep_label()->set_label(61);
        vtep.set_vtep_ip(0x0A000061);
        vtep.set_encap_type(3);
        return vtep;
    }();
    lb::VtepLabelMsg label;
    label.set_label(kLabel);
    const LoftDBUpdateMsg groupRow(L2_VTEP_GROUP_OBJECT, std::to_string(kLabel), OP_UPDATE, L2_VTEP_GROUP,
                                   group.SerializeAsString());
    Configure();
    LoadFib({});
    Session();
    Join();
    auto apply = [this](LoftDBUpdateList records) {
        const size_t before = _link->sent.size();
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        _app->ProcessL2DesiredStateUpdate(records, false);
        return SentFrom(before);
    };
    std::vector<Bytes> sent = apply({groupRow});
    EXPECT_TRUE(sent.empty()) << "an unused group stays out of the kernel";

    sent = apply({Fib(L2_VTEP_GROUP_LABEL, label.SerializeAsString())});
    EXPECT_EQ(GroupEvents(UpdateRow(sent)), (std::vector<std::string>{"group 262145", "switch uses 262145"}));

    LoftDBUpdateMsg deleted = groupRow;
    deleted.operation = OP_DELETE;
    sent = apply({deleted});
    EXPECT_TRUE(sent.empty()) << "in use, it stays";
    ASSERT_NE(_app->VtepGroups().Find(kLabel), nullptr);

    sent = apply({Fib(L2_VTEP_GROUP_LABEL, label.SerializeAsString(), OP_DELETE)});
    EXPECT_EQ(GroupEvents(UpdateRow(sent)),
              (std::vector<std::string>{"switch drops 262145", "group 262145 deleted"}));
    EXPECT_EQ(_app->VtepGroups().Find(kLabel), nullptr);
}

TEST_F(L2AppTest, AVniLeaveTakesItsSwitchsRuntimeRowsAndHeldUpdates) {
    Configure();
    LoadFib({});
    Session();
    Join();
    VxlanMacEntry entry;
    entry.vmMac = {0x00, 0x50, 0x56, 0x00, 0x00, 0xD1};
    Bytes tlv;
    ASSERT_TRUE(VxlanMacUpdateCodec::Build({kInstance, kVni, {}, {entry}}, tlv));
    Bytes update;
    ASSERT_TRUE(VxlanUpdateCodec::Build({tlv}, update));
    Kernel(update);
    std::vector<L2Entry> rows;
    ASSERT_TRUE(_l2Table->GetRuntimeObject(kSwitch, rows));
    EXPECT_EQ(rows.size(), 2u);

    // A second VNI whose switch is unknown keeps what it learns queued.
    Join(6001);
    ASSERT_TRUE(VxlanMacUpdateCodec::Build({kInstance, 6001, {}, {entry}}, tlv));
    ASSERT_TRUE(VxlanUpdateCodec::Build({tlv}, update));
    Kernel(update);
    EXPECT_EQ(_app->QueuedMessageCount(), 2u);

    Kernel(VxlanControlCodec::BuildVniMembership({kInstance, kVni, VXLAN_LEAVE}));
    Kernel(VxlanControlCodec::BuildVniMembership({kInstance, 6001, VXLAN_LEAVE}));
    EXPECT_FALSE(_l2Table->GetRuntimeObject(kSwitch, rows));
    EXPECT_EQ(_app->QueuedMessageCount(), 0u);
    EXPECT_TRUE(_app->VniMap().empty());
}

}  // namespace
}  // namespace L2Test
