#include <gtest/gtest.h>

#include <set>
#include <string>

#include "frame/vocabulary/ComponentType.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PbOpType.h"
#include "frame/vocabulary/PropertyType.h"

namespace FrameTest {
namespace {

constexpr const char* kUnknownObj = "UNKNOWN (Put more into ObjTypeToString)";

TEST(VocabularyTest, ComponentNames) {
    EXPECT_STREQ(CfgAgent::CompTypeToString(CfgAgent::CONFIGCACHE), "CONFIGCACHE");
    EXPECT_STREQ(CfgAgent::CompTypeToString(CfgAgent::DFW), "DFW");
    EXPECT_STREQ(CfgAgent::CompTypeToString(CfgAgent::BFD), "BFD");
    for (uint32_t code : {0u, 12u, 0xFFFFFFFFu}) {
        EXPECT_STREQ(CfgAgent::CompTypeToString(code), "UNKNOWN (Put more into CompTypeToString)")
            << code;
    }
}

TEST(VocabularyTest, ObjectNamesCoverExactlyTheLoggedCodes) {
    std::set<uint32_t> named = {0, 49, 52, 53, 56, 82, 105, 108, 109, 110, 129, 140, 141};
    for (uint32_t code = 1; code <= 6; ++code) {
        named.insert(code);
    }
    for (uint32_t code = 22; code <= 32; ++code) {
        named.insert(code);
    }
    for (uint32_t code = 0; code < 300; ++code) {
        const std::string text = CfgAgent::ObjTypeToString(code);
        if (named.count(code) != 0) {
            EXPECT_NE(text, kUnknownObj) << code;
        } else {
            EXPECT_EQ(text, kUnknownObj) << code;
        }
    }
}

TEST(VocabularyTest, ObjectNameTexts) {
    EXPECT_STREQ(CfgAgent::ObjTypeToString(0), "OBJECT_TYPE_INVALID");
    EXPECT_STREQ(CfgAgent::ObjTypeToString(1), "LOG_SWITCH_CONFIG");
    EXPECT_STREQ(CfgAgent::ObjTypeToString(32), "CONFIG_SPAN");
    EXPECT_STREQ(CfgAgent::ObjTypeToString(CfgAgent::DA_VIF_OBJECT), "DA_VIF");
    EXPECT_STREQ(CfgAgent::ObjTypeToString(110), "BARRIER");
    EXPECT_STREQ(CfgAgent::ObjTypeToString(141), "SI_SERVICE_PATH");
    EXPECT_STREQ(CfgAgent::ObjTypeToString(CfgAgent::PREFIX_LIST), kUnknownObj);
    EXPECT_STREQ(CfgAgent::ObjTypeToString(CfgAgent::HOTMOVE_STATUS), kUnknownObj);
}

TEST(VocabularyTest, PbOpNames) {
    EXPECT_STREQ(CfgAgent::PBOpTypeToString(CfgAgent::PB_OP_SELECT), "SELECT");
    EXPECT_STREQ(CfgAgent::PBOpTypeToString(CfgAgent::PB_OP_CONTAINS_ONE), "CONTAINS_ONE");
    EXPECT_STREQ(CfgAgent::PBOpTypeToString(CfgAgent::PB_OP_UPDATE), "UPDATE");
    EXPECT_STREQ(CfgAgent::PBOpTypeToString(13), "UNKNOWN (Put more into PBOpTypeToString)");
}

TEST(VocabularyTest, PropertyNames) {
    EXPECT_STREQ(CfgAgent::PropertyTypeToString(CfgAgent::LS_VNI), "LS_VNI");
    EXPECT_STREQ(CfgAgent::PropertyTypeToString(CfgAgent::LSP_IPFIX), "LSP_IPFIX");
    EXPECT_STREQ(CfgAgent::PropertyTypeToString(CfgAgent::L3_DAD_REQ), "L3_DAD_REQ");
    EXPECT_STREQ(CfgAgent::PropertyTypeToString(CfgAgent::BFD_HA), "BFD_HA");
    for (uint32_t code : {9u, 26u, 602u}) {
        EXPECT_STREQ(CfgAgent::PropertyTypeToString(code),
                     "UNKNOWN (Put more into PropertyTypeToString)")
            << code;
    }
}

}  // namespace
}  // namespace FrameTest
