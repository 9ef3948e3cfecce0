#include "cache/StateCacheL3Table.h"

#include <gtest/gtest.h>

#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_common.pb.h"
#include "loftdb_routing.pb.h"
#include "loftdb_system.pb.h"
#include "store/DecoderTestSupport.h"
#include "zef/RefPtr.h"

namespace {

using namespace CfgAgent;
namespace lb = halden::zef::loftdb;
using StoreTest::LogCapture;

class RecordingObserver : public SCL3TableObserver {
public:
    struct Call {
        LoftDBUpdateList list;
        bool isFullSync;
    };
    void ProcessL3DesiredStateUpdate(const LoftDBUpdateList& list, bool isFullSync) override {
        calls.push_back({list, isFullSync});
    }
    std::vector<Call> calls;
};

std::string Id(uint64_t left) {
    return StoreTest::Key(left);
}

const std::string kRouter = Id(1);
const std::string kPort = Id(2);
const std::string kFib = Id(3);

std::string Router(uint32_t rtxId) {
    lb::LogRouterConfigMsg router;
    router.mutable_id()->ParseFromString(kRouter);
    router.set_rtx_id(rtxId);
    return router.SerializeAsString();
}

std::string Port(bool withRouter) {
    lb::LogRouterPortConfigMsg port;
    port.mutable_id()->ParseFromString(kPort);
    if (withRouter) {
        port.mutable_log_router_id()->ParseFromString(kRouter);
    }
    return port.SerializeAsString();
}

std::string DadState() {
    lb::LogRouterPortFibDadStateMsg state;
    state.mutable_id()->ParseFromString(kPort);
    state.add_dad_states()->set_state(1);
    return state.SerializeAsString();
}

std::string Hop(uint32_t ip) {
    lb::FibNextHopMsg hop;
    hop.mutable_ip()->set_ipv4(ip);
    return hop.SerializeAsString();
}

LoftDBUpdateMsg Record(uint32_t type, const std::string& id, uint32_t op, uint32_t property,
                       const std::string& value) {
    return LoftDBUpdateMsg(type, id, op, property, value);
}

LoftDBUpdateMsg RouterRecord(uint32_t op, uint32_t rtxId) {
    return Record(LOG_ROUTER_CONFIG, kRouter, op, INVALID_PROPERTY, Router(rtxId));
}

LoftDBUpdateMsg FibRouter(uint32_t op) {
    return Record(FIB, kFib, op, L3_FIB_ROUTER_ID, kRouter);
}

LoftDBUpdateMsg HopRecord(uint32_t op, uint32_t ip) {
    return Record(FIB, kFib, op, L3_FIB_NEXT_HOP, Hop(ip));
}

// One router with one route of two next hops, as a replay presents them.
LoftDBUpdateList Load() {
    return {RouterRecord(OP_UPDATE, 7), FibRouter(OP_ADD), HopRecord(OP_ADD, 0x0a000001),
            HopRecord(OP_ADD, 0x0a000002)};
}

class StateCacheL3TableTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(table->RegisterDesiredStateObserver(&observer)); }

    std::vector<uint32_t> HopAddresses() {
        std::vector<uint32_t> addresses;
        for (const lb::FibNextHopMsg& hop : table->GetFibNextHops(kFib)) {
            addresses.push_back(hop.ip().ipv4());
        }
        return addresses;
    }

    LogCapture log{LL_DEBUG};
    zef::RefPtr<StateCacheL3Table> table = zef::MakeRef<StateCacheL3Table>();
    RecordingObserver observer;
};

}  // namespace

TEST_F(StateCacheL3TableTest, EveryFullSyncReconcilesAndIsToldAsOne) {
    table->UpdateDesiredState(Load(), true);
    ASSERT_EQ(observer.calls.size(), 1u);
    EXPECT_EQ(observer.calls[0].list, Load());
    EXPECT_TRUE(observer.calls[0].isFullSync);

    // The same replay again: nothing changed, and still a full sync.
    table->UpdateDesiredState(Load(), true);
    ASSERT_EQ(observer.calls.size(), 2u);
    EXPECT_TRUE(observer.calls[1].list.empty());
    EXPECT_TRUE(observer.calls[1].isFullSync);
    EXPECT_EQ(table->Count(), 4u);

    // A replay without one next hop and with a new rtx id: the hop that went
    // stands first, as a delete with its value.
    LoftDBUpdateList shorter = Load();
    shorter.pop_back();
    shorter.front() = RouterRecord(OP_UPDATE, 8);
    table->UpdateDesiredState(shorter, true);
    ASSERT_EQ(observer.calls.size(), 3u);
    const LoftDBUpdateList changed = {
        Record(FIB, kFib, OP_DELETE, L3_FIB_NEXT_HOP, Hop(0x0a000002)), RouterRecord(OP_UPDATE, 8)};
    EXPECT_EQ(observer.calls[2].list, changed);
    EXPECT_EQ(HopAddresses(), std::vector<uint32_t>{0x0a000001});

    // An empty replay: the store holds nothing, so every row goes.
    table->UpdateDesiredState({}, true);
    ASSERT_EQ(observer.calls.size(), 4u);
    EXPECT_TRUE(observer.calls[3].isFullSync);
    EXPECT_EQ(observer.calls[3].list.size(), 3u);
    for (const LoftDBUpdateMsg& record : observer.calls[3].list) {
        EXPECT_EQ(record.operation, static_cast<uint32_t>(OP_DELETE));
        EXPECT_FALSE(record.propertyValue.empty()) << "a delete carries what was there";
    }
    EXPECT_EQ(table->Count(), 0u);
    EXPECT_EQ(table->DesiredSize(), 0u);

    // An empty delta is no news.
    table->UpdateDesiredState({}, false);
    EXPECT_EQ(observer.calls.size(), 4u);
}

TEST_F(StateCacheL3TableTest, SingleValuesAreReplacedAndDeletedWithTheirOldValue) {
    table->UpdateDesiredState({RouterRecord(OP_UPDATE, 7)}, false);
    table->UpdateDesiredState({RouterRecord(OP_UPDATE, 7)}, false);
    EXPECT_EQ(observer.calls.size(), 1u) << "the same value again is no change";

    table->UpdateDesiredState({RouterRecord(OP_UPDATE, 9)}, false);
    ASSERT_EQ(observer.calls.size(), 2u);
    EXPECT_EQ(observer.calls[1].list, LoftDBUpdateList{RouterRecord(OP_UPDATE, 9)});
    EXPECT_FALSE(observer.calls[1].isFullSync);
    uint32_t rtxId = 0;
    EXPECT_TRUE(table->GetRouterRtxId(kRouter, rtxId));
    EXPECT_EQ(rtxId, 9u);

    table->UpdateDesiredState({Record(LOG_ROUTER_CONFIG, kRouter, OP_DELETE, INVALID_PROPERTY, {})},
                              false);
    ASSERT_EQ(observer.calls.size(), 3u);
    EXPECT_EQ(observer.calls[2].list, LoftDBUpdateList{Record(LOG_ROUTER_CONFIG, kRouter, OP_DELETE,
                                                              INVALID_PROPERTY, Router(9))});
    EXPECT_TRUE(table->GetRouterIds().empty());
}

TEST_F(StateCacheL3TableTest, UnknownDeleteIsReportedAndTheBatchGoesOn) {
    table->UpdateDesiredState(
        {Record(LOG_ROUTER_PORT_CONFIG, kPort, OP_UPDATE, INVALID_PROPERTY, Port(true))}, false);
    observer.calls.clear();
    const LoftDBUpdateList batch = {
        Record(LOG_ROUTER_CONFIG, kRouter, OP_DELETE, INVALID_PROPERTY, {}),
        Record(LOG_ROUTER_CONFIG, Id(9), OP_UPDATE, INVALID_PROPERTY, Router(3)),
        Record(LOG_ROUTER_CONFIG, Id(9), 7, INVALID_PROPERTY, Router(3))};
    table->UpdateDesiredState(batch, false);

    const std::string router = UuidBytesToString(kRouter);
    EXPECT_TRUE(log.Has("Object " + router + " property 0, delete non-existing entry"))
        << log.Text();
    EXPECT_TRUE(log.Has("LCP00922"));
    EXPECT_TRUE(log.Has("Dump L3 remote StateCache"));
    EXPECT_TRUE(log.Has("ObjectType is : 4, ObjectId is : " + UuidBytesToString(kPort) +
                        ", PropertyType is 0,FullsyncVersion is 0, PropertyValue is id {"))
        << "the dump shows the port";
    EXPECT_TRUE(log.Has("Object " + UuidBytesToString(Id(9)) + " property 0, invalid operation 7"));
    ASSERT_EQ(observer.calls.size(), 1u);
    EXPECT_EQ(observer.calls[0].list, LoftDBUpdateList{*std::next(batch.begin())});
    EXPECT_EQ(table->GetRouterIds().size(), 1u);
}

TEST_F(StateCacheL3TableTest, NextHopAddedTwiceIsRefusedOutsideAFullSync) {
    table->UpdateDesiredState(Load(), true);
    observer.calls.clear();

    table->UpdateDesiredState({HopRecord(OP_ADD, 0x0a000002), HopRecord(OP_ADD, 0x0a000003),
                               HopRecord(OP_ADD, 0x0a000003)},
                              false);
    EXPECT_TRUE(log.Has("Object " + UuidBytesToString(kFib) +
                        " property 402 value ip { ipv4: 167772162 }, "
                        "append existing entry"))
        << log.Text();
    ASSERT_EQ(observer.calls.size(), 1u);
    EXPECT_EQ(observer.calls[0].list, LoftDBUpdateList{HopRecord(OP_ADD, 0x0a000003)});
    EXPECT_EQ(HopAddresses(), (std::vector<uint32_t>{0x0a000001, 0x0a000002, 0x0a000003}));

    table->UpdateDesiredState({HopRecord(OP_REMOVE, 0x0a000001), HopRecord(OP_REMOVE, 0x0a000009)},
                              false);
    EXPECT_TRUE(log.Has("value ip { ipv4: 167772169 }, remove non-existing entry"));
    ASSERT_EQ(observer.calls.size(), 2u);
    EXPECT_EQ(observer.calls[1].list, LoftDBUpdateList{HopRecord(OP_REMOVE, 0x0a000001)});
}

// A replay holds no removals: a removal or delete in one contradicts it.
TEST_F(StateCacheL3TableTest, FullSyncRefusesRemovalsAndDeletes) {
    table->UpdateDesiredState(Load(), true);
    LoftDBUpdateList replay = Load();
    replay.push_back(HopRecord(OP_REMOVE, 0x0a000001));
    replay.push_back(Record(LOG_ROUTER_CONFIG, kRouter, OP_DELETE, INVALID_PROPERTY, {}));
    table->UpdateDesiredState(replay, true);

    EXPECT_TRUE(log.Has("Object " + UuidBytesToString(kFib) +
                        " property 402, invalid op type 4 for full sync"))
        << log.Text();
    EXPECT_TRUE(log.Has("Object " + UuidBytesToString(kRouter) +
                        " property 0, invalid op type 2 for full sync"));
    ASSERT_EQ(observer.calls.size(), 2u);
    EXPECT_TRUE(observer.calls[1].list.empty());
    EXPECT_EQ(HopAddresses(), (std::vector<uint32_t>{0x0a000001, 0x0a000002}));
    EXPECT_EQ(table->GetRouterIds().size(), 1u);
}

// Two values on a single-valued key can only come from adds; from then on the
// key is refused, and the queries that want one value give none.
TEST_F(StateCacheL3TableTest, ManyRowsWhereOneBelongsAreRefused) {
    const std::string otherRouter = Id(8);
    table->UpdateDesiredState(
        {FibRouter(OP_ADD), Record(FIB, kFib, OP_ADD, L3_FIB_ROUTER_ID, otherRouter)}, false);
    table->UpdateDesiredState({Record(FIB, kFib, OP_UPDATE, L3_FIB_ROUTER_ID, kRouter)}, false);
    EXPECT_TRUE(log.Has("Object " + UuidBytesToString(kFib) +
                        " property 400, multi-existing entries found"));
    EXPECT_TRUE(log.Has("LCP00919"));
    EXPECT_EQ(observer.calls.size(), 1u);

    lb::UuidMsg router;
    EXPECT_FALSE(table->GetFibRouter(kFib, router));
    EXPECT_TRUE(log.Has("Found multiple LR entries for fib " + UuidBytesToString(kFib)));

    lb::BarrierMsg barrier;
    EXPECT_FALSE(table->GetBarrier(barrier));
    table->UpdateDesiredState({Record(BARRIER, Id(20), OP_UPDATE, INVALID_PROPERTY, {})}, false);
    EXPECT_TRUE(table->GetBarrier(barrier));
    table->UpdateDesiredState({Record(BARRIER, Id(21), OP_UPDATE, INVALID_PROPERTY, {})}, false);
    EXPECT_FALSE(table->GetBarrier(barrier));
    EXPECT_TRUE(log.Has("Found multiple entries for barrier msg"));
}

TEST_F(StateCacheL3TableTest, QueriesFollowTheRowsOfEachKind) {
    table->UpdateDesiredState(
        {RouterRecord(OP_UPDATE, 7),
         Record(LOG_ROUTER_PORT_CONFIG, kPort, OP_UPDATE, INVALID_PROPERTY, Port(false)),
         // The address detection state is keyed by its router port.
         Record(LOG_ROUTER_PORT_FIB_DAD_STATE, kPort, OP_UPDATE, L3_DAD_STATUS, DadState()),
         Record(ARP_TABLE_CONFIG, Id(4), OP_ADD, L3_ARP_ROUTER_PORT_ID, kPort)},
        true);
    lb::UuidMsg router;
    EXPECT_FALSE(table->GetRouterOfPort(kPort, router));
    EXPECT_TRUE(log.Has("No LR UUID set in protobuf msg for LRP " + UuidBytesToString(kPort)));
    EXPECT_TRUE(log.Has("LCP00920"));

    table->UpdateDesiredState(
        {Record(LOG_ROUTER_PORT_CONFIG, kPort, OP_UPDATE, INVALID_PROPERTY, Port(true))}, false);
    ASSERT_TRUE(table->GetRouterOfPort(kPort, router));
    EXPECT_EQ(router.SerializeAsString(), kRouter);
    ASSERT_EQ(table->GetRouterPortIds().size(), 1u);
    EXPECT_EQ(table->GetRouterPortIds()[0].SerializeAsString(), kPort);
    EXPECT_EQ(table->GetFibDadStates().size(), 1u);
    EXPECT_TRUE(table->GetDadRequests().empty());
    lb::UuidMsg arpPort;
    ASSERT_TRUE(table->GetArpTableRouterPort(Id(4), arpPort));
    EXPECT_EQ(arpPort.SerializeAsString(), kPort);

    std::vector<L3Entry> rows;
    ASSERT_TRUE(table->GetObject(kPort, rows));
    EXPECT_EQ(rows.size(), 2u) << "one id, two object types";
    table->UpdateDesiredState(
        {Record(LOG_ROUTER_PORT_CONFIG, kPort, OP_DELETE, INVALID_PROPERTY, {})}, false);
    lb::LogRouterPortFibDadStateMsg state;
    EXPECT_TRUE(table->GetFibDadState(kPort, state)) << "the other type of the id stays";
    EXPECT_TRUE(table->GetRouterPortIds().empty());
    EXPECT_FALSE(table->GetObjectsByType(FIB, L3_FIB_NEXT_HOP, rows));
    EXPECT_TRUE(rows.empty());
}

TEST_F(StateCacheL3TableTest, ObserversAreToldInOrderUntilTheyLeave) {
    RecordingObserver second;
    EXPECT_FALSE(table->RegisterDesiredStateObserver(nullptr));
    EXPECT_FALSE(table->RegisterDesiredStateObserver(&observer));
    EXPECT_TRUE(log.Has("In L3 RegisterDesiredStateObserver, observer exist!"));
    ASSERT_TRUE(table->RegisterDesiredStateObserver(&second));
    table->UpdateDesiredState({RouterRecord(OP_UPDATE, 7)}, false);
    EXPECT_EQ(observer.calls.size(), 1u);
    EXPECT_EQ(second.calls.size(), 1u);

    EXPECT_TRUE(table->UnregisterDesiredStateObserver(&observer));
    EXPECT_FALSE(table->UnregisterDesiredStateObserver(&observer));
    EXPECT_TRUE(log.Has("In L3 UnregisterDesiredStateObserver, observer not exists!"));
    table->UpdateDesiredState({RouterRecord(OP_UPDATE, 8)}, false);
    EXPECT_EQ(observer.calls.size(), 1u);
    EXPECT_EQ(second.calls.size(), 2u);
}
