#include "log/Logger.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <regex>
#include <string>

#include "TestSupport.h"
#include "log/LogTables.h"
#include "log/TenantContext.h"
#include "loftdb_common.pb.h"

namespace FrameTest {
namespace {

using CfgAgent::Logger;
using CfgAgent::LogLevel;

constexpr const char* kMissing = "/nonexistent/frame-test/none.txt";

int conversions = 0;

// Its text is built by an overload found through the argument's namespace.
struct Noisy {};
std::string LogArg(const Noisy&) {
    ++conversions;
    return "noisy";
}

int Counted(int& calls) {
    ++calls;
    return calls;
}

std::string Tid() {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%X",
                  static_cast<unsigned>(static_cast<unsigned long>(pthread_self()) & 0xFFFFFFFFu));
    return buffer;
}

// The structured part up to and including the level.
std::string Head(const char* level, const std::string& between = "") {
    return std::string("[zef@4242 comp=\"zef-controller\" subcomp=\"cfgAgent\"") + between +
           " tid=\"" + Tid() + "\" level=\"" + level + "\"";
}

class LoggerTest : public ::testing::Test {
protected:
    void SetUp() override { CfgAgent::LogTables::Instance().Load(kMissing, kMissing); }
    void TearDown() override {
        CfgAgent::LogTables::Instance().Load(kMissing, kMissing);
        LogLevel::agent.store(_agent);
    }

    QuietConsole quiet;

private:
    int _agent = LogLevel::agent.load();
};

TEST_F(LoggerTest, SyslogLineHasPidDashStructuredPartAndText) {
    Logger log(CfgAgent::LL_INFO, "hello %1", 5);
    EXPECT_EQ(log.Render().syslog,
              "ZEF " + std::to_string(getpid()) + " - " + Head("info") + "] hello 5");
}

TEST_F(LoggerTest, ConsoleLineStartsWithUtcTimeInMillis) {
    // A zone far from UTC exposes local time.
    const char* savedTz = std::getenv("TZ");
    const std::string saved = savedTz != nullptr ? savedTz : "";
    setenv("TZ", "XYZ-05:30", 1);
    tzset();
    const time_t before = time(nullptr);
    Logger::Lines lines = Logger(CfgAgent::LL_WARN, "text").Render();
    const time_t after = time(nullptr);
    savedTz != nullptr ? setenv("TZ", saved.c_str(), 1) : unsetenv("TZ");
    tzset();

    std::smatch match;
    const std::regex shape(R"(^(\d{4})-(\d\d)-(\d\d)T(\d\d):(\d\d):(\d\d)\.\d{3}Z (.*)\n$)");
    ASSERT_TRUE(std::regex_match(lines.console, match, shape)) << lines.console;
    EXPECT_EQ(match[7].str(), Head("warn") + "] text");
    tm printed{};
    printed.tm_year = std::stoi(match[1].str()) - 1900;
    printed.tm_mon = std::stoi(match[2].str()) - 1;
    printed.tm_mday = std::stoi(match[3].str());
    printed.tm_hour = std::stoi(match[4].str());
    printed.tm_min = std::stoi(match[5].str());
    printed.tm_sec = std::stoi(match[6].str());
    const time_t seconds = timegm(&printed);
    EXPECT_GE(seconds, before);
    EXPECT_LE(seconds, after + 1);
}

TEST_F(LoggerTest, SubComponentAndEntityIdComeBeforeTheThreadId) {
    Logger log(CfgAgent::LL_ERROR, "x");
    log.EntityId("ent-1").SubComponent("dfw");
    EXPECT_EQ(log.Render().console.substr(25),
              Head("error", " s2comp=\"dfw\" entId=\"ent-1\"") + "] x\n");
}

TEST_F(LoggerTest, EachLevelHasItsWordAndSeverity) {
    const struct {
        int level;
        const char* word;
        int severity;
    } cases[] = {
        {1, "fatal", LOG_ERR},  {2, "error", LOG_ERR},   {3, "warn", LOG_WARNING},
        {4, "info", LOG_INFO}, {5, "debug", LOG_DEBUG}, {6, "trace", LOG_DEBUG},
    };
    for (const auto& c : cases) {
        Logger::Lines lines = Logger(c.level, "m").Render();
        EXPECT_NE(lines.syslog.find(Head(c.word) + "]"), std::string::npos) << c.level;
        EXPECT_EQ(lines.severity, c.severity) << c.level;
    }
}

TEST_F(LoggerTest, LevelOutsideTheRangeRendersNothing) {
    for (int level : {-1, 0, 7}) {
        Logger::Lines lines = Logger(level, "m").Render();
        EXPECT_EQ(lines.syslog, "") << level;
        EXPECT_EQ(lines.console, "") << level;
    }
}

TEST_F(LoggerTest, PlaceholdersTakeArgumentsByPosition) {
    const std::string args[] = {"a", "b", "c", "d", "e"};
    EXPECT_EQ(Logger::Format("%5%4 %3-%2-%1 %1", args, 5), "ed c-b-a a");
    Logger::Lines lines = Logger(CfgAgent::LL_INFO, "%2 %1 %3 %4", true, false, 2.5, 'x').Render();
    EXPECT_EQ(lines.syslog.substr(lines.syslog.rfind(']') + 1), " 0 1 2.5 x");
}

TEST_F(LoggerTest, TagsSplitAtTheFirstColon) {
    Logger log(CfgAgent::LL_INFO, "t");
    log.Tag("k:v").Tag("bare").Tag("url:http://h:80").Tag(":").Tag(":only").Tag("empty:");
    EXPECT_EQ(log.Render().console.substr(25),
              Head("info") + " k=\"v\" tag=\"bare\" url=\"http://h:80\" tag=\"only\" empty=\"\"] t\n");
}

TEST_F(LoggerTest, TenantTextSitsBetweenLevelAndTags) {
    halden::zef::loftdb::TenantContextMsg msg;
    msg.set_org("acme");
    CfgAgent::TenantContext tenant(msg);
    Logger log(CfgAgent::LL_INFO, "t");
    log.Tag("k:v");
    EXPECT_EQ(log.Render().console.substr(25), Head("info") + " org=\"acme\" k=\"v\"] t\n");
}

TEST_F(LoggerTest, MessageIdIsPrintedAsGivenWhileTheTableIsEmpty) {
    Logger log(CfgAgent::LL_INFO, "t");
    log.MessageId("ANY-ID");
    const std::string line = log.Render().syslog;
    EXPECT_EQ(line.substr(0, line.find('[')), "ZEF " + std::to_string(getpid()) + " ANY-ID ");
    EXPECT_EQ(line.find("invalid"), std::string::npos);
}

TEST_F(LoggerTest, SuppressedCallSiteBuildsNoArgument) {
    LogLevel::agent.store(CfgAgent::LL_WARN);
    int calls = 0;
    conversions = 0;
    CFG_LOG(CfgAgent::LL_DEBUG, "%1 %2", Counted(calls), Noisy{});
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(conversions, 0);
    CFG_LOG(CfgAgent::LL_WARN, "%1 %2", Counted(calls), Noisy{});
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(conversions, 1);
}

TEST_F(LoggerTest, CallSiteIsOneStatementForIfElse) {
    int elseTaken = 0;
    const bool branch = false;
    if (branch)
        CFG_LOG(CfgAgent::LL_INFO, "never");
    else
        ++elseTaken;
    EXPECT_EQ(elseTaken, 1);
}

// Lines rendered against loaded data files.
class LoggerWithTablesTest : public LoggerTest {
protected:
    void SetUp() override {
        CfgAgent::LogTables::Instance().Load(_ids.Path(), _data.Path());
    }

private:
    TempFile _ids{"KNOWN-1\n"};
    TempFile _data{"color: red, green\nany:\n"};
};

TEST_F(LoggerWithTablesTest, DisallowedTagsAreDroppedAndMarkTheLineInvalid) {
    Logger log(CfgAgent::LL_INFO, "t");
    log.Tag("color:red").Tag("color:blue").Tag("shape:round").Tag("any:thing").Tag("bare");
    EXPECT_EQ(log.Render().console.substr(25),
              Head("info") + " color=\"red\" any=\"thing\" invalid=\"true\"] t\n");
}

TEST_F(LoggerWithTablesTest, AllowedTagsLeaveTheLineValid) {
    Logger log(CfgAgent::LL_INFO, "t");
    log.Tag("color:green").MessageId("KNOWN-1");
    const std::string line = log.Render().syslog;
    EXPECT_NE(line.find(" KNOWN-1 [zef@4242"), std::string::npos);
    EXPECT_EQ(line.find("invalid"), std::string::npos);
}

TEST_F(LoggerWithTablesTest, UnknownMessageIdPrintsDashAndMarksTheLineInvalid) {
    Logger log(CfgAgent::LL_INFO, "t");
    log.MessageId("NOT-KNOWN");
    EXPECT_EQ(log.Render().syslog, "ZEF " + std::to_string(getpid()) + " - " + Head("info") +
                                       " invalid=\"true\"] t");
}

}  // namespace
}  // namespace FrameTest
