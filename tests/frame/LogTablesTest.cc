#include "log/LogTables.h"

#include <gtest/gtest.h>

#include "TestSupport.h"

namespace FrameTest {
namespace {

using CfgAgent::LogTables;

constexpr const char* kMissing = "/nonexistent/frame-test/none.txt";

class LogTablesTest : public ::testing::Test {
protected:
    void Load(const std::string& ids, const std::string& data) {
        TempFile idFile(ids);
        TempFile dataFile(data);
        tables.Load(idFile.Path(), dataFile.Path());
    }
    void TearDown() override { tables.Load(kMissing, kMissing); }

    LogTables& tables = LogTables::Instance();
};

TEST_F(LogTablesTest, MissingFilesSwitchBothChecksOff) {
    tables.Load(kMissing, kMissing);
    EXPECT_EQ(tables.CheckMessageId("WHATEVER"), "WHATEVER");
    EXPECT_TRUE(tables.TagAllowed("any", "value"));
}

TEST_F(LogTablesTest, MessageIdLinesAreTrimmedAndCommentsSkipped) {
    Load("# header\n  ID-1  \n#ID-2\n\nID-3\n", "");
    EXPECT_EQ(tables.CheckMessageId("ID-1"), "ID-1");
    EXPECT_EQ(tables.CheckMessageId("ID-3"), "ID-3");
    EXPECT_EQ(tables.CheckMessageId("#ID-2"), "*");
    EXPECT_EQ(tables.CheckMessageId("ID-4"), "*");
}

TEST_F(LogTablesTest, ValuesAreSplitAtCommasAndTrimmed) {
    Load("", "color: red ,green,  blue \n");
    EXPECT_TRUE(tables.TagAllowed("color", "red"));
    EXPECT_TRUE(tables.TagAllowed("color", "green"));
    EXPECT_TRUE(tables.TagAllowed("color", "blue"));
    EXPECT_FALSE(tables.TagAllowed("color", " blue "));
    EXPECT_FALSE(tables.TagAllowed("color", "cyan"));
    EXPECT_FALSE(tables.TagAllowed("shape", "red"));
}

TEST_F(LogTablesTest, EmptyValueListAllowsAnyValue) {
    Load("", "any:\nspaced:   \n");
    EXPECT_TRUE(tables.TagAllowed("any", "x"));
    EXPECT_TRUE(tables.TagAllowed("any", ""));
    EXPECT_TRUE(tables.TagAllowed("spaced", "y"));
}

TEST_F(LogTablesTest, LinesWithoutExactlyTwoPartsAreIgnored) {
    Load("", "# note: x\nnocolon\nurl: a:b\nkept: v\n");
    EXPECT_FALSE(tables.TagAllowed("nocolon", ""));
    EXPECT_FALSE(tables.TagAllowed("url", "a:b"));
    EXPECT_FALSE(tables.TagAllowed("url", "a"));
    EXPECT_FALSE(tables.TagAllowed("# note", "x"));
    EXPECT_TRUE(tables.TagAllowed("kept", "v"));
}

TEST_F(LogTablesTest, LoadReplacesThePreviousTables) {
    Load("OLD\n", "old: v\n");
    Load("NEW\n", "new: v\n");
    EXPECT_EQ(tables.CheckMessageId("OLD"), "*");
    EXPECT_FALSE(tables.TagAllowed("old", "v"));
    EXPECT_TRUE(tables.TagAllowed("new", "v"));
}

TEST_F(LogTablesTest, IndentedStructuredDataLineKeepsItsKey) {
    Load("", "  color: red\n");
    EXPECT_TRUE(tables.TagAllowed("color", "red"));
}

}  // namespace
}  // namespace FrameTest
