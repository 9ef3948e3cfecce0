#include "log/TenantContext.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <thread>

#include "loftdb_common.pb.h"

namespace FrameTest {
namespace {

using CfgAgent::TenantContext;
using halden::zef::loftdb::TenantContextMsg;

TenantContextMsg Msg(const char* org, const char* proj = nullptr, const char* vpc = nullptr) {
    TenantContextMsg msg;
    if (org != nullptr) {
        msg.set_org(org);
    }
    if (proj != nullptr) {
        msg.set_proj(proj);
    }
    if (vpc != nullptr) {
        msg.set_vpc(vpc);
    }
    return msg;
}

TEST(TenantContextTest, TextNamesOnlyThePresentLevels) {
    {
        TenantContext tenant(Msg("o", "p", "v"));
        EXPECT_EQ(TenantContext::LogText(), " org=\"o\" proj=\"p\" vpc=\"v\"");
    }
    {
        TenantContext tenant(Msg("o", "p"));
        EXPECT_EQ(TenantContext::LogText(), " org=\"o\" proj=\"p\"");
    }
    {
        TenantContext tenant(Msg("o"));
        EXPECT_EQ(TenantContext::LogText(), " org=\"o\"");
    }
    EXPECT_EQ(TenantContext::LogText(), "");
}

TEST(TenantContextTest, TextsAreCutToEightCharacters) {
    TenantContext tenant(Msg("organisation", "project-x1", "vpc-123456"));
    EXPECT_STREQ(tenant.Org(), "organisa");
    EXPECT_STREQ(tenant.Proj(), "project-");
    EXPECT_STREQ(tenant.Vpc(), "vpc-1234");
    EXPECT_EQ(TenantContext::LogText(), " org=\"organisa\" proj=\"project-\" vpc=\"vpc-1234\"");
}

TEST(TenantContextTest, MessageWithoutTextPushesNothing) {
    TenantContext outer(Msg("outer"));
    {
        TenantContext none(Msg(nullptr));
        TenantContext blanks(Msg("", "", ""));
        EXPECT_EQ(TenantContext::Top(), &outer);
        EXPECT_EQ(blanks.Org(), nullptr);
    }
    EXPECT_EQ(TenantContext::Top(), &outer);
}

TEST(TenantContextTest, InnerContextShadowsOuterUntilItEnds) {
    TenantContext outer(Msg("outer"));
    {
        TenantContext inner(Msg("inner", "p"));
        EXPECT_EQ(TenantContext::LogText(), " org=\"inner\" proj=\"p\"");
    }
    EXPECT_EQ(TenantContext::LogText(), " org=\"outer\"");
}

TEST(TenantContextTest, EleventhEntryIsDroppedAndPopsNothing) {
    std::array<std::optional<TenantContext>, TenantContext::kStackDepth> held;
    for (int i = 0; i < TenantContext::kStackDepth; ++i) {
        held[i].emplace(Msg(("t" + std::to_string(i)).c_str()));
    }
    const TenantContext* tenth = &*held.back();
    {
        TenantContext eleventh(Msg("extra"));
        EXPECT_EQ(TenantContext::Top(), tenth);
    }
    EXPECT_EQ(TenantContext::Top(), tenth);
    held.back().reset();
    EXPECT_EQ(TenantContext::Top(), &*held[TenantContext::kStackDepth - 2]);
    for (int i = TenantContext::kStackDepth - 2; i >= 0; --i) {
        held[i].reset();
    }
    EXPECT_EQ(TenantContext::Top(), nullptr);
}

TEST(TenantContextTest, StackBelongsToOneThread) {
    TenantContext mine(Msg("main"));
    std::string seen = "unset";
    std::string inside;
    std::thread other([&] {
        seen = TenantContext::LogText();
        TenantContext theirs(Msg("other"));
        inside = TenantContext::LogText();
    });
    other.join();
    EXPECT_EQ(seen, "");
    EXPECT_EQ(inside, " org=\"other\"");
    EXPECT_EQ(TenantContext::LogText(), " org=\"main\"");
}

}  // namespace
}  // namespace FrameTest
