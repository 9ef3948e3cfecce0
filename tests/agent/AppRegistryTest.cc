#include "agent/AppRegistry.h"

#include <gtest/gtest.h>

#include <boost/property_tree/ptree.hpp>
#include <string>
#include <vector>

#include "agent/AppContext.h"
#include "cli/api/CommandRegistry.h"
#include "log/LogLevel.h"

namespace {

using namespace CfgAgent;

// Writes what happens to it into a shared journal.
class JournalApp : public Application {
public:
    JournalApp(std::string name, std::vector<std::string>& journal) : _name(std::move(name)), _journal(journal) {}
    void Start(const boost::property_tree::ptree& config) override {
        _journal.push_back("start " + _name + " " + config.get<std::string>("tag", ""));
    }
    void LateStart() override { _journal.push_back("late " + _name); }
    void Stop() override { _journal.push_back("stop " + _name); }

private:
    std::string _name;
    std::vector<std::string>& _journal;
};

class AppRegistryTest : public ::testing::Test {
protected:
    void SetUp() override { savedConsole = LogLevel::console.exchange(0); }
    void TearDown() override { LogLevel::console = savedConsole; }

    // Kinds in stop order: "config", then "vxlan", then "bfd", which needs "vxlan".
    void AddKinds() {
        for (const char* name : {"config", "vxlan"}) {
            registry.Add({name, "starts",
                          [this, name](const AppContext&, const AppRegistry::Made&) {
                              return std::make_unique<JournalApp>(name, journal);
                          },
                          nullptr});
        }
        registry.Add({"bfd", "starts",
                      [this](const AppContext&, const AppRegistry::Made& made) -> std::unique_ptr<Application> {
                          if (made.Find("vxlan") == nullptr) {
                              return nullptr;
                          }
                          return std::make_unique<JournalApp>("bfd", journal);
                      },
                      [this](CommandRegistry&, Application* app, const AppContext&) {
                          journal.push_back(app != nullptr ? "commands bfd with app" : "commands bfd alone");
                      }});
    }

    static AppEntry Entry(const std::string& name, bool enabled, const std::string& tag = "") {
        AppEntry entry;
        entry.name = name;
        entry.enabled = enabled;
        entry.config.put("tag", tag);
        return entry;
    }

    int savedConsole = 0;
    AppRegistry registry;
    AppContext context;
    std::vector<std::string> journal;
};

TEST_F(AppRegistryTest, ListOrderStartsKindOrderStopsAndUnknownOrDisabledNamesAreSkipped) {
    AddKinds();
    registry.StartConfigured({Entry("bfd", true), Entry("nosuch", true), Entry("vxlan", true),
                              Entry("config", false), Entry("bfd", true)},
                             context);
    registry.LateStart();
    registry.Stop();
    EXPECT_EQ(journal, (std::vector<std::string>{"start vxlan ", "start bfd ", "late vxlan", "late bfd",
                                                 "stop vxlan", "stop bfd"}))
        << "bfd before vxlan finds no L2 application and is skipped; config is disabled";
    EXPECT_EQ(registry.Find("nosuch"), nullptr);
    EXPECT_EQ(registry.Find("config"), nullptr);
}

TEST_F(AppRegistryTest, ASecondEntryOfANameReplacesTheFirstWhichStillStops) {
    AddKinds();
    registry.StartConfigured({Entry("config", true, "first"), Entry("config", true, "second")}, context);
    Application* second = registry.Find("config");
    registry.LateStart();
    registry.Stop();
    EXPECT_EQ(journal, (std::vector<std::string>{"start config first", "start config second", "late config",
                                                 "stop config", "stop config"}));
    EXPECT_NE(second, nullptr);
}

TEST_F(AppRegistryTest, EveryKindAddsItsCommandsWithOrWithoutItsApplication) {
    AddKinds();
    CommandRegistry commands;
    registry.AddCommands(commands, context);
    registry.StartConfigured({Entry("vxlan", true), Entry("bfd", true)}, context);
    registry.AddCommands(commands, context);
    EXPECT_EQ(journal, (std::vector<std::string>{"commands bfd alone", "start vxlan ", "start bfd ",
                                                 "commands bfd with app"}));
    registry.Stop();
}

}  // namespace
