#include "zef/loftdb/ObjectTypes.h"

#include <gtest/gtest.h>

#include <set>

#include "StoreObjects.h"
#include "frame/vocabulary/ObjectType.h"
#include "zef/loftdb/ObjectTypeTable.h"
#include "zef/loftdb/OpReflection.h"

namespace {

using zef::loftdb::ObjectTypes;

// Every type the store knows must have a message and its companion linked
// in, or the store would refuse its objects at run time.
TEST(ObjectTypesTest, EveryTypeHasAnObjectAndACompanion) {
    std::set<uint32_t> codes;
    for (const auto& info : zef::loftdb::kObjectTypes) {
        EXPECT_TRUE(codes.insert(info.code).second) << "duplicate code " << info.code;
        auto object = ObjectTypes::NewObject(info.code);
        ASSERT_TRUE(object) << info.name;
        EXPECT_TRUE(zef::loftdb::OpReflection::NewOpMessage(object->GetDescriptor())) << info.name;
        EXPECT_NE(object->GetDescriptor()->FindFieldByNumber(1), nullptr) << info.name << " has no key";
    }
    EXPECT_EQ(codes.count(CfgAgent::HOTMOVE_STATUS), 1u);
}

TEST(ObjectTypesTest, TypesAreFoundByNameOrCode) {
    ASSERT_NE(ObjectTypes::ByText("LOG_SWITCH_CONFIG"), nullptr);
    EXPECT_EQ(ObjectTypes::ByText("LOG_SWITCH_CONFIG")->code, 1u);
    EXPECT_STREQ(ObjectTypes::ByText("27")->name, "LOG_SWITCH_FIB");
    for (const char* bad : {"", "log_switch_config", "7x", "4294967296", "11"}) {
        EXPECT_EQ(ObjectTypes::ByText(bad), nullptr) << bad;
    }
}

TEST(ObjectTypesTest, KeyIsTheSerializedIdField) {
    auto object = zef::test::Switch(7, 1, "");
    ASSERT_TRUE(ObjectTypes::Key(object));
    EXPECT_EQ(*ObjectTypes::Key(object), object.id().SerializeAsString());
    object.clear_id();
    EXPECT_FALSE(ObjectTypes::Key(object));
}

}  // namespace
