#include <google/protobuf/util/message_differencer.h>
#include <gtest/gtest.h>

#include "cache/StateCacheObserver.h"
#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "loftdb_runtime.pb.h"
#include "loftdb_runtime_op.pb.h"
#include "loftdb_store.pb.h"
#include "zef/loftdb/ObjectTypes.h"
#include "zef/loftdb/OpReflection.h"
#include "zef/loftdb/PatchApplier.h"

namespace {

using namespace CfgAgent;
using namespace halden::zef::loftdb;
using google::protobuf::Message;
using google::protobuf::util::MessageDifferencer;

// Keeps every runtime write it is given.
class FakeLoftdbClient : public ILoftdbClient {
public:
    struct Written {
        std::vector<ModifyRequestMsg> list;
        std::vector<ModifyRequestMsg> last;
    };

    void Write(const std::vector<ModifyRequestMsg>&) override {}
    void WriteRuntimeState(std::vector<ModifyRequestMsg> list, std::vector<ModifyRequestMsg> last) override {
        written.push_back({std::move(list), std::move(last)});
    }
    void RegisterCradleVifMonitor() override {}
    bool Echo(const std::string&, EchoCallback) override { return false; }
    void ReadObject(uint32_t, const std::string&, ReadCallback) override {}
    uint64_t LastBarrierTime() const override { return 0; }
    uint32_t VdbId() const override { return vdbId; }

    uint32_t vdbId = 1;
    std::vector<Written> written;
};

const std::string kVif = "vif-7";

LoftDBUpdateMsg Record(uint32_t type, const std::string& id, uint32_t op, uint32_t property = 0,
                       const std::string& value = {}) {
    return LoftDBUpdateMsg(type, id, op, property, value);
}

std::string VifValue(uint32_t state, uint32_t ipLast, uint64_t mac) {
    VifStateMsg value;
    value.set_id(kVif);
    if (state != 0) {
        value.set_state(state);
    }
    if (ipLast != 0) {
        value.add_discovered_bindings()->mutable_ip()->set_ipv4(0x0a000000u | ipLast);
    }
    if (mac != 0) {
        value.add_macs()->set_mac(mac);
    }
    return value.SerializeAsString();
}

std::string Uuid(uint64_t left, uint64_t right) {
    UuidMsg uuid;
    uuid.set_left(left);
    uuid.set_right(right);
    return uuid.SerializeAsString();
}

std::string Vtep(uint32_t label, uint32_t ip) {
    LogSwitchVtepEntryMsg vtep;
    vtep.mutable_vtep_label()->set_label(label);
    vtep.set_vtep_ip(ip);
    return vtep.SerializeAsString();
}

template <typename T>
T Parsed(const std::string& bytes) {
    T message;
    EXPECT_TRUE(message.ParseFromString(bytes));
    return message;
}

// The one modify of a request, with the vdb that every request lists.
const ModifyMsg& Only(const ModifyRequestMsg& request) {
    EXPECT_EQ(request.modify_size(), 1);
    return request.modify(0);
}

void ExpectVdb(const google::protobuf::RepeatedField<uint32_t>& vdbs) {
    ASSERT_EQ(vdbs.size(), 1);
    EXPECT_EQ(vdbs[0], 1u);
}

void ExpectFlush(const ModifyRequestMsg& request, uint32_t type) {
    const ModifyMsg& modify = Only(request);
    ASSERT_TRUE(modify.has_flush());
    EXPECT_EQ(modify.flush().object_type(), type);
    ExpectVdb(modify.flush().vdb_id());
}

void ExpectObject(const TypedObjectMsg& object, uint32_t type, const Message& body) {
    EXPECT_EQ(object.object_type(), type);
    std::unique_ptr<Message> actual(body.New());
    ASSERT_TRUE(actual->ParseFromString(object.body()));
    EXPECT_TRUE(MessageDifferencer::Equals(*actual, body)) << actual->ShortDebugString();
}

void ExpectPut(const ModifyRequestMsg& request, uint32_t type, const Message& body) {
    const ModifyMsg& modify = Only(request);
    ASSERT_TRUE(modify.has_put()) << request.ShortDebugString();
    ExpectObject(modify.put().object(), type, body);
    ExpectVdb(modify.put().vdb_id());
}

void ExpectDelete(const ModifyRequestMsg& request, uint32_t type, const Message& key) {
    const ModifyMsg& modify = Only(request);
    ASSERT_TRUE(modify.has_delete_()) << request.ShortDebugString();
    ExpectObject(modify.delete_().object(), type, key);
    ExpectVdb(modify.delete_().vdb_id());
}

// The patch's op body, after checking the rest of it.
template <typename Op>
Op ExpectPatch(const ModifyRequestMsg& request, uint32_t type, const Message& body) {
    const ModifyMsg& modify = Only(request);
    EXPECT_TRUE(modify.has_patch()) << request.ShortDebugString();
    ExpectObject(modify.patch().object(), type, body);
    ExpectVdb(modify.patch().vdb_id());
    return Parsed<Op>(modify.patch().op_body());
}

// A patch of one entry of one list: the body holds the key and the entry,
// the op names that entry alone.
template <typename Op, typename Object>
void ExpectEntryPatch(const ModifyRequestMsg& request, uint32_t type, Object body, const char* list,
                      const std::string& entry, PbOpType self) {
    body.GetReflection()
        ->AddMessage(&body, body.GetDescriptor()->FindFieldByName(list))
        ->ParseFromString(entry);
    const Op op = ExpectPatch<Op>(request, type, body);
    Op expected;
    zef::loftdb::OpReflection::SetSelf(
        *expected.GetReflection()->AddMessage(&expected,
                                              expected.GetDescriptor()->FindFieldByName(list)),
        self);
    EXPECT_TRUE(MessageDifferencer::Equals(op, expected)) << op.ShortDebugString();
}

// Applies a patch as the store does; false with the reason when it refuses.
template <typename Object>
bool ApplyPatch(Object& stored, const ModifyRequestMsg& request) {
    const PatchMsg& patch = Only(request).patch();
    auto values = Parsed<Object>(patch.object().body());
    auto op = zef::loftdb::OpReflection::NewOpMessage(values.GetDescriptor());
    std::string error;
    const bool applied =
        op->ParseFromString(patch.op_body()) &&
        zef::loftdb::PatchApplier::Apply(stored, values, *op, error) &&
        zef::loftdb::ObjectTypes::Key(stored) == zef::loftdb::ObjectTypes::Key(values);
    EXPECT_TRUE(error.empty()) << error;
    return applied;
}

class StateCacheObserverTest : public ::testing::Test {
protected:
    void SetUp() override { savedConsole = LogLevel::console.exchange(0); }
    void TearDown() override { LogLevel::console = savedConsole; }

    // The requests of the one write that a batch made.
    const FakeLoftdbClient::Written& WrittenOnce() {
        EXPECT_EQ(client.written.size(), 1u);
        return client.written.back();
    }

    int savedConsole = 0;
    FakeLoftdbClient client;
    zef::RefPtr<StateCache> cache = zef::MakeRef<StateCache>();
    zef::RefPtr<StateCacheObserver> observer = zef::MakeRef<StateCacheObserver>(client, cache);
};

TEST_F(StateCacheObserverTest, EachConfigRecordBecomesItsStoreOperation) {
    const std::string connected = VifValue(3, 5, 0);
    const std::string bindings = VifValue(0, 6, 0);
    const std::string macs = VifValue(0, 0, 0xa1);
    observer->ProcessConfigRuntimeStateUpdate(
        {Record(VIF_STATE, kVif, OP_UPDATE),
         Record(VIF_STATE, kVif, OP_UPDATE, VIF_IP_DISCOVEREDBINDING, connected),
         Record(VIF_STATE, kVif, OP_UPDATE, VIF_IP_DISCOVEREDBINDING, bindings),
         Record(VIF_STATE, kVif, OP_UPDATE, VIF_MAC, macs),
         Record(VIF_STATE, kVif, OP_UPDATE, 0, bindings),
         Record(VIF_STATE, kVif, OP_DELETE, VIF_IP_DISCOVEREDBINDING, bindings),
         Record(VIF_STATE, kVif, OP_DELETE, VIF_MAC, macs), Record(VIF_STATE, kVif, OP_DELETE),
         Record(HOTMOVE_STATUS, kVif, OP_UPDATE),
         Record(HOTMOVE_STATUS, kVif, OP_UPDATE, VIF_MAC, macs),
         Record(HOTMOVE_STATUS, kVif, OP_DELETE, VIF_MAC, macs),
         Record(HOTMOVE_STATUS, kVif, OP_DELETE)},
        false);

    const auto& written = WrittenOnce();
    EXPECT_TRUE(written.last.empty());
    const auto& requests = written.list;
    ASSERT_EQ(requests.size(), 10u) << "the two odd HOTMOVE_STATUS records make nothing";

    VifStateMsg key;
    key.set_id(kVif);
    ExpectPut(requests[0], VIF_STATE, key);

    auto op = ExpectPatch<VifStateOpMsg>(requests[1], VIF_STATE, Parsed<VifStateMsg>(connected));
    ASSERT_EQ(op.discovered_bindings_size(), 1);
    EXPECT_EQ(op.discovered_bindings(0).self(), SET);
    EXPECT_EQ(op.state(), SET) << "a connected VIF's state goes with its bindings";

    op = ExpectPatch<VifStateOpMsg>(requests[2], VIF_STATE, Parsed<VifStateMsg>(bindings));
    EXPECT_EQ(op.discovered_bindings_size(), 1);
    EXPECT_FALSE(op.has_state());

    op = ExpectPatch<VifStateOpMsg>(requests[3], VIF_STATE, Parsed<VifStateMsg>(macs));
    ASSERT_EQ(op.macs_size(), 1);
    EXPECT_EQ(op.macs(0).self(), SET);
    EXPECT_EQ(op.discovered_bindings_size(), 0);

    op = ExpectPatch<VifStateOpMsg>(requests[4], VIF_STATE, Parsed<VifStateMsg>(bindings));
    EXPECT_EQ(op.ByteSizeLong(), 0u) << "a value on the object itself names no field";

    op = ExpectPatch<VifStateOpMsg>(requests[5], VIF_STATE, Parsed<VifStateMsg>(bindings));
    ASSERT_EQ(op.discovered_bindings_size(), 1);
    EXPECT_EQ(op.discovered_bindings(0).self(), CLEAR);
    op = ExpectPatch<VifStateOpMsg>(requests[6], VIF_STATE, Parsed<VifStateMsg>(macs));
    ASSERT_EQ(op.macs_size(), 1);
    EXPECT_EQ(op.macs(0).self(), CLEAR);

    ExpectDelete(requests[7], VIF_STATE, key);
    HotmoveStatusMsg hotmove;
    hotmove.set_id(kVif);
    ExpectPut(requests[8], HOTMOVE_STATUS, hotmove);
    ExpectDelete(requests[9], HOTMOVE_STATUS, hotmove);
}

TEST_F(StateCacheObserverTest, FullSyncFlushesBothTypesFirstEvenWithNothingElse) {
    observer->ProcessConfigRuntimeStateUpdate({}, true);
    const auto& written = WrittenOnce();
    ASSERT_EQ(written.list.size(), 2u);
    ExpectFlush(written.list[0], VIF_STATE);
    ExpectFlush(written.list[1], HOTMOVE_STATUS);

    observer->ProcessConfigRuntimeStateUpdate({Record(VIF_STATE, kVif, OP_UPDATE)}, true);
    ASSERT_EQ(client.written.back().list.size(), 3u);
    ExpectFlush(client.written.back().list[0], VIF_STATE);
    EXPECT_TRUE(Only(client.written.back().list[2]).has_put());
}

TEST_F(StateCacheObserverTest, NothingIsWrittenWithoutVdbOrForAnEmptyDelta) {
    observer->ProcessConfigRuntimeStateUpdate({}, false);
    observer->ProcessL2RuntimeStateUpdate({}, false);
    client.vdbId = 0;
    observer->ProcessConfigRuntimeStateUpdate({Record(VIF_STATE, kVif, OP_UPDATE)}, true);
    observer->ProcessL2RuntimeStateUpdate({Record(LOG_SWITCH_STATE, Uuid(1, 2), OP_UPDATE)}, true);
    EXPECT_TRUE(client.written.empty());
}

// What the store makes of the patches: only the named list changes, and a
// connected VIF's state comes along.
TEST_F(StateCacheObserverTest, VifPatchesApplyInTheStore) {
    VifStateMsg stored = Parsed<VifStateMsg>(VifValue(0, 1, 0xb1));
    stored.set_host_switch_id("hs-1");
    observer->ProcessConfigRuntimeStateUpdate(
        {Record(VIF_STATE, kVif, OP_UPDATE, VIF_IP_DISCOVEREDBINDING, VifValue(3, 9, 0)),
         Record(VIF_STATE, kVif, OP_UPDATE, VIF_MAC, VifValue(0, 0, 0xc2)),
         Record(VIF_STATE, kVif, OP_DELETE, VIF_IP_DISCOVEREDBINDING, VifValue(0, 9, 0)),
         Record(VIF_STATE, kVif, OP_DELETE, VIF_MAC, VifValue(0, 0, 0xc2))},
        false);
    const auto& requests = WrittenOnce().list;
    ASSERT_EQ(requests.size(), 4u);

    ASSERT_TRUE(ApplyPatch(stored, requests[0]));
    ASSERT_EQ(stored.discovered_bindings_size(), 1);
    EXPECT_EQ(stored.discovered_bindings(0).ip().ipv4(), 0x0a000009u);
    EXPECT_EQ(stored.state(), 3u);
    ASSERT_EQ(stored.macs_size(), 1);
    EXPECT_EQ(stored.macs(0).mac(), 0xb1u);

    ASSERT_TRUE(ApplyPatch(stored, requests[1]));
    ASSERT_EQ(stored.macs_size(), 1);
    EXPECT_EQ(stored.macs(0).mac(), 0xc2u);
    EXPECT_EQ(stored.discovered_bindings_size(), 1);

    ASSERT_TRUE(ApplyPatch(stored, requests[2]));
    EXPECT_EQ(stored.discovered_bindings_size(), 0);
    ASSERT_TRUE(ApplyPatch(stored, requests[3]));
    EXPECT_EQ(stored.macs_size(), 0);
    EXPECT_EQ(stored.state(), 3u);
    EXPECT_EQ(stored.host_switch_id(), "hs-1");
    EXPECT_EQ(stored.id(), kVif);
}

TEST_F(StateCacheObserverTest, RegisteredForVifAndHotmoveRuntimeUntilStopped) {
    ASSERT_TRUE(observer->Start());
    EXPECT_FALSE(observer->Start()) << "a second registration is refused";
    auto& table = *cache->ConfigTable();
    table.UpdateRuntimeState(
        {Record(VIF_STATE, kVif, OP_UPDATE), Record(HOTMOVE_STATUS, kVif, OP_UPDATE),
         Record(LOG_SWITCH_PORT_CONFIG, "port-1", OP_UPDATE)},
        true);
    const auto& written = WrittenOnce();
    ASSERT_EQ(written.list.size(), 4u);
    ExpectFlush(written.list[0], VIF_STATE);
    ExpectFlush(written.list[1], HOTMOVE_STATUS);
    EXPECT_TRUE(Only(written.list[2]).has_put());
    EXPECT_EQ(Only(written.list[3]).put().object().object_type(), HOTMOVE_STATUS);

    ASSERT_TRUE(observer->Stop());
    table.UpdateRuntimeState({Record(VIF_STATE, kVif, OP_DELETE)}, false);
    EXPECT_EQ(client.written.size(), 1u);
}

// The L2 table's first runtime full sync replaces what the store held, even
// when the host has nothing to report.
TEST_F(StateCacheObserverTest, RegisteredForL2RuntimeUntilStopped) {
    ASSERT_TRUE(observer->Start());
    auto& table = *cache->L2Table();
    table.UpdateRuntimeState({}, true);
    ASSERT_EQ(client.written.size(), 1u);
    ASSERT_EQ(client.written[0].list.size(), 2u);
    ExpectFlush(client.written[0].list[0], LOG_SWITCH_STATE);
    ExpectFlush(client.written[0].list[1], ROUTING_DOMAIN_VTEP);

    const std::string logSwitch = Uuid(4, 5);
    table.UpdateRuntimeState({Record(LOG_SWITCH_STATE, logSwitch, OP_UPDATE)}, false);
    ASSERT_EQ(client.written.size(), 2u);
    LogSwitchStateMsg switchKey;
    switchKey.mutable_id()->ParseFromString(logSwitch);
    ASSERT_EQ(client.written[1].list.size(), 1u);
    ExpectPut(client.written[1].list[0], LOG_SWITCH_STATE, switchKey);

    ASSERT_TRUE(observer->Stop());
    EXPECT_FALSE(observer->Stop()) << "nothing is left to leave";
    table.UpdateRuntimeState({Record(LOG_SWITCH_STATE, logSwitch, OP_DELETE)}, false);
    EXPECT_EQ(client.written.size(), 2u);
}

TEST_F(StateCacheObserverTest, EachL2RecordBecomesItsStoreOperation) {
    const std::string logSwitch = Uuid(4, 5);
    const std::string domain = Uuid(6, 7);
    LogSwitchIpEntryMsg ip;
    ip.mutable_ip()->set_ipv4(0x0a000001u);
    ip.set_mac(0xd1);
    LogSwitchMacEntryMsg mac;
    mac.set_mac(0xd2);
    observer->ProcessL2RuntimeStateUpdate(
        {Record(LOG_SWITCH_STATE, logSwitch, OP_UPDATE),
         Record(LOG_SWITCH_STATE, logSwitch, OP_UPDATE, L2_VTEP, Vtep(1, 11)),
         Record(LOG_SWITCH_STATE, logSwitch, OP_DELETE, L2_VM_IP, ip.SerializeAsString()),
         Record(LOG_SWITCH_STATE, logSwitch, OP_UPDATE, L2_VM_MAC, mac.SerializeAsString()),
         Record(LOG_SWITCH_STATE, logSwitch, OP_DELETE),
         Record(ROUTING_DOMAIN_VTEP, domain, OP_UPDATE),
         Record(ROUTING_DOMAIN_VTEP, domain, OP_DELETE, L2_VTEP, Vtep(2, 22)),
         Record(ROUTING_DOMAIN_VTEP, domain, OP_DELETE)},
        false);
    const auto& written = WrittenOnce();
    const auto& requests = written.list;
    ASSERT_EQ(requests.size(), 8u);

    LogSwitchStateMsg switchKey;
    switchKey.mutable_id()->ParseFromString(logSwitch);
    ExpectPut(requests[0], LOG_SWITCH_STATE, switchKey);
    ExpectEntryPatch<LogSwitchStateOpMsg>(requests[1], LOG_SWITCH_STATE, switchKey, "vteps",
                                          Vtep(1, 11), APPEND);
    ExpectEntryPatch<LogSwitchStateOpMsg>(requests[2], LOG_SWITCH_STATE, switchKey, "ips",
                                          ip.SerializeAsString(), REMOVE);
    ExpectEntryPatch<LogSwitchStateOpMsg>(requests[3], LOG_SWITCH_STATE, switchKey, "macs",
                                          mac.SerializeAsString(), APPEND);
    ExpectDelete(requests[4], LOG_SWITCH_STATE, switchKey);

    RoutingDomainVtepMsg domainKey;
    domainKey.mutable_id()->ParseFromString(domain);
    ExpectPut(requests[5], ROUTING_DOMAIN_VTEP, domainKey);
    ExpectEntryPatch<RoutingDomainVtepOpMsg>(requests[6], ROUTING_DOMAIN_VTEP, domainKey, "vteps",
                                             Vtep(2, 22), REMOVE);
    ExpectDelete(requests[7], ROUTING_DOMAIN_VTEP, domainKey);
}

TEST_F(StateCacheObserverTest, GlobalRoutingDomainLandsLastAndFullSyncFlushesL2Types) {
    const std::string global = Uuid(0, 0);
    observer->ProcessL2RuntimeStateUpdate(
        {Record(ROUTING_DOMAIN_VTEP, global, OP_UPDATE, L2_VTEP, Vtep(3, 33)),
         Record(LOG_SWITCH_STATE, Uuid(4, 5), OP_UPDATE, L2_VTEP, Vtep(3, 33)),
         Record(ROUTING_DOMAIN_VTEP, Uuid(0, 9), OP_UPDATE)},
        true);
    const auto& written = WrittenOnce();
    ASSERT_EQ(written.list.size(), 4u);
    ExpectFlush(written.list[0], LOG_SWITCH_STATE);
    ExpectFlush(written.list[1], ROUTING_DOMAIN_VTEP);
    EXPECT_EQ(Only(written.list[2]).patch().object().object_type(), LOG_SWITCH_STATE);
    EXPECT_TRUE(Only(written.list[3]).has_put()) << "only a domain with both halves 0 is global";
    ASSERT_EQ(written.last.size(), 1u);
    EXPECT_EQ(Only(written.last[0]).patch().object().object_type(), ROUTING_DOMAIN_VTEP);
}

// Entries are appended, and removed by their key whatever else they hold.
TEST_F(StateCacheObserverTest, L2PatchesApplyInTheStore) {
    const std::string logSwitch = Uuid(4, 5);
    LogSwitchStateMsg stored;
    stored.mutable_id()->ParseFromString(logSwitch);
    stored.add_vteps()->ParseFromString(Vtep(1, 11));
    observer->ProcessL2RuntimeStateUpdate(
        {Record(LOG_SWITCH_STATE, logSwitch, OP_UPDATE, L2_VTEP, Vtep(2, 22)),
         Record(LOG_SWITCH_STATE, logSwitch, OP_DELETE, L2_VTEP, Vtep(1, 99))},
        false);
    const auto& requests = WrittenOnce().list;
    ASSERT_EQ(requests.size(), 2u);
    ASSERT_TRUE(ApplyPatch(stored, requests[0]));
    ASSERT_EQ(stored.vteps_size(), 2);
    ASSERT_TRUE(ApplyPatch(stored, requests[1]));
    ASSERT_EQ(stored.vteps_size(), 1);
    EXPECT_EQ(stored.vteps(0).vtep_label().label(), 2u);
    EXPECT_EQ(stored.vteps(0).vtep_ip(), 22u);
}

}  // namespace
