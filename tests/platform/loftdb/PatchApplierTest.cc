#include "zef/loftdb/PatchApplier.h"

#include <gtest/gtest.h>

#include "StoreObjects.h"
#include "zef/loftdb/OpReflection.h"

namespace {

using namespace halden::zef::loftdb;
using zef::loftdb::PatchApplier;

TEST(PatchApplierTest, FieldOperationsCopyOrClearOnlyWhatTheyName) {
    LogSwitchConfigMsg stored = zef::test::Switch(7, 5001, "web");
    stored.set_vlan(10);
    LogSwitchConfigMsg values = zef::test::Switch(7, 6000, "ignored");
    LogSwitchConfigOpMsg op;
    op.set_vni(SET);
    op.set_vlan(CLEAR);
    std::string error;
    ASSERT_TRUE(PatchApplier::Apply(stored, values, op, error)) << error;
    EXPECT_EQ(stored.vni(), 6000u);
    EXPECT_FALSE(stored.has_vlan());
    EXPECT_EQ(stored.switch_name(), "web");
}

TEST(PatchApplierTest, ListElementsAreMatchedByKey) {
    LogSwitchFibMsg stored = zef::test::Fib(3);
    zef::test::AddVtep(stored, 1, 100);
    zef::test::AddVtep(stored, 2, 200);
    LogSwitchFibMsg values = zef::test::Fib(3);
    zef::test::AddVtep(values, 2, 0);    // REMOVE: only the key matters
    zef::test::AddVtep(values, 1, 111);  // UPDATE
    zef::test::AddVtep(values, 9, 900);  // INSERT
    LogSwitchFibOpMsg op;
    op.add_vteps()->set_self(REMOVE);
    op.add_vteps()->set_self(UPDATE);
    op.add_vteps()->set_self(INSERT);
    std::string error;
    ASSERT_TRUE(PatchApplier::Apply(stored, values, op, error)) << error;
    ASSERT_EQ(stored.vteps_size(), 2);
    EXPECT_EQ(stored.vteps(0).vtep_ip(), 111u);
    EXPECT_EQ(stored.vteps(1).vtep_ip(), 900u);
}

TEST(PatchApplierTest, WholeListSetAndClear) {
    LogSwitchFibMsg stored = zef::test::Fib(3);
    zef::test::AddVtep(stored, 1, 100);
    LogSwitchFibMsg values = zef::test::Fib(3);
    zef::test::AddVtep(values, 5, 500);
    zef::test::AddVtep(values, 6, 600);
    LogSwitchFibOpMsg set;
    set.add_vteps()->set_self(SET);
    std::string error;
    ASSERT_TRUE(PatchApplier::Apply(stored, values, set, error));
    ASSERT_EQ(stored.vteps_size(), 2);
    EXPECT_EQ(stored.vteps(0).vtep_ip(), 500u);

    LogSwitchFibOpMsg clear;
    clear.add_vteps()->set_self(CLEAR);
    ASSERT_TRUE(PatchApplier::Apply(stored, values, clear, error));
    EXPECT_EQ(stored.vteps_size(), 0);
}

TEST(PatchApplierTest, AnOperationWithoutItsValueIsRefused) {
    LogSwitchFibMsg stored = zef::test::Fib(3);
    LogSwitchFibMsg values = zef::test::Fib(3);
    LogSwitchFibOpMsg op;
    op.add_vteps()->set_self(INSERT);
    std::string error;
    EXPECT_FALSE(PatchApplier::Apply(stored, values, op, error));
    EXPECT_NE(error.find("vteps"), std::string::npos);
}

// A code the schema does not know parses as an unknown field: refused, not
// skipped, at any depth of the companion.
TEST(PatchApplierTest, AnOperationCodeThatMeansNothingIsRefused) {
    LogSwitchConfigMsg stored = zef::test::Switch(7, 5001, "web");
    const LogSwitchConfigMsg before = stored;
    LogSwitchConfigOpMsg op;
    op.set_vni(SET);
    op.GetReflection()->MutableUnknownFields(&op)->AddVarint(LogSwitchConfigMsg::kVlanFieldNumber, 99);
    std::string error;
    EXPECT_FALSE(PatchApplier::Apply(stored, zef::test::Switch(7, 6000, ""), op, error));
    EXPECT_NE(error.find("vlan: 99"), std::string::npos) << error;
    EXPECT_EQ(stored.SerializeAsString(), before.SerializeAsString());

    LogSwitchFibMsg fib = zef::test::Fib(3);
    LogSwitchFibOpMsg listOp;
    auto* element = listOp.add_vteps();
    element->GetReflection()->MutableUnknownFields(element)->AddVarint(zef::loftdb::OpReflection::kSelfField, 42);
    EXPECT_FALSE(PatchApplier::Apply(fib, zef::test::Fib(3), listOp, error));
    EXPECT_NE(error.find(": 42"), std::string::npos) << error;
}

}  // namespace
