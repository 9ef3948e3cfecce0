#include "store/LoftdbClient.h"

#include <gtest/gtest.h>

#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "loftdb_firewall.pb.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_overlay_op.pb.h"
#include "loftdb_store.pb.h"
#include "loftdb_switching.pb.h"
#include "zef/loftdb/OpReflection.h"
#include "zef/loftdb/UpdateBuilder.h"
#include "zef/RefPtr.h"

namespace {

using namespace CfgAgent;
using halden::zef::loftdb::MonitorUpdateMsg;

halden::zef::loftdb::UuidMsg Uuid(uint64_t n) {
    halden::zef::loftdb::UuidMsg uuid;
    uuid.set_left(n);
    uuid.set_right(n);
    return uuid;
}

// The callbacks are driven by hand, as the store library's thread would.
class LoftdbClientTest : public ::testing::Test {
protected:
    void SetUp() override { savedConsole = LogLevel::console.exchange(0); }
    void TearDown() override { LogLevel::console = savedConsole; }

    std::unique_ptr<Transaction> Close() {
        client->MonitorBarrierCB();
        std::optional<std::unique_ptr<Transaction>> next = queue->Get();
        EXPECT_TRUE(next && *next);
        return next ? std::move(*next) : nullptr;
    }

    void Switch(uint64_t id, const halden::zef::loftdb::LogSwitchConfigMsg* before,
                const halden::zef::loftdb::LogSwitchConfigMsg* after) {
        client->MonitorUpdateCB(zef::loftdb::BuildMonitorUpdate(LOG_SWITCH_CONFIG, before, after, "", 1));
    }

    int savedConsole = 0;
    std::shared_ptr<UpdateQueue> queue = std::make_shared<UpdateQueue>(UpdateQueue::kNoLimit, true, false);
    zef::RefPtr<LoftdbClient> client = zef::MakeRef<LoftdbClient>(queue, "tcp://127.0.0.1:1");
};

TEST_F(LoftdbClientTest, FirstBarrierAfterChannelUpIsTheFullSyncForEveryComponent) {
    client->OnChannelStatus(true);
    auto full = Close();
    EXPECT_TRUE(full->isFullSync);
    EXPECT_EQ(full->updates.size(), 11u) << "every component learns of the full sync";
    EXPECT_EQ(full->transactionId, 0u);

    auto delta = Close();
    EXPECT_FALSE(delta->isFullSync);
    EXPECT_TRUE(delta->updates.empty());
    EXPECT_EQ(delta->transactionId, 1u);

    client->OnChannelStatus(false);
    EXPECT_FALSE(Close()->isFullSync) << "a barrier without channel is a delta";
    client->OnChannelStatus(true);
    EXPECT_TRUE(Close()->isFullSync);
}

TEST_F(LoftdbClientTest, RecordsWaitForTheBarrierAndDeletesLeadTheConfigList) {
    client->OnChannelStatus(true);
    Close();
    halden::zef::loftdb::LogSwitchConfigMsg before;
    *before.mutable_id() = Uuid(1);
    before.set_vni(5001);
    before.set_switch_name("web");
    halden::zef::loftdb::LogSwitchConfigMsg after = before;
    after.clear_switch_name();
    after.set_vni(5002);
    Switch(1, &before, &after);
    EXPECT_EQ(queue->Size(), 0u) << "nothing is delivered before the barrier";

    auto transaction = Close();
    ASSERT_EQ(transaction->updates.count(CONFIGCACHE), 1u);
    const LoftDBUpdateList list = transaction->updates[CONFIGCACHE].TakeAll();
    ASSERT_EQ(list.size(), 17u);
    bool seenUpdate = false;
    for (const LoftDBUpdateMsg& record : list) {
        if (record.operation == OP_UPDATE) {
            seenUpdate = true;
        } else {
            EXPECT_FALSE(seenUpdate) << "a delete after an update: " << record.propertyType;
        }
    }
}

TEST_F(LoftdbClientTest, EntriesThatComeAndGoInOneTransactionAreMergedAway) {
    client->OnChannelStatus(true);
    Close();
    const std::string select =
        zef::loftdb::OpReflection::SelectAllLists(halden::zef::loftdb::LogSwitchFibMsg::descriptor());
    halden::zef::loftdb::LogSwitchFibMsg empty;
    *empty.mutable_id() = Uuid(3);
    halden::zef::loftdb::LogSwitchFibMsg one = empty;
    auto* vtep = one.add_vteps();
    vtep->mutable_vtep_label()->set_label(7);
    vtep->set_vtep_ip(0x0a000001);
    client->MonitorUpdateCB(zef::loftdb::BuildMonitorUpdate(LOG_SWITCH_FIB, &empty, &one, select, 1));
    client->MonitorUpdateCB(zef::loftdb::BuildMonitorUpdate(LOG_SWITCH_FIB, &one, &empty, select, 1));
    auto transaction = Close();
    ASSERT_EQ(transaction->updates.count(L2CACHE), 1u);
    EXPECT_TRUE(transaction->updates[L2CACHE].Empty());
}

TEST_F(LoftdbClientTest, GroupRelationsBecomeContainerMembers) {
    client->OnChannelStatus(true);
    Close();
    auto relation = [](uint64_t port, std::initializer_list<uint64_t> groups) {
        halden::zef::loftdb::EntityGroupRelationMsg message;
        *message.mutable_id() = Uuid(port);
        for (uint64_t group : groups) {
            *message.add_group_ids() = Uuid(group);
        }
        return message;
    };
    auto port1 = relation(1, {100});
    auto port2 = relation(2, {100});
    client->MonitorUpdateCB(zef::loftdb::BuildMonitorUpdate(ENTITY_GROUP_RELATION, nullptr, &port1, "", 1));
    client->MonitorUpdateCB(zef::loftdb::BuildMonitorUpdate(ENTITY_GROUP_RELATION, nullptr, &port2, "", 1));
    auto transaction = Close();
    const LoftDBUpdateList config = transaction->updates[CONFIGCACHE].TakeAll();
    ASSERT_EQ(config.size(), 2u);
    EXPECT_EQ(config.front().objectType, CONTAINER);
    EXPECT_EQ(config.back().propertyType, CONTINER_LOGICAL_SWITCH_PORT);
    halden::zef::loftdb::ContainerMsg container;
    ASSERT_TRUE(container.ParseFromString(config.back().propertyValue));
    EXPECT_EQ(container.members_size(), 2);
    EXPECT_EQ(transaction->updates[DFW].Size(), 2u) << "the firewall gets the relations whole";

    // Both leave: the container goes.
    auto none1 = relation(1, {});
    auto none2 = relation(2, {});
    client->MonitorUpdateCB(zef::loftdb::BuildMonitorUpdate(ENTITY_GROUP_RELATION, &port1, &none1, "", 1));
    client->MonitorUpdateCB(zef::loftdb::BuildMonitorUpdate(ENTITY_GROUP_RELATION, &port2, &none2, "", 1));
    transaction = Close();
    const LoftDBUpdateList gone = transaction->updates[CONFIGCACHE].TakeAll();
    ASSERT_EQ(gone.size(), 1u);
    EXPECT_EQ(gone.front().objectType, CONTAINER);
    EXPECT_EQ(gone.front().operation, OP_DELETE);
}

TEST_F(LoftdbClientTest, InvalidAndUnmonitoredTypesAreDropped) {
    client->OnChannelStatus(true);
    Close();
    MonitorUpdateMsg invalid;
    invalid.set_object_type(0);
    client->MonitorUpdateCB(invalid);
    MonitorUpdateMsg vifState;
    vifState.set_object_type(VIF_STATE);
    client->MonitorUpdateCB(vifState);
    EXPECT_TRUE(Close()->updates.empty());
    EXPECT_EQ(client->UnwatchedUpdates(), 1u);
}

TEST_F(LoftdbClientTest, StartRegistersTheMonitorsInOrderWithTheirModesAndSelects) {
    EXPECT_TRUE(client->Statements().empty());
    client->Start();
    const auto statements = client->Statements();
    ASSERT_EQ(statements.size(), 46u);
    EXPECT_EQ(statements.front().object().object_type(), LOG_SWITCH_CONFIG);
    EXPECT_EQ(statements.front().mode(), 1u);
    EXPECT_EQ(statements.back().object().object_type(), BFD_GLOBAL_CONFIG);
    for (const auto& statement : statements) {
        if (statement.object().object_type() == LOG_SWITCH_FIB) {
            halden::zef::loftdb::LogSwitchFibOpMsg select;
            ASSERT_TRUE(select.ParseFromString(statement.object().select()));
            EXPECT_EQ(select.id().self(), halden::zef::loftdb::SELECT);
            ASSERT_EQ(select.vteps_size(), 1);
            EXPECT_EQ(select.vteps(0).self(), halden::zef::loftdb::SELECT);
        }
        if (statement.object().object_type() == BRIDGE_CLUSTER_CONFIG) {
            EXPECT_EQ(statement.mode(), 0u);
            EXPECT_FALSE(statement.object().has_select());
        }
    }
    client->Stop();
}

}  // namespace
