#include "port/session/ConfigApp.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <boost/property_tree/ptree.hpp>
#include <condition_variable>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <mutex>

#include "port/FakeLoftdbClient.h"
#include "dplink/LinkTestPeer.h"
#include "cache/SCConfigTableObserver.h"
#include "cache/StateCacheConfigTable.h"
#include "frame/AgentLock.h"
#include "host/HostPaths.h"
#include "frame/WorkGroup.h"
#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "loftdb_runtime.pb.h"
#include "port/conversion/DVSPropConvertor.h"
#include "dplink/SessionIdSeed.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpNotificationCodec.h"
#include "port/kcp/KcpSessionCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUplinkUpdateCodec.h"
#include "port/kcp/KcpVifUpdateCodec.h"
#include "port/swsec/SwsecCodec.h"
#include "store/MsgDispatcher.h"
#include "zef/metrics/MetricsRegistry.h"

namespace PortTest {
namespace {

using namespace std::chrono_literals;
using namespace CfgAgent;
using Message = LinkTestPeer::Message;
namespace lb = halden::zef::loftdb;

constexpr auto kBound = 20s;
constexpr const char* kPortUuid = "6f0a1c2e-0000-4000-8000-00000000000a";

// What the config table passes on of the runtime state it is given.
class RuntimeRecorder : public SCConfigTableObserver {
public:
    struct Batch {
        LoftDBUpdateList list;
        bool isFullSync;
    };
    void ProcessConfigDesiredStateUpdate(const LoftDBUpdateList&, bool) override {}
    void ProcessConfigRuntimeStateUpdate(const LoftDBUpdateList& list, bool isFullSync) override {
        std::lock_guard<std::mutex> lock(_mutex);
        _batches.push_back({list, isFullSync});
        _changed.notify_all();
    }
    // The batch at `index`, once it came.
    std::optional<Batch> Wait(size_t index) {
        std::unique_lock<std::mutex> lock(_mutex);
        if (!_changed.wait_for(lock, kBound, [&] { return _batches.size() > index; })) {
            return std::nullopt;
        }
        return _batches[index];
    }
    size_t Count() {
        std::lock_guard<std::mutex> lock(_mutex);
        return _batches.size();
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<Batch> _batches;
};

KcpVifRecord Vif(const std::string& id, std::optional<uint8_t> status = KCP_VIF_CONNECT) {
    KcpVifRecord record;
    record.vifId = id;
    record.portId = kPortUuid;
    record.switchId = "hs-1";
    record.vifType = KCP_VIF_VNIC;
    record.status = status;
    return record;
}

Message VifMessage(uint8_t operation, std::vector<KcpVifRecord> records, bool more = false) {
    KcpVifUpdate update;
    update.operation = operation;
    update.records = std::move(records);
    Message message;
    EXPECT_TRUE(KcpVifUpdateCodec::BuildMessage(update, more, message));
    return message;
}

Message OutOfSync() {
    KcpNotification notification;
    notification.type = KCP_NOTIFY_DP_STATUS;
    notification.dpStatus = KCP_DP_OUT_OF_SYNC;
    Message message;
    KcpNotificationCodec::Build({notification}, message);
    return message;
}

const LoftDBUpdateMsg* Find(const LoftDBUpdateList& list, uint32_t objectType,
                            const std::string& id, uint32_t propertyType, uint32_t operation) {
    for (const LoftDBUpdateMsg& record : list) {
        if (record.objectType == objectType && record.objectId == id &&
            record.propertyType == propertyType && record.operation == operation) {
            return &record;
        }
    }
    return nullptr;
}

class ConfigAppTest : public ::testing::Test {
protected:
    void SetUp() override {
        _savedConsole = LogLevel::console.exchange(0);
        char root[] = "/tmp/cfgappXXXXXX";
        ASSERT_NE(mkdtemp(root), nullptr);
        _root = root;
        setenv(HostPaths::kRootVariable, _root.c_str(), 1);
        WorkGroup::SetThreadCounts({1, 8});
        WorkGroup::Start(_registry);
        _kernel = std::make_unique<LinkTestPeer>(LinkPath("kcp_test"));
        _swsec = std::make_unique<LinkTestPeer>(LinkPath("swsec_test"));
        _table = zef::MakeRef<StateCacheConfigTable>();
        _table->RegisterRuntimeStateObserver(VIF_STATE, &_runtime);
        _table->RegisterRuntimeStateObserver(HOTMOVE_STATUS, &_runtime);
        _dispatcher = zef::MakeRef<MsgDispatcher>(std::make_shared<UpdateQueue>(UpdateQueue::kNoLimit, true, true));
        _app = zef::MakeRef<ConfigApp>(_table, _dispatcher, _store);
        boost::property_tree::ptree config;
        config.put("taklink.path", "kcp_test");
        config.put("features.ipdisc.taklink.path", "swsec_test");
        ASSERT_TRUE(_app->Init(config));
        _app->Start();
    }

    void TearDown() override {
        _app->Stop();
        _app.reset();
        _kernel.reset();
        _swsec.reset();
        WorkGroup::Stop();
        unsetenv(HostPaths::kRootVariable);
        std::error_code ignored;
        std::filesystem::remove_all(_root, ignored);
        LogLevel::console.store(_savedConsole);
    }

    static std::string LinkPath(const std::string& name) {
        return HostPaths::Resolve("/var/run/halden/dplink/") + name;
    }

    // The ID of the agent's `index`-th Session Open.
    uint32_t OpenedSession(size_t index) {
        uint32_t id = 0;
        const bool found = WaitUntil([&] {
            size_t seen = 0;
            for (const Message& message : _kernel->Messages()) {
                KcpSessionControl control;
                if (KcpSessionCodec::Read(message, control) && control.controlType == KCP_SESSION_OPEN &&
                    seen++ == index) {
                    id = control.sessionId;
                    return true;
                }
            }
            return false;
        });
        EXPECT_TRUE(found) << "no Session Open number " << index;
        return id;
    }

    // ACK, the report, the end; returns the runtime batch the end produced.
    RuntimeRecorder::Batch Handshake(const std::vector<Message>& report, size_t session = 0) {
        const uint32_t id = OpenedSession(session);
        const size_t before = _runtime.Count();
        Send(KcpSessionCodec::Build(KCP_SESSION_OPEN_ACK, id));
        for (const Message& message : report) {
            Send(message);
        }
        Send(KcpSessionCodec::Build(KCP_SESSION_FULL_SYNC_END, id));
        std::optional<RuntimeRecorder::Batch> batch = _runtime.Wait(before);
        EXPECT_TRUE(batch.has_value());
        return batch.value_or(RuntimeRecorder::Batch{});
    }

    void Send(const Message& message) { ASSERT_TRUE(_kernel->Send(message)); }

    template <typename Pred>
    static bool WaitUntil(Pred pred) {
        const auto deadline = std::chrono::steady_clock::now() + kBound;
        while (!pred()) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            std::this_thread::sleep_for(2ms);
        }
        return true;
    }

    FakeLoftdbClient _store;
    RuntimeRecorder _runtime;
    zef::RefPtr<StateCacheConfigTable> _table;
    zef::RefPtr<MsgDispatcher> _dispatcher;
    zef::RefPtr<ConfigApp> _app;
    std::unique_ptr<LinkTestPeer> _kernel;
    std::unique_ptr<LinkTestPeer> _swsec;
    std::string _root;

private:
    zef::metrics::MetricsRegistry _registry;
    int _savedConsole = 0;
};

TEST(ConfigAppSessionId, SeedIsTheMicrosecondsCutTo32BitsTimesTheGoldenRatio) {
    EXPECT_EQ(SessionIdSeed::Of(1), 0x9E3779B1u);
    // The cut comes before the product: the high word of the time never counts.
    EXPECT_EQ(SessionIdSeed::Of((uint64_t{7} << 32) + 3), 3u * 0x9E3779B1u);
    EXPECT_EQ(SessionIdSeed::Of(0), 0u);
}

TEST_F(ConfigAppTest, ReportedVifsBecomeOneFullSyncBatchAfterTheEnd) {
    KcpVifRecord withBinding = Vif("vif-b");
    KcpDiscoveredBinding binding;
    binding.ip = {10, 0, 0, 7};
    binding.mac = {0, 0x50, 0x56, 1, 2, 3};
    binding.vlan = 12;
    binding.method = 1;
    withBinding.bindings.push_back(binding);
    KcpVifRecord withMac = Vif("vif-a");
    withMac.macs.push_back({0x02, 0, 0, 0, 0, 0x0a});

    RuntimeRecorder::Batch batch =
        Handshake({VifMessage(KCP_OP_UPDATE, {withMac}), VifMessage(KCP_OP_UPDATE, {withBinding})});

    EXPECT_TRUE(batch.isFullSync);
    EXPECT_NE(Find(batch.list, VIF_STATE, "vif-a", INVALID_PROPERTY, OP_UPDATE), nullptr);
    const LoftDBUpdateMsg* mac = Find(batch.list, VIF_STATE, "vif-a", VIF_MAC, OP_UPDATE);
    ASSERT_NE(mac, nullptr);
    lb::VifStateMsg macs;
    ASSERT_TRUE(macs.ParseFromString(mac->propertyValue));
    ASSERT_EQ(macs.macs_size(), 1);
    EXPECT_EQ(macs.macs(0).mac(), 0x02000000000aULL);
    // The connection and the kernel's binding of one VIF leave as one record.
    const LoftDBUpdateMsg* merged =
        Find(batch.list, VIF_STATE, "vif-b", VIF_IP_DISCOVEREDBINDING, OP_UPDATE);
    ASSERT_NE(merged, nullptr);
    lb::VifStateMsg state;
    ASSERT_TRUE(state.ParseFromString(merged->propertyValue));
    ASSERT_EQ(state.discovered_bindings_size(), 1);
    EXPECT_EQ(state.discovered_bindings(0).ip().ipv4(), 0x0a000007u);
    EXPECT_EQ(state.discovered_bindings(0).mac(), 0x005056010203ULL);
    EXPECT_EQ(state.discovered_bindings(0).vlan(), 12u);
    EXPECT_EQ(state.discovered_bindings(0).source(), 3u);
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    EXPECT_TRUE(_app->IpDisFullSyncDone());
}

TEST_F(ConfigAppTest, UpdatesBeforeTheAckAndMessagesOfOtherSessionsAreDropped) {
    const uint32_t id = OpenedSession(0);
    Send(VifMessage(KCP_OP_UPDATE, {Vif("early")}));
    Send(KcpSessionCodec::Build(KCP_SESSION_OPEN_ACK, id + 7));
    Send(KcpSessionCodec::Build(KCP_SESSION_FULL_SYNC_END, id + 7));
    RuntimeRecorder::Batch batch = Handshake({VifMessage(KCP_OP_UPDATE, {Vif("on-time")})});
    EXPECT_EQ(Find(batch.list, VIF_STATE, "early", INVALID_PROPERTY, OP_UPDATE), nullptr);
    EXPECT_NE(Find(batch.list, VIF_STATE, "on-time", INVALID_PROPERTY, OP_UPDATE), nullptr);
}

TEST_F(ConfigAppTest, OutOfSyncOpensANewSessionAndTheOldOneIsSkipped) {
    Handshake({});
    const uint32_t first = OpenedSession(0);
    Send(OutOfSync());
    const uint32_t second = OpenedSession(1);
    EXPECT_EQ(second, first + 1);
    Send(KcpSessionCodec::Build(KCP_SESSION_OPEN_ACK, first));
    Send(KcpSessionCodec::Build(KCP_SESSION_FULL_SYNC_END, first));
    Send(OutOfSync());
    // Each OutOfSync starts its own session, and only the newest counts.
    const uint32_t third = OpenedSession(2);
    EXPECT_EQ(third, second + 1);
    EXPECT_FALSE(_app->DpFullSyncDone());
    EXPECT_EQ(_app->SessionStateValue(), ConfigApp::SESSION_OPEN_SENT);
    // Only the process's first runtime load reaches observers as a full sync.
    RuntimeRecorder::Batch batch = Handshake({VifMessage(KCP_OP_UPDATE, {Vif("again")})}, 2);
    EXPECT_NE(Find(batch.list, VIF_STATE, "again", INVALID_PROPERTY, OP_UPDATE), nullptr);
    EXPECT_EQ(_app->SessionStateValue(), ConfigApp::SESSION_REPORTED);
}

TEST_F(ConfigAppTest, ConnectsAndDisconnectsAfterTheReportAreWrittenAtOnce) {
    Handshake({});
    Send(VifMessage(KCP_OP_UPDATE, {Vif("late")}));
    std::optional<RuntimeRecorder::Batch> connect = _runtime.Wait(1);
    ASSERT_TRUE(connect);
    EXPECT_FALSE(connect->isFullSync);
    EXPECT_NE(Find(connect->list, VIF_STATE, "late", INVALID_PROPERTY, OP_UPDATE), nullptr);

    // A delete that still carries properties is an update of them.
    KcpVifRecord withMac = Vif("late", std::nullopt);
    withMac.macs.push_back({2, 0, 0, 0, 0, 1});
    Send(VifMessage(KCP_OP_DELETE, {withMac}));
    std::optional<RuntimeRecorder::Batch> mac = _runtime.Wait(2);
    ASSERT_TRUE(mac);
    EXPECT_NE(Find(mac->list, VIF_STATE, "late", VIF_MAC, OP_UPDATE), nullptr);

    Send(VifMessage(KCP_OP_DELETE, {Vif("late", std::nullopt)}));
    std::optional<RuntimeRecorder::Batch> gone = _runtime.Wait(3);
    ASSERT_TRUE(gone);
    EXPECT_NE(Find(gone->list, VIF_STATE, "late", INVALID_PROPERTY, OP_DELETE), nullptr);
}

TEST_F(ConfigAppTest, HotmoveStatusLastsUntilTheVifReconnects) {
    Handshake({VifMessage(KCP_OP_UPDATE, {Vif("moving")})});
    KcpVifRecord leaving = Vif("moving", std::nullopt);
    leaving.hotmove = 1;
    Send(VifMessage(KCP_OP_DELETE, {leaving}));
    std::optional<RuntimeRecorder::Batch> left = _runtime.Wait(1);
    ASSERT_TRUE(left);
    EXPECT_NE(Find(left->list, HOTMOVE_STATUS, "moving", INVALID_PROPERTY, OP_UPDATE), nullptr);
    EXPECT_NE(Find(left->list, VIF_STATE, "moving", INVALID_PROPERTY, OP_DELETE), nullptr);
    EXPECT_TRUE(WaitUntil([&] {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        return _app->PendingHotmoveStatus() == std::vector<std::string>{"moving"};
    }));

    Send(VifMessage(KCP_OP_UPDATE, {Vif("moving")}));
    std::optional<RuntimeRecorder::Batch> back = _runtime.Wait(2);
    ASSERT_TRUE(back);
    EXPECT_NE(Find(back->list, VIF_STATE, "moving", INVALID_PROPERTY, OP_UPDATE), nullptr);
    EXPECT_NE(Find(back->list, HOTMOVE_STATUS, "moving", INVALID_PROPERTY, OP_DELETE), nullptr);
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    EXPECT_TRUE(_app->PendingHotmoveStatus().empty());
}

TEST_F(ConfigAppTest, SplitUpdateArrivesAsOneProperty) {
    Handshake({});
    KcpVifRecord first = Vif("split", std::nullopt);
    first.macs = {{2, 0, 0, 0, 0, 1}, {2, 0, 0, 0, 0, 2}};
    KcpVifRecord second = Vif("split", std::nullopt);
    second.macs = {{2, 0, 0, 0, 0, 3}};
    Send(VifMessage(KCP_OP_UPDATE, {first}, true));
    Send(VifMessage(KCP_OP_UPDATE, {second}, false));
    std::optional<RuntimeRecorder::Batch> batch = _runtime.Wait(1);
    ASSERT_TRUE(batch);
    const LoftDBUpdateMsg* mac = Find(batch->list, VIF_STATE, "split", VIF_MAC, OP_UPDATE);
    ASSERT_NE(mac, nullptr);
    lb::VifStateMsg macs;
    ASSERT_TRUE(macs.ParseFromString(mac->propertyValue));
    ASSERT_EQ(macs.macs_size(), 3);
    EXPECT_EQ(macs.macs(2).mac(), 0x020000000003ULL);
}

TEST_F(ConfigAppTest, AStrayPartNeitherStartsASequenceNorSwallowsARealUpdate) {
    Handshake({});
    // An Update of six bytes whose flag carries the more bit.
    Send(Message{0x00, 0x02, 0x00, 0x06, 0xb2, 0x36});
    Send(VifMessage(KCP_OP_UPDATE, {Vif("after-stray")}));
    std::optional<RuntimeRecorder::Batch> batch = _runtime.Wait(1);
    ASSERT_TRUE(batch);
    EXPECT_NE(Find(batch->list, VIF_STATE, "after-stray", INVALID_PROPERTY, OP_UPDATE), nullptr);

    // A part of another VIF that no last part ends does not take the next one in.
    KcpVifRecord orphan = Vif("orphan", std::nullopt);
    orphan.macs = {{2, 0, 0, 0, 0, 9}};
    Send(VifMessage(KCP_OP_UPDATE, {orphan}, true));
    Send(VifMessage(KCP_OP_UPDATE, {Vif("next")}));
    batch = _runtime.Wait(2);
    ASSERT_TRUE(batch);
    EXPECT_NE(Find(batch->list, VIF_STATE, "next", INVALID_PROPERTY, OP_UPDATE), nullptr);
    EXPECT_EQ(Find(batch->list, VIF_STATE, "orphan", VIF_MAC, OP_UPDATE), nullptr);
}

TEST_F(ConfigAppTest, CradleAndContainerRecordsWithoutBindingsLeaveNoRuntimeState) {
    KcpVifRecord container = Vif("container-1");
    container.vifType = KCP_VIF_CONTAINER;
    RuntimeRecorder::Batch batch = Handshake({VifMessage(KCP_OP_UPDATE, {Vif("cradleTaknic0"), container, Vif("vm")})});
    EXPECT_EQ(Find(batch.list, VIF_STATE, "cradleTaknic0", INVALID_PROPERTY, OP_UPDATE), nullptr);
    EXPECT_EQ(Find(batch.list, VIF_STATE, "container-1", INVALID_PROPERTY, OP_UPDATE), nullptr);
    EXPECT_NE(Find(batch.list, VIF_STATE, "vm", INVALID_PROPERTY, OP_UPDATE), nullptr);
}

TEST_F(ConfigAppTest, UplinksReportedInTheSessionReplaceTheKnownOnes) {
    KcpUplinkUpdate update;
    update.operation = KCP_OP_UPDATE;
    update.records.push_back({"uplink-port", "hs-1", "vmnic0", "uplink1"});
    Message message;
    ASSERT_TRUE(KcpUplinkUpdateCodec::BuildMessage(update, false, message));
    Handshake({message});
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    const std::vector<UplinkInfo> uplinks = _app->Convertor()->Uplinks();
    ASSERT_EQ(uplinks.size(), 1u);
    EXPECT_EQ(uplinks[0], (UplinkInfo{"vmnic0", "uplink1", "uplink-port", "hs-1"}));
}

// ContainerList Updates (each full sync opens with one) the kernel received
// before its `sessions`-th Session Open, or in all when `sessions` is 0.
long ContainerListsBefore(const std::vector<Message>& messages, int sessions = 0) {
    long count = 0;
    int opens = 0;
    for (const Message& message : messages) {
        KcpSessionControl control;
        if (KcpSessionCodec::Read(message, control) && control.controlType == KCP_SESSION_OPEN &&
            ++opens == sessions) {
            break;
        }
        auto data = KcpMessage::FirstData(message);
        count += KcpMessage::HasType(message, KCP_MSG_UPDATE) && data &&
                 data->Type() == KCP_CONTAINER_LIST_UPDATE;
    }
    return count;
}

TEST_F(ConfigAppTest, AnEmptyFirstLoadDefersTheKernelFullSyncToTheFirstBatchWithObjects) {
    Handshake({});
    _table->UpdateDesiredState({}, true);
    // A port's block key comes after whatever the empty load sent.
    Send(VifMessage(KCP_OP_UPDATE, {Vif("marker")}));
    ASSERT_TRUE(WaitUntil([&] {
        const std::vector<Message> messages = _kernel->Messages();
        return std::any_of(messages.begin(), messages.end(), [](const Message& message) {
            auto data = KcpMessage::FirstData(message);
            return data && data->Type() == KCP_PORT_PROPERTY_UPDATE;
        });
    }));
    EXPECT_EQ(ContainerListsBefore(_kernel->Messages()), 0) << "an empty load starts nothing";
    _table->UpdateDesiredState({LoftDBUpdateMsg(LOG_SWITCH_CONFIG, "ls-1", OP_UPDATE, {}, {})}, false);
    EXPECT_TRUE(WaitUntil([&] { return ContainerListsBefore(_kernel->Messages()) == 1; }));
    _table->UpdateDesiredState({LoftDBUpdateMsg(LOG_SWITCH_CONFIG, "ls-2", OP_UPDATE, {}, {})}, false);
    // The link keeps order: what the batches sent is in before the next Open.
    Send(OutOfSync());
    OpenedSession(1);
    EXPECT_EQ(ContainerListsBefore(_kernel->Messages(), 2), 1)
        << "neither the empty load, the link's first session nor a later delta starts one";
    EXPECT_TRUE(WaitUntil([&] { return ContainerListsBefore(_kernel->Messages()) == 2; }))
        << "a new kernel session does";
}

TEST_F(ConfigAppTest, SolicitationIsAnsweredWithTheToolsBindingsOfTheStore) {
    Handshake({VifMessage(KCP_OP_UPDATE, {Vif("vif-t")})});
    lb::DaVifMsg daVif;
    daVif.set_id("vif-t");
    auto* good = daVif.add_bindings();
    good->mutable_ip_address()->set_ipv4(0xc0a80005);
    good->set_mac(0x005056aabbccULL);
    daVif.add_bindings()->mutable_ip_address()->set_ipv4(0xc0a80006);  // no MAC: not sent
    _store.objects.push_back({DA_VIF_OBJECT, "vif-t", daVif.SerializeAsString()});
    ASSERT_TRUE(_swsec->WaitForAccepts(1, kBound));

    ASSERT_TRUE(_swsec->Send(SwsecCodec::BuildSolicitation("nobody")));
    ASSERT_TRUE(_swsec->Send(SwsecCodec::BuildSolicitation("vif-t")));
    ASSERT_TRUE(_swsec->WaitForMessages(1, kBound));
    SwsecBindings bindings;
    ASSERT_EQ(SwsecCodec::ReadBindings(_swsec->Messages()[0], bindings), "");
    EXPECT_EQ(bindings.portId, kPortUuid);
    EXPECT_EQ(bindings.switchId, "hs-1");
    ASSERT_EQ(bindings.entries.size(), 1u);
    EXPECT_TRUE(bindings.entries[0].ipv4);
    EXPECT_EQ(bindings.entries[0].ip[3], 5);
    EXPECT_EQ(bindings.entries[0].mac[5], 0xcc);
    EXPECT_EQ(_store.reads, (std::vector<std::string>{"nobody", "vif-t"}));
    EXPECT_EQ(_swsec->Messages().size(), 1u);
}

// A guest's bindings whose object vanished while the store was away leave
// the switch security module at the next full load.
TEST_F(ConfigAppTest, ToolsBindingsGoneFromTheFullLoadAreWithdrawn) {
    Handshake({VifMessage(KCP_OP_UPDATE, {Vif("vif-t")})});
    ASSERT_TRUE(_swsec->WaitForAccepts(1, kBound));
    lb::DaVifMsg daVif;
    daVif.set_id("vif-t");
    auto* binding = daVif.add_bindings();
    binding->mutable_ip_address()->set_ipv4(0xc0a80005);
    binding->set_mac(0x005056aabbccULL);
    _app->UpdateDesiredState({LoftDBUpdateMsg(DA_VIF_OBJECT, "vif-t", OP_UPDATE, 0, daVif.SerializeAsString())},
                             false);
    ASSERT_TRUE(_swsec->WaitForMessages(1, kBound));
    _app->UpdateDesiredState({}, true);
    ASSERT_TRUE(_swsec->WaitForMessages(2, kBound));
    SwsecBindings withdrawn;
    ASSERT_EQ(SwsecCodec::ReadBindings(_swsec->Messages()[1], withdrawn), "");
    EXPECT_EQ(withdrawn.portId, kPortUuid);
    EXPECT_TRUE(withdrawn.entries.empty());
}

}  // namespace
}  // namespace PortTest
