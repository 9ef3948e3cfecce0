#include "port/session/PortCommands.h"

#include <iomanip>
#include <map>
#include <mutex>
#include <sstream>

#include "cache/ConfigTableQueries.h"
#include "cache/StateCacheConfigTable.h"
#include "cli/api/CliJson.h"
#include "cli/api/CommandRegistry.h"
#include "frame/AgentLock.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_switching.pb.h"
#include "port/conversion/DVSPropConvertor.h"
#include "port/conversion/PortEntry.h"
#include "port/session/ConfigApp.h"

namespace CfgAgent {

namespace {

void StatusColumns(std::ostringstream& out, const std::string& port, const std::string& status,
                   const std::string& hostSwitch, const std::string& logicalSwitch,
                   const std::string& dvport) {
    out << std::left << std::setw(40) << port << std::setw(8) << status << std::setw(52)
        << hostSwitch << std::setw(40) << logicalSwitch << std::setw(40) << dvport << "\n";
}

template <typename Message>
bool StoredValue(IStateCacheConfigTable& table, uint32_t objectType, uint32_t propertyType,
                 const std::string& id, Message& message) {
    std::string value;
    return table.GetObjectProperty(objectType, propertyType, id, value) &&
           message.ParseFromString(value);
}

std::string IdText(const Uuid& id) { return id.IsNil() ? std::string() : id.Text(); }

void ExtraConfigRows(const ExtraConfigTable& table, const char* objectKey, CliJson& array) {
    for (const auto& [id, pairs] : table.All()) {
        for (const auto& [key, value] : pairs) {
            CliJson row = CliJson::Object();
            row.Put(objectKey, id.Text()).Put("Key", key).Put("Value", value);
            array.Add(std::move(row));
        }
    }
}

}  // namespace

PortCommands::PortCommands(zef::RefPtr<StateCacheConfigTable> configTable, zef::RefPtr<ConfigApp> configApp)
    : _configTable(std::move(configTable)), _configApp(std::move(configApp)) {}

PortCommands::~PortCommands() = default;
PortCommands::PortCommands(const PortCommands&) = default;

void PortCommands::Register(CommandRegistry& registry) const {
    const std::pair<const char*, std::string (PortCommands::*)() const> answers[] = {
        {"cfgagent/lport/status", &PortCommands::PortStatus},
        {"cfgagent/config/uplink", &PortCommands::Uplinks},
        {"cfgagent/config/lsportlist", &PortCommands::LsPortList},
        {"cfgagent/lsp/extracfg", &PortCommands::PortExtraConfigs},
        {"cfgagent/ls/extracfg", &PortCommands::SwitchExtraConfigs},
        {"cfgagent/ls/attachmentcfg", &PortCommands::SwitchAttachments},
    };
    for (const auto& [name, answer] : answers) {
        registry.Add(name, [self = *this, answer = answer](const CommandRegistry::Args&) {
            return (self.*answer)();
        });
    }
}

std::string PortCommands::ConvertorRows(const std::function<void(DVSPropConvertor&, CliJson&)>& fill) const {
    CliJson array = CliJson::Array();
    if (_configApp) {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        fill(*_configApp->Convertor(), array);
    }
    return array.Text();
}

std::string PortCommands::Uplinks() const {
    return ConvertorRows([](DVSPropConvertor& convertor, CliJson& array) {
        for (const UplinkInfo& uplink : convertor.Uplinks()) {
            CliJson row = CliJson::Object();
            row.Put("PortID", uplink.portId)
                .Put("HostSwitchID", uplink.switchId)
                .Put("ClientName", uplink.name)
                .Put("Alias", uplink.alias);
            array.Add(std::move(row));
        }
    });
}

std::string PortCommands::LsPortList() const {
    return ConvertorRows([](DVSPropConvertor& convertor, CliJson& array) {
        for (const PortEntry& port : convertor.Ports()) {
            CliJson row = CliJson::Object();
            row.Put("PortID", port.portId)
                .Put("LogicalSwitchID", IdText(port.lsId))
                .Put("LogicalSwitchPortID", IdText(port.lspId))
                .Put("HostSwitchID", port.switchId)
                .Put("OutOfSync", std::string(port.outOfSync ? "true" : "false"));
            array.Add(std::move(row));
        }
    });
}

std::string PortCommands::PortStatus() const {
    std::ostringstream out;
    StatusColumns(out, "Logical Port UUID", "Status", "DVSwitch ID", "Logical Switch", "DVPort ID");
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    auto& table = *_configTable;
    ConfigTableQueries queries(table);
    std::map<std::string, std::string> hostSwitches;
    if (_configApp) {
        for (const PortEntry& port : _configApp->Convertor()->Ports()) {
            hostSwitches[IdText(port.lspId)] = port.switchId;
        }
    }
    for (const std::string& text : table.GetIdsOfType(LOG_SWITCH_PORT_CONFIG)) {
        halden::zef::loftdb::UuidMsg uuid;
        UuidFromString(text, uuid);
        const std::string id = uuid.SerializeAsString();
        halden::zef::loftdb::LogSwitchPortConfigMsg port;
        halden::zef::loftdb::LogSwitchConfigMsg logicalSwitch;
        std::string switchText;
        bool up = false;
        if (StoredValue(table, LOG_SWITCH_PORT_CONFIG, LSP_SWITCH_ID, id, port) && port.has_switch_id()) {
            switchText = UuidToString(port.switch_id());
            const std::string switchId = port.switch_id().SerializeAsString();
            up = StoredValue(table, LOG_SWITCH_PORT_CONFIG, LSP_ADMIN_STATE_UP, id, port) &&
                 port.admin_state_up() &&
                 StoredValue(table, LOG_SWITCH_CONFIG, LS_ADMIN_STATE_UP, switchId, logicalSwitch) &&
                 logicalSwitch.admin_state_up();
        }
        StatusColumns(out, text, up ? "up" : "down", hostSwitches[text], switchText,
                      queries.DvPortOfLogicalPort(id).value_or(""));
    }
    return out.str();
}

std::string PortCommands::PortExtraConfigs() const {
    return ConvertorRows([](DVSPropConvertor& convertor, CliJson& array) {
        ExtraConfigRows(convertor.PortExtraConfigs(), "LSP", array);
    });
}

std::string PortCommands::SwitchExtraConfigs() const {
    return ConvertorRows([](DVSPropConvertor& convertor, CliJson& array) {
        ExtraConfigRows(convertor.SwitchExtraConfigs(), "LS", array);
    });
}

std::string PortCommands::SwitchAttachments() const {
    return ConvertorRows([](DVSPropConvertor& convertor, CliJson& array) {
        for (const auto& [parent, child] : convertor.SwitchAttachments()) {
            CliJson row = CliJson::Object();
            row.Put("LS", child.first).Put("Parent", parent).Put("Vlan", static_cast<long long>(child.second));
            array.Add(std::move(row));
        }
    });
}

}  // namespace CfgAgent
