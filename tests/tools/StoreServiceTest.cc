// The store service in process, seen through its client library: whole
// transactions, what monitors receive, patches, vdbs, reads and reconnection.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <thread>

#include "StoreTestSupport.h"
#include "e2e/ChildProcess.h"
#include "zef/loftdb/OpReflection.h"

namespace {

using namespace zef::test;
using namespace halden::zef::loftdb;
using zef::loftdb::LoftDbClient;

using StoreServiceTest = ServiceFixture;

std::map<uint32_t, uint32_t> VtepIps(const LogSwitchFibMsg& fib) {
    std::map<uint32_t, uint32_t> ips;
    for (const auto& vtep : fib.vteps()) {
        ips[vtep.vtep_label().label()] = vtep.vtep_ip();
    }
    return ips;
}

std::vector<uint32_t> VtepLabels(const LogSwitchFibMsg& fib) {
    std::vector<uint32_t> labels;
    for (const auto& vtep : fib.vteps()) {
        labels.push_back(vtep.vtep_label().label());
    }
    return labels;
}

LogSwitchFibMsg FibWith(uint64_t id, const std::vector<std::pair<uint32_t, uint32_t>>& vteps) {
    LogSwitchFibMsg fib = Fib(id);
    for (auto [label, ip] : vteps) {
        AddVtep(fib, label, ip);
    }
    return fib;
}

TEST_F(StoreServiceTest, BatchWithAnInvalidLaterOperationChangesNothing) {
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(1, 100, "one")), PutOf(kSwitchFib, FibWith(1, {{1, 10}}))})
                    .first);
    Watcher watcher(Endpoint(), {Statement(kSwitch), Statement(kSwitchFib)});
    ASSERT_EQ(watcher.recorder.Next()->size(), 2u) << "replay";
    const uint64_t transactions = OnService([this] { return service->Transactions(); });

    LogSwitchConfigMsg noId;
    noId.set_vni(5);
    LogSwitchConfigOpMsg setVni;
    setVni.set_vni(SET);
    LogSwitchFibOpMsg insertWithoutValue;
    insertWithoutValue.add_vteps()->set_self(INSERT);
    TypedObjectMsg unknownType;
    unknownType.set_object_type(9999);
    TypedObjectMsg unparsable;
    unparsable.set_object_type(kSwitch);
    unparsable.set_body(std::string("\x0a\x05" "ab", 4));  // id claims 5 bytes, 2 follow
    ModifyMsg unknownPut;
    *unknownPut.mutable_put()->mutable_object() = unknownType;
    ModifyMsg unparsablePut;
    *unparsablePut.mutable_put()->mutable_object() = unparsable;
    ModifyMsg garbledOp = PatchOf(kSwitch, Switch(1, 7, ""), setVni);
    garbledOp.mutable_patch()->set_op_body("\xff\xff\xff");

    const std::vector<std::pair<std::string, ModifyMsg>> invalid = {
        {"unknown object type 9999", unknownPut},
        {"does not parse", unparsablePut},
        {"has no id", PutOf(kSwitch, noId)},
        {"has no id", DeleteOf(kSwitch, noId)},
        {"no LOG_SWITCH_CONFIG object to patch", PatchOf(kSwitch, Switch(42, 1, ""), setVni)},
        {"no LOG_SWITCH_CONFIG object to patch", PatchOf(kSwitch, Switch(1, 1, ""), setVni, {0, 6})},
        {"op body of patch does not parse", garbledOp},
        {"no value for element 0 of vteps", PatchOf(kSwitchFib, Fib(1), insertWithoutValue)},
        {"unknown object type 9999", FlushOf(9999)},
        {"modify without put, patch, delete or flush", ModifyMsg()},
    };
    for (const auto& [reason, bad] : invalid) {
        SCOPED_TRACE(reason);
        // Good operations first, in a first request, the invalid one last.
        const auto first = RequestOf({PutOf(kSwitch, Switch(2, 200, "two"), {0, 3}),
                                      PatchOf(kSwitch, Switch(1, 111, ""), setVni),
                                      PutOf(kSwitchFib, FibWith(1, {{1, 10}, {2, 20}})),
                                      FlushOf(kSwitch, {5})});
        const auto second = RequestOf(
            {PutOf(kSwitch, Switch(3, 300, "")), DeleteOf(kSwitch, Switch(2, 0, "")), bad});
        auto [ok, error] = ModifySync(*writer, {first, second});
        EXPECT_FALSE(ok);
        EXPECT_NE(error.find(reason), std::string::npos) << error;

        auto switches = Switches();
        ASSERT_EQ(switches.size(), 1u);
        EXPECT_EQ(switches[0].vni(), 100u);
        auto fibs = ReadAll(kSwitchFib);
        ASSERT_EQ(fibs.size(), 1u);
        EXPECT_EQ(VtepLabels(Parsed<LogSwitchFibMsg>(fibs[0].body())), std::vector<uint32_t>{1});
        EXPECT_TRUE(Switches(3).empty());
    }
    EXPECT_EQ(OnService([this] { return service->Transactions(); }), transactions);

    // The refused batches sent the monitor nothing: the next event is this one.
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(9, 900, ""))}).first);
    auto updates = watcher.recorder.Next();
    ASSERT_TRUE(updates);
    ASSERT_EQ(updates->size(), 1u);
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>((*updates)[0].object_body()).vni(), 900u);
}

TEST_F(StoreServiceTest, TransactionReachesMonitorAsNetChangesInOrderThenOneBarrier) {
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(5, 50, "five"))}).first);
    Watcher watcher(Endpoint(), {Statement(kSwitch), Statement(kSwitchFib)});
    ASSERT_EQ(watcher.recorder.Next()->size(), 1u) << "replay";

    // Objects come in the order the batch first touched them, whatever their
    // key order or type; an object touched twice comes once, as its net change.
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(3, 30, "")), PutOf(kSwitchFib, Fib(1)),
                        PutOf(kSwitch, Switch(1, 10, "")), PutOf(kSwitch, Switch(3, 31, "")),
                        DeleteOf(kSwitch, Switch(5, 0, ""))})
                    .first);
    auto updates = watcher.recorder.Next();
    ASSERT_TRUE(updates);
    ASSERT_EQ(updates->size(), 4u);
    EXPECT_EQ((*updates)[0].object_type(), kSwitch);
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>((*updates)[0].object_body()).vni(), 31u);
    EXPECT_EQ(Parsed<LogSwitchConfigOpMsg>((*updates)[0].op_body()).self(), SET);
    EXPECT_EQ((*updates)[1].object_type(), kSwitchFib);
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>((*updates)[2].object_body()).vni(), 10u);
    auto deletion = Parsed<LogSwitchConfigOpMsg>((*updates)[3].op_body());
    EXPECT_EQ(deletion.self(), CLEAR);
    EXPECT_EQ(deletion.id().self(), CLEAR);
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>((*updates)[3].old_object_body()).switch_name(), "five");

    // Transactions sent back to back arrive whole and in their order.
    std::vector<std::shared_ptr<std::promise<bool>>> answers;
    for (uint32_t vni = 1; vni <= 20; ++vni) {
        auto answer = std::make_shared<std::promise<bool>>();
        answers.push_back(answer);
        writer->Modify({RequestOf({PutOf(kSwitch, Switch(1, 1000 + vni, "")),
                                   PutOf(kSwitch, Switch(2, 2000 + vni, ""))})},
                       [answer](bool ok, const std::string&) { answer->set_value(ok); });
    }
    for (uint32_t vni = 1; vni <= 20; ++vni) {
        auto batch = watcher.recorder.Next();
        ASSERT_TRUE(batch);
        ASSERT_EQ(batch->size(), 2u);
        EXPECT_EQ(Parsed<LogSwitchConfigMsg>((*batch)[0].object_body()).vni(), 1000 + vni);
        EXPECT_EQ(Parsed<LogSwitchConfigMsg>((*batch)[1].object_body()).vni(), 2000 + vni);
    }
    for (auto& answer : answers) {
        auto future = answer->get_future();
        ASSERT_EQ(future.wait_for(kWait), std::future_status::ready);
        EXPECT_TRUE(future.get());
    }
}

TEST_F(StoreServiceTest, TransactionsWithoutNetChangeForTheMonitorSendItNothing) {
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(1, 10, "a"))}).first);
    Watcher watcher(Endpoint(), {Statement(kSwitch)});
    ASSERT_EQ(watcher.recorder.Next()->size(), 1u) << "replay";

    const std::vector<std::vector<ModifyMsg>> silent = {
        {PutOf(kSwitch, Switch(1, 10, "a"))},                                  // unchanged put
        {PutOf(kSwitch, Switch(7, 70, "")), DeleteOf(kSwitch, Switch(7, 0, ""))},  // came and went
        {PutOf(kSwitch, Switch(1, 11, "")), PutOf(kSwitch, Switch(1, 10, "a"))},   // and back
        {DeleteOf(kSwitch, Switch(8, 0, ""))},                                 // absent object
        {PutOf(kSwitchFib, Fib(1))},                                           // other type
        {PutOf(kSwitch, Switch(1, 99, ""), {4})},                              // other vdb
    };
    for (const auto& modifies : silent) {
        ASSERT_TRUE(Modify(modifies).first);
    }
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(2, 20, ""))}).first);
    auto updates = watcher.recorder.Next();
    ASSERT_TRUE(updates);
    ASSERT_EQ(updates->size(), 1u) << "the first event after the silent ones is this put's";
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>((*updates)[0].object_body()).vni(), 20u);
}

TEST_F(StoreServiceTest, ConfigureReplaysEveryCoveredObjectThenOneBarrier) {
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(2, 20, "")), PutOf(kSwitch, Switch(1, 10, "")),
                        PutOf(kSwitch, Switch(3, 30, "")), PutOf(kSwitch, Switch(1, 99, ""), {5}),
                        PutOf(kSwitchFib, Fib(1))})
                    .first);

    Watcher both(Endpoint(), {Statement(kSwitch), Statement(kSwitchFib)});
    auto replay = both.recorder.Next();
    ASSERT_TRUE(replay);
    ASSERT_EQ(replay->size(), 4u) << "three switches and a FIB of vdb 0, under one barrier";
    std::vector<uint32_t> vnis;
    for (size_t i = 0; i < 3; ++i) {
        const auto& update = (*replay)[i];
        vnis.push_back(Parsed<LogSwitchConfigMsg>(update.object_body()).vni());
        auto op = Parsed<LogSwitchConfigOpMsg>(update.op_body());
        EXPECT_EQ(op.self(), SET);
        EXPECT_EQ(op.id().self(), SET);
        EXPECT_FALSE(update.has_old_object_body());
    }
    EXPECT_EQ(vnis, (std::vector<uint32_t>{10, 20, 30})) << "key order";
    EXPECT_EQ((*replay)[3].object_type(), kSwitchFib);

    Watcher empty(Endpoint(), {Statement(kSwitch)}, 6);
    auto none = empty.recorder.Next();
    ASSERT_TRUE(none) << "an empty replay still ends with a barrier";
    EXPECT_TRUE(none->empty());

    // A statement added later replays its own type only; a removed one goes quiet.
    Watcher later(Endpoint(), {Statement(kSwitchFib)});
    ASSERT_EQ(later.recorder.Next()->size(), 1u);
    ASSERT_TRUE(later.client.ConfigureMonitor({Statement(kSwitch)}, {Statement(kSwitchFib)}, 1, 0));
    auto added = later.recorder.Next();
    ASSERT_TRUE(added);
    ASSERT_EQ(added->size(), 3u);
    for (const auto& update : *added) {
        EXPECT_EQ(update.object_type(), kSwitch);
    }
    EXPECT_FALSE(later.client.ConfigureMonitor({Statement(kSwitch)}, {}, 2, 0))
        << "no monitor is registered under client id 2";
    ASSERT_TRUE(Modify({PutOf(kSwitchFib, FibWith(1, {{1, 1}})), PutOf(kSwitch, Switch(4, 40, ""))})
                    .first);
    auto after = later.recorder.Next();
    ASSERT_TRUE(after);
    ASSERT_EQ(after->size(), 1u);
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>((*after)[0].object_body()).vni(), 40u);
}

TEST_F(StoreServiceTest, ClientReconnectsAfterServiceRestartAndGetsTheReplayAgain) {
    Watcher watcher(Endpoint(), {Statement(kSwitch)});
    ASSERT_TRUE(watcher.recorder.Next());
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(1, 10, ""))}).first);
    ASSERT_EQ(watcher.recorder.Next()->size(), 1u);

    writer.reset();
    const uint16_t samePort = port;
    StopService();
    ASSERT_EQ(watcher.recorder.Channel(2), (std::vector<bool>{true, false}));
    // Made while the store is away: held, and sent in order once it is back.
    auto held = std::make_shared<std::promise<bool>>();
    watcher.client.Modify({RequestOf({PutOf(kSwitch, Switch(2, 0, ""))})},
                          [held](bool ok, const std::string&) { held->set_value(ok); });
    watcher.client.Modify({RequestOf({PutOf(kSwitch, Switch(2, 5, ""))})}, nullptr);

    StartService(samePort);
    ASSERT_EQ(watcher.recorder.Channel(3), (std::vector<bool>{true, false, true}));
    auto replay = watcher.recorder.Next();
    ASSERT_TRUE(replay);
    ASSERT_EQ(replay->size(), 1u) << "the replay the monitors asked for comes before the held writes";
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>((*replay)[0].object_body()).vni(), 10u);
    auto future = held->get_future();
    ASSERT_EQ(future.wait_for(kWait), std::future_status::ready);
    EXPECT_TRUE(future.get());
    for (uint32_t vni : {0u, 5u}) {
        auto updates = watcher.recorder.Next();
        ASSERT_TRUE(updates);
        ASSERT_EQ(updates->size(), 1u);
        EXPECT_EQ(Parsed<LogSwitchConfigMsg>((*updates)[0].object_body()).vni(), vni);
    }
}

TEST_F(StoreServiceTest, ClientReconnectsWhenTheServiceClosesItsConnections) {
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(1, 10, "")), PutOf(kSwitch, Switch(2, 20, ""))}).first);
    Watcher watcher(Endpoint(), {Statement(kSwitch)});
    ASSERT_EQ(watcher.recorder.Next()->size(), 2u);

    const std::string endpoint = Endpoint();
    const uint16_t bound = OnService([&] {
        service->Stop();
        std::string error;
        return service->Listen(endpoint, error);
    });
    ASSERT_EQ(bound, port) << "the stopped service listens again on its port";
    ASSERT_EQ(watcher.recorder.Channel(3), (std::vector<bool>{true, false, true}));
    auto replay = watcher.recorder.Next();
    ASSERT_TRUE(replay);
    EXPECT_EQ(replay->size(), 2u);
    LoftDbClient fresh("test-fresh", Endpoint());
    fresh.StartAsync();
    ASSERT_TRUE(fresh.WaitConnected(kWait));
    auto [ok, objects] = ReadSync(fresh, kSwitch, 0);
    EXPECT_TRUE(ok);
    EXPECT_EQ(objects.size(), 2u);
}

TEST_F(StoreServiceTest, ClientWithoutChannelFailsReadsAtOnceAndHoldsWritesUntilItStops) {
    // Port 1: nothing listens there, whatever runs beside this test.
    LoftDbClient client("test-nowhere", "tcp://127.0.0.1:1");
    client.StartAsync();
    EXPECT_FALSE(client.IsConnected());
    auto written = std::make_shared<std::promise<std::string>>();
    client.Modify({RequestOf({PutOf(kSwitch, Switch(1, 1, ""))})},
                  [written](bool ok, const std::string& error) { written->set_value(ok ? "" : error); });
    EXPECT_FALSE(ReadSync(client, kSwitch, 0).first);
    auto echoed = std::make_shared<std::promise<bool>>();
    client.Echo(EchoMsg(), [echoed](bool ok, const EchoMsg&) { echoed->set_value(ok); });
    auto future = echoed->get_future();
    ASSERT_EQ(future.wait_for(kWait), std::future_status::ready);
    EXPECT_FALSE(future.get());
    auto write = written->get_future();
    EXPECT_EQ(write.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout) << "held";
    client.Stop();
    ASSERT_EQ(write.wait_for(kWait), std::future_status::ready);
    EXPECT_EQ(write.get(), "store channel is down");
}

TEST_F(StoreServiceTest, PatchSetsAndClearsFieldsAndEditsListsByKey) {
    LogSwitchConfigMsg stored = Switch(1, 100, "a");
    stored.set_vlan(10);
    ASSERT_TRUE(Modify({PutOf(kSwitch, stored),
                        PutOf(kSwitchFib, FibWith(1, {{1, 10}, {2, 20}, {3, 30}, {4, 40}}))})
                    .first);
    Watcher watcher(Endpoint(), {Statement(kSwitch), Statement(kSwitchFib)});
    ASSERT_EQ(watcher.recorder.Next()->size(), 2u);

    LogSwitchConfigOpMsg fieldOps;
    fieldOps.set_vni(SET);
    fieldOps.set_vlan(CLEAR);
    ASSERT_TRUE(Modify({PatchOf(kSwitch, Switch(1, 200, "not taken"), fieldOps)}).first);
    auto patched = Switches();
    ASSERT_EQ(patched.size(), 1u);
    EXPECT_EQ(patched[0].vni(), 200u);
    EXPECT_FALSE(patched[0].has_vlan());
    EXPECT_EQ(patched[0].switch_name(), "a") << "a field without an operation is kept";
    auto update = watcher.recorder.Next();
    ASSERT_TRUE(update);
    ASSERT_EQ(update->size(), 1u);
    auto op = Parsed<LogSwitchConfigOpMsg>((*update)[0].op_body());
    EXPECT_EQ(op.self(), SET);
    EXPECT_EQ(op.vni(), SET);
    EXPECT_EQ(op.vlan(), CLEAR);
    EXPECT_FALSE(op.has_switch_name());
    EXPECT_FALSE(op.has_id());
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>((*update)[0].old_object_body()).vlan(), 10u);

    LogSwitchFibOpMsg entryOps;
    for (PbOpType type : {INSERT, REMOVE, UPDATE, UPDATE, APPEND}) {
        entryOps.add_vteps()->set_self(type);
    }
    ASSERT_TRUE(Modify({PatchOf(kSwitchFib, FibWith(1, {{5, 50}, {2, 0}, {3, 33}, {6, 60}, {7, 70}}),
                                entryOps)})
                    .first);
    auto fibs = ReadAll(kSwitchFib);
    ASSERT_EQ(fibs.size(), 1u);
    EXPECT_EQ(VtepIps(Parsed<LogSwitchFibMsg>(fibs[0].body())),
              (std::map<uint32_t, uint32_t>{{1, 10}, {3, 33}, {4, 40}, {5, 50}, {6, 60}, {7, 70}}))
        << "INSERT and APPEND add, REMOVE drops by key, UPDATE replaces or adds";
    ASSERT_TRUE(watcher.recorder.Next());

    LogSwitchFibOpMsg setList;
    setList.add_vteps()->set_self(SET);
    ASSERT_TRUE(Modify({PatchOf(kSwitchFib, FibWith(1, {{8, 80}, {9, 90}}), setList)}).first);
    EXPECT_EQ(VtepLabels(Parsed<LogSwitchFibMsg>(ReadAll(kSwitchFib)[0].body())),
              (std::vector<uint32_t>{8, 9}));
    LogSwitchFibOpMsg clearList;
    clearList.add_vteps()->set_self(CLEAR);
    ASSERT_TRUE(Modify({PatchOf(kSwitchFib, Fib(1), clearList)}).first);
    EXPECT_EQ(Parsed<LogSwitchFibMsg>(ReadAll(kSwitchFib)[0].body()).vteps_size(), 0);
    ASSERT_TRUE(watcher.recorder.Next());
    ASSERT_TRUE(watcher.recorder.Next());

    // A patch over several vdbs needs the object in each of them.
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(2, 1, ""), {3, 4})}).first);
    ASSERT_TRUE(Modify({PatchOf(kSwitch, Switch(2, 2, ""), fieldOps, {3, 4})}).first);
    EXPECT_EQ(Switches(3)[0].vni(), 2u);
    EXPECT_EQ(Switches(4)[0].vni(), 2u);

    LogSwitchConfigOpMsg remove;
    remove.set_self(CLEAR);
    ASSERT_TRUE(Modify({PatchOf(kSwitch, Switch(1, 0, ""), remove)}).first);
    EXPECT_TRUE(Switches().empty()) << "self CLEAR deletes the object";
    auto deletion = watcher.recorder.Next();
    ASSERT_TRUE(deletion);
    ASSERT_EQ(deletion->size(), 1u);
    EXPECT_EQ(Parsed<LogSwitchConfigOpMsg>((*deletion)[0].op_body()).self(), CLEAR);
}

TEST_F(StoreServiceTest, PatchUpdateReplacesTheListElementInPlace) {
    ASSERT_TRUE(Modify({PutOf(kSwitchFib, FibWith(1, {{1, 10}, {2, 20}, {3, 30}}))}).first);
    LogSwitchFibOpMsg update;
    update.add_vteps()->set_self(UPDATE);
    ASSERT_TRUE(Modify({PatchOf(kSwitchFib, FibWith(1, {{1, 11}}), update)}).first);
    auto fibs = ReadAll(kSwitchFib);
    ASSERT_EQ(fibs.size(), 1u);
    auto fib = Parsed<LogSwitchFibMsg>(fibs[0].body());
    EXPECT_EQ(VtepLabels(fib), (std::vector<uint32_t>{1, 2, 3}));
    EXPECT_EQ(fib.vteps(0).vtep_ip(), 11u);
}

TEST_F(StoreServiceTest, PatchNeverLeavesAStoredObjectWithoutItsKey) {
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(1, 10, ""))}).first);
    LogSwitchConfigOpMsg clearKey;
    clearKey.mutable_id()->set_self(CLEAR);
    const bool accepted = Modify({PatchOf(kSwitch, Switch(1, 10, ""), clearKey)}).first;
    auto switches = Switches();
    ASSERT_EQ(switches.size(), 1u);
    EXPECT_TRUE(switches[0].has_id()) << (accepted ? "accepted" : "refused");
}

TEST_F(StoreServiceTest, FlushRemovesEveryObjectOfTheTypeInTheNamedVdbsOnly) {
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(1, 1, "")), PutOf(kSwitch, Switch(2, 2, "")),
                        PutOf(kSwitch, Switch(1, 1, ""), {5, 6, 7}), PutOf(kSwitchFib, Fib(1))})
                    .first);
    Watcher watcher(Endpoint(), {Statement(kSwitch, 0)});
    ASSERT_EQ(watcher.recorder.Next()->size(), 2u);

    ASSERT_TRUE(Modify({FlushOf(kSwitch)}).first);
    auto deletions = watcher.recorder.Next();
    ASSERT_TRUE(deletions);
    ASSERT_EQ(deletions->size(), 2u);
    for (const auto& update : *deletions) {
        auto op = Parsed<LogSwitchConfigOpMsg>(update.op_body());
        EXPECT_EQ(op.self(), CLEAR);
        EXPECT_EQ(op.vni(), CLEAR) << "a deletion clears every field the object had";
        EXPECT_TRUE(update.has_old_object_body()) << "even for a monitor without old bodies";
    }
    EXPECT_TRUE(Switches().empty());
    EXPECT_EQ(ReadAll(kSwitchFib).size(), 1u) << "other types stay";
    EXPECT_EQ(Switches(5).size(), 1u) << "other vdbs stay";

    ASSERT_TRUE(Modify({FlushOf(kSwitch, {5, 6})}).first);
    EXPECT_TRUE(Switches(5).empty());
    EXPECT_TRUE(Switches(6).empty());
    EXPECT_EQ(Switches(7).size(), 1u);

    // Within a batch a flush covers what came before it, not what follows.
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(3, 3, "")), FlushOf(kSwitch), PutOf(kSwitch, Switch(4, 4, ""))})
                    .first);
    auto switches = Switches();
    ASSERT_EQ(switches.size(), 1u);
    EXPECT_EQ(switches[0].vni(), 4u);
    auto batch = watcher.recorder.Next();
    ASSERT_TRUE(batch);
    EXPECT_EQ(batch->size(), 1u) << "switch 3 came and went within the batch";
}

TEST_F(StoreServiceTest, VdbsAreSeparateStores) {
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(1, 100, ""))}).first);
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(1, 700, ""), {7})}).first);
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(2, 23, ""), {2, 3})}).first);
    Watcher seven(Endpoint(), {Statement(kSwitch)}, 7);
    ASSERT_EQ(seven.recorder.Next()->size(), 1u);

    ASSERT_TRUE(Modify({DeleteOf(kSwitch, Switch(1, 0, "")), PutOf(kSwitch, Switch(1, 701, ""), {7})})
                    .first);
    EXPECT_TRUE(Switches().empty());
    ASSERT_EQ(Switches(7).size(), 1u);
    EXPECT_EQ(Switches(7)[0].vni(), 701u);
    EXPECT_EQ(Switches(2).size(), 1u);
    EXPECT_EQ(Switches(3).size(), 1u);
    EXPECT_TRUE(Switches(4).empty());
    auto updates = seven.recorder.Next();
    ASSERT_TRUE(updates);
    ASSERT_EQ(updates->size(), 1u) << "vdb 0's deletion is not vdb 7's business";
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>((*updates)[0].object_body()).vni(), 701u);
}

TEST_F(StoreServiceTest, ReadReturnsOneSomeOrAllObjectsOfAType) {
    ASSERT_TRUE(Modify({PutOf(kSwitch, Switch(3, 30, "")), PutOf(kSwitch, Switch(1, 10, "")),
                        PutOf(kSwitch, Switch(2, 20, ""))})
                    .first);
    auto all = ReadAll(kSwitch);
    ASSERT_EQ(all.size(), 3u);
    for (size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i].object_type(), kSwitch);
        EXPECT_EQ(Parsed<LogSwitchConfigMsg>(all[i].body()).vni(), 10 * (i + 1));
    }
    auto [ok, some] = ReadSync(*writer, kSwitch, 0, {KeyOf(2), KeyOf(9), KeyOf(3)});
    ASSERT_TRUE(ok);
    ASSERT_EQ(some.size(), 2u) << "an absent id is left out";
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>(some[0].body()).vni(), 20u);
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>(some[1].body()).vni(), 30u);
    EXPECT_TRUE(ReadAll(kSwitch, 8).empty());
    EXPECT_TRUE(ReadAll(kSwitchFib).empty());
    EXPECT_FALSE(ReadSync(*writer, 9999, 0).first) << "unknown type";
}

TEST_F(StoreServiceTest, EchoReturnsWhatWasSent) {
    EchoMsg sent;
    sent.set_sequence(77);
    sent.set_payload(std::string("pay\0load", 8));
    auto answer = std::make_shared<std::promise<std::pair<bool, EchoMsg>>>();
    writer->Echo(sent, [answer](bool ok, const EchoMsg& echo) { answer->set_value({ok, echo}); });
    auto future = answer->get_future();
    ASSERT_EQ(future.wait_for(kWait), std::future_status::ready);
    auto [ok, echo] = future.get();
    EXPECT_TRUE(ok);
    EXPECT_EQ(echo.SerializeAsString(), sent.SerializeAsString());
}

// Two writers race; every watcher sees the same total order of transactions,
// and each writer's transactions in the order it sent them.
TEST_F(StoreServiceTest, EveryClientSeesEveryTransactionInOneOrder) {
    constexpr uint32_t kPerWriter = 40;
    std::vector<std::unique_ptr<Watcher>> watchers;
    for (int i = 0; i < 3; ++i) {
        watchers.push_back(std::make_unique<Watcher>(Endpoint(), std::vector{Statement(kSwitch)}));
        ASSERT_TRUE(watchers.back()->recorder.Next());
    }
    std::vector<std::shared_ptr<std::promise<bool>>> answers[2];
    std::vector<std::unique_ptr<LoftDbClient>> writers;
    for (int w = 0; w < 2; ++w) {
        writers.push_back(std::make_unique<LoftDbClient>("test-writer", Endpoint()));
        writers.back()->StartAsync();
        ASSERT_TRUE(writers.back()->WaitConnected(kWait));
    }
    std::vector<std::thread> threads;
    for (uint32_t w = 0; w < 2; ++w) {
        threads.emplace_back([&, w] {
            for (uint32_t i = 0; i < kPerWriter; ++i) {
                auto answer = std::make_shared<std::promise<bool>>();
                answers[w].push_back(answer);
                writers[w]->Modify({RequestOf({PutOf(kSwitch, Switch(w + 1, w * 1000 + i, ""))})},
                                   [answer](bool ok, const std::string&) { answer->set_value(ok); });
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    std::vector<std::vector<uint32_t>> seen(watchers.size());
    for (size_t v = 0; v < watchers.size(); ++v) {
        for (uint32_t n = 0; n < 2 * kPerWriter; ++n) {
            auto batch = watchers[v]->recorder.Next();
            ASSERT_TRUE(batch) << "watcher " << v << " transaction " << n;
            ASSERT_EQ(batch->size(), 1u);
            seen[v].push_back(Parsed<LogSwitchConfigMsg>((*batch)[0].object_body()).vni());
        }
    }
    for (auto& own : answers) {
        for (auto& answer : own) {
            auto future = answer->get_future();
            ASSERT_EQ(future.wait_for(kWait), std::future_status::ready);
            EXPECT_TRUE(future.get());
        }
    }
    EXPECT_EQ(seen[1], seen[0]);
    EXPECT_EQ(seen[2], seen[0]);
    for (uint32_t w = 0; w < 2; ++w) {
        std::vector<uint32_t> own;
        for (uint32_t vni : seen[0]) {
            if (vni / 1000 == w) {
                own.push_back(vni % 1000);
            }
        }
        ASSERT_EQ(own.size(), kPerWriter);
        EXPECT_TRUE(std::is_sorted(own.begin(), own.end())) << "writer " << w;
    }
}

// Entry operations: the body's list holds the element each operation
// concerns, the old body's list the former element of each UPDATE. A monitor
// without a select on the same connection gets the whole list instead.
TEST_F(StoreServiceTest, EntryMonitorReceivesListOperationsInWalkLayout) {
    const std::string select = zef::loftdb::OpReflection::SelectAllLists(LogSwitchFibMsg::descriptor());
    ASSERT_TRUE(Modify({PutOf(kSwitchFib, FibWith(1, {{1, 10}, {2, 20}, {3, 30}}))}).first);

    Recorder entries;
    Recorder whole;
    LoftDbClient client("test-entries", Endpoint());
    client.RegisterMonitor(1, entries.OnUpdate(), entries.OnBarrier(), 0);
    client.RegisterMonitor(2, whole.OnUpdate(), whole.OnBarrier(), 0);
    client.ConfigureMonitor({Statement(kSwitchFib, 1, select)}, {}, 1, 0);
    client.ConfigureMonitor({Statement(kSwitchFib, 1)}, {}, 2, 0);
    client.StartAsync();

    auto replay = entries.Next();
    ASSERT_TRUE(replay);
    ASSERT_EQ(replay->size(), 1u);
    auto replayOp = Parsed<LogSwitchFibOpMsg>((*replay)[0].op_body());
    ASSERT_EQ(replayOp.vteps_size(), 3);
    for (const auto& vtep : replayOp.vteps()) {
        EXPECT_EQ(vtep.self(), INSERT);
    }
    ASSERT_TRUE(whole.Next());

    ASSERT_TRUE(Modify({PutOf(kSwitchFib, FibWith(1, {{1, 10}, {3, 33}, {4, 40}}))}).first);
    auto changed = entries.Next();
    ASSERT_TRUE(changed);
    ASSERT_EQ(changed->size(), 1u);
    auto op = Parsed<LogSwitchFibOpMsg>((*changed)[0].op_body());
    auto body = Parsed<LogSwitchFibMsg>((*changed)[0].object_body());
    auto old = Parsed<LogSwitchFibMsg>((*changed)[0].old_object_body());
    ASSERT_EQ(op.vteps_size(), 3);
    EXPECT_EQ(op.vteps(0).self(), REMOVE);
    EXPECT_EQ(op.vteps(1).self(), UPDATE);
    EXPECT_EQ(op.vteps(2).self(), INSERT);
    EXPECT_EQ(VtepLabels(body), (std::vector<uint32_t>{2, 3, 4}));
    EXPECT_EQ(body.vteps(1).vtep_ip(), 33u);
    ASSERT_EQ(old.vteps_size(), 1);
    EXPECT_EQ(old.vteps(0).vtep_ip(), 30u);

    auto plain = whole.Next();
    ASSERT_TRUE(plain);
    ASSERT_EQ(plain->size(), 1u);
    auto plainOp = Parsed<LogSwitchFibOpMsg>((*plain)[0].op_body());
    ASSERT_EQ(plainOp.vteps_size(), 3);
    for (const auto& vtep : plainOp.vteps()) {
        EXPECT_EQ(vtep.self(), SET);
    }
    EXPECT_EQ(VtepLabels(Parsed<LogSwitchFibMsg>((*plain)[0].object_body())),
              (std::vector<uint32_t>{1, 3, 4}));
    client.Stop();
}

}  // namespace
