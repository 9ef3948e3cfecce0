#include "cache/CacheCommands.h"

#include <gtest/gtest.h>

#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/UpdateOperation.h"

namespace {

using namespace CfgAgent;

class CacheCommandsTest : public ::testing::Test {
protected:
    void SetUp() override {
        savedConsole = LogLevel::console.exchange(0);
        savedLevel = LogLevel::agent.exchange(LL_WARN);  // a line per added row would dominate
    }
    void TearDown() override {
        LogLevel::console = savedConsole;
        LogLevel::agent = savedLevel;
    }

    void Fill(size_t objects) {
        LoftDBUpdateList list;
        for (size_t i = 0; i < objects; ++i) {
            list.emplace_back(LOG_SWITCH_CONFIG, "id-" + std::to_string(i), OP_UPDATE, std::string(),
                              std::string());
        }
        cache->ConfigTable()->UpdateDesiredState(list, true);
    }

    static size_t Rows(const std::string& json) {
        size_t rows = 0;
        for (size_t at = json.find("\"ObjectID\""); at != std::string::npos;
             at = json.find("\"ObjectID\"", at + 1)) {
            ++rows;
        }
        return rows;
    }

    int savedConsole = 0;
    int savedLevel = 0;
    zef::RefPtr<StateCache> cache = zef::MakeRef<StateCache>();
};

TEST_F(CacheCommandsTest, DesiredDumpStopsAtItsCap) {
    CacheCommands commands(cache);
    Fill(CacheCommands::kMaxDumpRows);
    EXPECT_EQ(Rows(commands.ConfigRemote()), CacheCommands::kMaxDumpRows);
    Fill(CacheCommands::kMaxDumpRows + 1);
    EXPECT_EQ(Rows(commands.ConfigRemote()), CacheCommands::kMaxDumpRows);
    EXPECT_EQ(Rows(commands.ConfigOfType(LOG_SWITCH_CONFIG)), CacheCommands::kMaxDumpRows + 1)
        << "the by-type dumps have no cap";
    EXPECT_EQ(Rows(commands.ConfigOfType(CONTAINER)), 0u);
}

}  // namespace
