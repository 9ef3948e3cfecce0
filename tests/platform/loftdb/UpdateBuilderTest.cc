#include "zef/loftdb/UpdateBuilder.h"

#include <gtest/gtest.h>

#include "StoreObjects.h"
#include "zef/loftdb/OpReflection.h"

namespace {

using halden::zef::loftdb::LogSwitchConfigMsg;
using halden::zef::loftdb::LogSwitchConfigOpMsg;
using halden::zef::loftdb::LogSwitchFibMsg;
using halden::zef::loftdb::LogSwitchFibOpMsg;
using halden::zef::loftdb::MonitorUpdateMsg;
using zef::loftdb::BuildMonitorUpdate;
using namespace halden::zef::loftdb;

constexpr uint32_t kSwitch = 1;
constexpr uint32_t kSwitchFib = 27;

template <typename T>
T Parsed(const std::string& bytes) {
    T message;
    EXPECT_TRUE(message.ParseFromString(bytes));
    return message;
}

std::string SelectLists() {
    return zef::loftdb::OpReflection::SelectAllLists(LogSwitchFibMsg::descriptor());
}

TEST(UpdateBuilderTest, CreationSetsSelfKeyAndEveryPresentField) {
    LogSwitchConfigMsg created = zef::test::Switch(7, 5001, "web");
    MonitorUpdateMsg update = BuildMonitorUpdate(kSwitch, nullptr, &created, "", 1);
    EXPECT_EQ(update.object_type(), kSwitch);
    EXPECT_FALSE(update.has_old_object_body()) << "nothing came before";
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>(update.object_body()).vni(), 5001u);
    auto op = Parsed<LogSwitchConfigOpMsg>(update.op_body());
    EXPECT_EQ(op.self(), SET);
    EXPECT_EQ(op.id().self(), SET);
    EXPECT_EQ(op.vni(), SET);
    EXPECT_EQ(op.switch_name(), SET);
    EXPECT_FALSE(op.has_vlan());
}

TEST(UpdateBuilderTest, ChangeMarksOnlyChangedAndRemovedFields) {
    LogSwitchConfigMsg before = zef::test::Switch(7, 5001, "web");
    before.set_vlan(10);
    LogSwitchConfigMsg after = zef::test::Switch(7, 5002, "web");
    for (uint32_t mode : {0u, 1u}) {
        MonitorUpdateMsg update = BuildMonitorUpdate(kSwitch, &before, &after, "", mode);
        auto op = Parsed<LogSwitchConfigOpMsg>(update.op_body());
        EXPECT_EQ(op.self(), SET);
        EXPECT_FALSE(op.has_id()) << "the key does not change";
        EXPECT_EQ(op.vni(), SET);
        EXPECT_EQ(op.vlan(), CLEAR);
        EXPECT_FALSE(op.has_switch_name());
        EXPECT_EQ(update.has_old_object_body(), mode == 1);
        if (mode == 1) {
            EXPECT_EQ(Parsed<LogSwitchConfigMsg>(update.old_object_body()).vlan(), 10u);
        }
    }
}

TEST(UpdateBuilderTest, DeletionClearsEveryFieldAndCarriesTheFormerObject) {
    LogSwitchConfigMsg before = zef::test::Switch(7, 5001, "web");
    before.add_extra_configs()->set_key("k");
    MonitorUpdateMsg update = BuildMonitorUpdate(kSwitch, &before, nullptr, "", 0);
    auto op = Parsed<LogSwitchConfigOpMsg>(update.op_body());
    EXPECT_EQ(op.self(), CLEAR);
    EXPECT_EQ(op.id().self(), CLEAR);
    EXPECT_EQ(op.vni(), CLEAR);
    ASSERT_EQ(op.extra_configs_size(), 1);
    EXPECT_EQ(op.extra_configs(0).self(), CLEAR);
    EXPECT_FALSE(op.has_vlan());
    ASSERT_TRUE(update.has_old_object_body()) << "even a monitor without old bodies sees what went";
    EXPECT_EQ(Parsed<LogSwitchConfigMsg>(update.old_object_body()).switch_name(), "web");
    EXPECT_FALSE(zef::loftdb::ObjectChanged(&before, &before));
    EXPECT_TRUE(zef::loftdb::ObjectChanged(&before, nullptr));
}

TEST(UpdateBuilderTest, UnselectedListIsResentWhole) {
    LogSwitchFibMsg before = zef::test::Fib(3);
    zef::test::AddVtep(before, 1, 100);
    LogSwitchFibMsg after = before;
    zef::test::AddVtep(after, 2, 200);
    auto op = Parsed<LogSwitchFibOpMsg>(BuildMonitorUpdate(kSwitchFib, &before, &after, "", 1).op_body());
    ASSERT_EQ(op.vteps_size(), 2);
    EXPECT_EQ(op.vteps(0).self(), SET);
    EXPECT_EQ(op.vteps(1).self(), SET);

    LogSwitchFibMsg emptied = zef::test::Fib(3);
    op = Parsed<LogSwitchFibOpMsg>(BuildMonitorUpdate(kSwitchFib, &before, &emptied, "", 1).op_body());
    ASSERT_EQ(op.vteps_size(), 1);
    EXPECT_EQ(op.vteps(0).self(), CLEAR);
}

// The layout an entry walk reads: op i concerns body element i, and the
// n-th UPDATE's former element is old element n.
TEST(UpdateBuilderTest, SelectedListGetsEntryOperationsInWalkLayout) {
    LogSwitchFibMsg before = zef::test::Fib(3);
    zef::test::AddVtep(before, 1, 100);  // kept
    zef::test::AddVtep(before, 2, 200);  // removed
    zef::test::AddVtep(before, 3, 300);  // updated
    LogSwitchFibMsg after = zef::test::Fib(3);
    zef::test::AddVtep(after, 1, 100);
    zef::test::AddVtep(after, 3, 333);
    zef::test::AddVtep(after, 4, 400);  // inserted

    MonitorUpdateMsg update = BuildMonitorUpdate(kSwitchFib, &before, &after, SelectLists(), 1);
    auto op = Parsed<LogSwitchFibOpMsg>(update.op_body());
    auto body = Parsed<LogSwitchFibMsg>(update.object_body());
    auto old = Parsed<LogSwitchFibMsg>(update.old_object_body());
    EXPECT_FALSE(op.has_id());
    ASSERT_EQ(op.vteps_size(), 3);
    ASSERT_EQ(body.vteps_size(), 3);
    EXPECT_EQ(op.vteps(0).self(), REMOVE);
    EXPECT_EQ(body.vteps(0).vtep_ip(), 200u);
    EXPECT_EQ(op.vteps(1).self(), UPDATE);
    EXPECT_EQ(body.vteps(1).vtep_ip(), 333u);
    EXPECT_EQ(op.vteps(2).self(), INSERT);
    EXPECT_EQ(body.vteps(2).vtep_ip(), 400u);
    ASSERT_EQ(old.vteps_size(), 1);
    EXPECT_EQ(old.vteps(0).vtep_ip(), 300u);
    EXPECT_EQ(op.vtep_group_labels_size(), 0) << "an untouched list has no ops";
}

TEST(UpdateBuilderTest, SelectedListOfANewObjectIsAllInserts) {
    LogSwitchFibMsg after = zef::test::Fib(3);
    zef::test::AddVtep(after, 1, 100);
    zef::test::AddVtep(after, 2, 200);
    auto op = Parsed<LogSwitchFibOpMsg>(
        BuildMonitorUpdate(kSwitchFib, nullptr, &after, SelectLists(), 1).op_body());
    EXPECT_EQ(op.id().self(), SET);
    ASSERT_EQ(op.vteps_size(), 2);
    EXPECT_EQ(op.vteps(0).self(), INSERT);
    EXPECT_EQ(op.vteps(1).self(), INSERT);
}

}  // namespace
