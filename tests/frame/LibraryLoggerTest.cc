#include "log/zef/Logger.h"

#include <gtest/gtest.h>

#include <string>

#include "log/LogLevel.h"
#include "log/LogTables.h"

namespace FrameTest {
namespace {

constexpr const char* kMissing = "/nonexistent/frame-test/none.txt";

// The library logger has no Render: its line is read back from the console.
class LibraryLoggerTest : public ::testing::Test {
protected:
    void SetUp() override { CfgAgent::LogTables::Instance().Load(kMissing, kMissing); }
    void TearDown() override { CfgAgent::LogLevel::console.store(_console); }

    template <typename Fn>
    std::string Console(Fn&& fn) {
        CfgAgent::LogLevel::console.store(1);
        testing::internal::CaptureStdout();
        fn();
        std::string out = testing::internal::GetCapturedStdout();
        CfgAgent::LogLevel::console.store(0);
        return out;
    }

private:
    int _console = CfgAgent::LogLevel::console.load();
};

TEST_F(LibraryLoggerTest, PiecesAppendIntoOneLineWithTagsAndSubComponent) {
    const std::string out = Console([] {
        zef::Logger(zef::LIB_LOG_WARN)
            .s2comp("zef-net")
            .put("a=%d", 5)
            .put(" b=%s", "x")
            .tag("k:v")
            .entid("e-1");
    });
    EXPECT_NE(out.find(" s2comp=\"zef-net\" entId=\"e-1\" tid="), std::string::npos) << out;
    EXPECT_NE(out.find(" level=\"warn\" k=\"v\"] a=5 b=x\n"), std::string::npos) << out;
}

TEST_F(LibraryLoggerTest, NullOrEmptyTagAndEntityIdAreIgnored) {
    const std::string out = Console([] {
        zef::Logger(zef::LIB_LOG_INFO)
            .entid("kept")
            .entid(nullptr)
            .entid("")
            .tag(nullptr)
            .tag("")
            .put("%s", "m");
    });
    EXPECT_NE(out.find(" entId=\"kept\""), std::string::npos) << out;
    EXPECT_NE(out.find(" level=\"info\"] m\n"), std::string::npos) << out;
}

TEST_F(LibraryLoggerTest, PercentSignsInThePiecesReachTheLineUnchanged) {
    const std::string out = Console([] { zef::Logger(zef::LIB_LOG_ERROR).put("%s", "50% %1 done"); });
    EXPECT_NE(out.find("] 50% %1 done\n"), std::string::npos) << out;
}

TEST_F(LibraryLoggerTest, MacroBuildsNothingBelowTheVariablesLevel) {
    std::atomic<int> level{zef::LIB_LOG_WARN};
    int calls = 0;
    auto piece = [&calls] {
        ++calls;
        return "p";
    };
    const std::string out = Console([&] {
        ZEF_LIB_LOG(level, zef::LIB_LOG_DEBUG).put("%s", piece());
        ZEF_LIB_LOG(level, zef::LIB_LOG_WARN).put("%s", piece());
    });
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(out.find("level=\"debug\""), std::string::npos) << out;
    EXPECT_NE(out.find("level=\"warn\"] p\n"), std::string::npos) << out;
}

}  // namespace
}  // namespace FrameTest
