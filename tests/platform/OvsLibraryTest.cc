#include <gtest/gtest.h>

extern "C" {
#include "openvswitch/json.h"
}

namespace {

// The command sockets and several parsers stand on this library's JSON values;
// a broken build of it shows here first.
TEST(OvsLibraryTest, JsonValuesRoundTrip) {
    struct json* value = json_from_string(R"({"tables":["vif",1,true],"depth":2})");
    ASSERT_NE(value, nullptr);
    ASSERT_EQ(value->type, JSON_OBJECT);
    const auto* depth = static_cast<const struct json*>(shash_find_data(json_object(value), "depth"));
    ASSERT_NE(depth, nullptr);
    EXPECT_EQ(json_integer(depth), 2);
    char* text = json_to_string(value, JSSF_SORT);
    EXPECT_STREQ(text, R"({"depth":2,"tables":["vif",1,true]})");
    free(text);
    json_destroy(value);

    struct json* broken = json_from_string("{\"unterminated\": ");
    ASSERT_NE(broken, nullptr);
    EXPECT_EQ(broken->type, JSON_STRING);  // the library reports errors as a string value
    json_destroy(broken);
}

}  // namespace
