#include "port/session/PortCommands.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "cache/StateCache.h"
#include "log/LogLevel.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_switching.pb.h"
#include "port/session/ConfigApp.h"

using namespace CfgAgent;

namespace {

std::string Uuid(const char* text) {
    halden::zef::loftdb::UuidMsg uuid;
    CfgAgent::UuidFromString(text, uuid);
    return uuid.SerializeAsString();
}

TEST(PortCommandsTest, APortIsUpOnlyWhenItAndItsSwitchAreAdminUp) {
    const int savedConsole = LogLevel::console.exchange(0);
    auto cache = zef::MakeRef<StateCache>();
    const char* const sw = "00000000-0000-0001-0000-000000000001";
    const char* const up = "00000000-0000-0002-0000-000000000001";
    const char* const down = "00000000-0000-0002-0000-000000000002";
    halden::zef::loftdb::LogSwitchConfigMsg switchAdmin;
    switchAdmin.set_admin_state_up(true);
    halden::zef::loftdb::LogSwitchPortConfigMsg portSwitch;
    UuidFromString(sw, *portSwitch.mutable_switch_id());
    halden::zef::loftdb::LogSwitchPortConfigMsg portUp;
    portUp.set_admin_state_up(true);
    halden::zef::loftdb::LogSwitchPortConfigMsg portDown;
    portDown.set_admin_state_up(false);
    LoftDBUpdateList list;
    list.emplace_back(LOG_SWITCH_CONFIG, Uuid(sw), OP_UPDATE, std::string(), std::string());
    list.emplace_back(LOG_SWITCH_CONFIG, Uuid(sw), OP_UPDATE, LS_ADMIN_STATE_UP, switchAdmin.SerializeAsString());
    for (const auto& [port, admin] : {std::pair{up, &portUp}, std::pair{down, &portDown}}) {
        list.emplace_back(LOG_SWITCH_PORT_CONFIG, Uuid(port), OP_UPDATE, std::string(), std::string());
        list.emplace_back(LOG_SWITCH_PORT_CONFIG, Uuid(port), OP_UPDATE, LSP_SWITCH_ID,
                          portSwitch.SerializeAsString());
        list.emplace_back(LOG_SWITCH_PORT_CONFIG, Uuid(port), OP_UPDATE, LSP_ADMIN_STATE_UP,
                          admin->SerializeAsString());
    }
    cache->ConfigTable()->UpdateDesiredState(list, true);
    const std::string table = PortCommands(cache->ConfigTable(), nullptr).PortStatus();
    std::istringstream lines(table);
    std::string header;
    std::getline(lines, header);
    EXPECT_EQ(header.size(), 40u + 8 + 52 + 40 + 40);
    EXPECT_EQ(header.substr(0, 17), "Logical Port UUID");
    EXPECT_EQ(header.substr(40, 6), "Status");
    std::map<std::string, std::string> status;
    for (std::string line; std::getline(lines, line);) {
        status[line.substr(0, 36)] = line.substr(40, 8);
        EXPECT_EQ(line.substr(100, 36), sw);
    }
    EXPECT_EQ(status[up], "up      ");
    EXPECT_EQ(status[down], "down    ");
    LogLevel::console.store(savedConsole);
}

}  // namespace
