#include "cli/CliServer.h"

#include <pthread.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <functional>
#include <iomanip>
#include <sstream>
#include <vector>

#include "cache/ConfigTableQueries.h"
#include "cli/CacheDump.h"
#include "cli/CliJson.h"
#include "cli/LogLevelCommands.h"
#include "frame/AgentLock.h"
#include "frame/HostPaths.h"
#include "frame/log/Logger.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_switching.pb.h"
#include "port/ConfigApp.h"
#include "port/DVSPropConvertor.h"
#include "port/PortEntry.h"

extern "C" {
#include "jsonrpc.h"
#include "openvswitch/poll-loop.h"
#include "unixctl.h"
}

namespace CfgAgent {

namespace {

// A command answers with a text, or with nothing when it replied itself.
using Handler = std::function<std::string(CliServer&, int argc, const char* argv[])>;

struct Command {
    std::string name;
    const char* usage;
    int minArgs;
    int maxArgs;
    Handler handler;
};

// The library keeps commands for the life of the process; they reach the
// server that runs now through this pointer.
std::atomic<CliServer*> activeServer{nullptr};

std::vector<Command>& Commands() {
    static std::vector<Command> commands;
    return commands;
}

void Serve(unixctl_conn* connection, int argc, const char* argv[], void* aux) {
    const auto* command = static_cast<const Command*>(aux);
    CliServer* server = activeServer.load();
    if (server == nullptr) {
        unixctl_command_reply_error(connection, "server is stopping");
        return;
    }
    server->Reply(connection, command->handler(*server, argc, argv));
}

Handler Text(std::string (CliServer::*answer)()) {
    return [answer](CliServer& server, int, const char*[]) { return (server.*answer)(); };
}

Handler OfType(uint32_t type) {
    return [type](CliServer& server, int, const char*[]) { return server.ConfigOfType(type); };
}

Handler EmptyArray() {
    return [](CliServer&, int, const char*[]) { return std::string("[]"); };
}

std::vector<Command> CommandTable() {
    std::vector<Command> table = {
        {"cfgagent/lport/status", nullptr, 0, 0, Text(&CliServer::PortStatus)},
        {"cfgagent/config/local", nullptr, 0, 0, Text(&CliServer::ConfigLocal)},
        {"cfgagent/config/remote", nullptr, 0, 0, Text(&CliServer::ConfigRemote)},
        {"cfgagent/cache/table", nullptr, 0, 0, Text(&CliServer::CacheTable)},
        {"cfgagent/config/lswitch", nullptr, 0, 0, OfType(LOG_SWITCH_CONFIG)},
        {"cfgagent/config/lport", nullptr, 0, 0, OfType(LOG_SWITCH_PORT_CONFIG)},
        {"cfgagent/config/tnode", nullptr, 0, 0, OfType(TRANSPORT_NODE_CONFIG)},
        {"cfgagent/config/bcluster", nullptr, 0, 0, OfType(BRIDGE_CLUSTER_CONFIG)},
        {"cfgagent/config/mirror", nullptr, 0, 0, OfType(PORT_MIRROR_SESSION)},
        {"cfgagent/config/ipfix", nullptr, 0, 0, OfType(IPFIX_CONFIGURATION)},
        {"cfgagent/config/profile", nullptr, 0, 0, OfType(PROFILE)},
        {"cfgagent/config/grelation", nullptr, 0, 0, OfType(ENTITY_GROUP_RELATION)},
        {"cfgagent/config/container", nullptr, 0, 0, OfType(CONTAINER)},
        {"cfgagent/config/uplink", nullptr, 0, 0, Text(&CliServer::Uplinks)},
        {"cfgagent/config/lsportlist", nullptr, 0, 0, Text(&CliServer::LsPortList)},
        {"cfgagent/lsp/extracfg", nullptr, 0, 0, Text(&CliServer::PortExtraConfigs)},
        {"cfgagent/ls/extracfg", nullptr, 0, 0, Text(&CliServer::SwitchExtraConfigs)},
        {"cfgagent/ls/attachmentcfg", nullptr, 0, 0, Text(&CliServer::SwitchAttachments)},
        {"cfgagent/smartnic/demuxbyid", nullptr, 2, 2, EmptyArray()},
        {"cfgagent/smartnic/demuxbytype", nullptr, 1, 1, EmptyArray()},
    };
    for (const char* name : {"cfgagent/smartnic/demuxinfo", "cfgagent/smartnic/muxconfig",
                             "cfgagent/smartnic/muxl2", "cfgagent/smartnic/muxglobalvtep",
                             "cfgagent/smartnic/hostswitch", "cfgagent/smartnic/rtf"}) {
        table.push_back({name, nullptr, 0, 0, EmptyArray()});
    }
    size_t count = 0;
    const LogLevelCommands::Row* rows = LogLevelCommands::Rows(count);
    for (size_t i = 0; i < count; ++i) {
        const LogLevelCommands::Row& row = rows[i];
        if (std::string(row.set) == "cfgagent/set-wft/loglevel") {
            table.push_back({"cfgagent/set-wft/tracelevel", "TRACE_LEVEL", 1, 1,
                             [](CliServer&, int, const char* argv[]) {
                                 return LogLevelCommands::SetTraceLevel(argv[1]);
                             }});
            table.push_back({"cfgagent/get-wft/tracelevel", nullptr, 0, 0,
                             [](CliServer&, int, const char*[]) {
                                 return LogLevelCommands::GetTraceLevel();
                             }});
        }
        table.push_back({row.set, "LOG_LEVEL", 1, 1, [&row](CliServer&, int, const char* argv[]) {
                             return LogLevelCommands::Set(row, argv[1]);
                         }});
        table.push_back({row.get, nullptr, 0, 0, [&row](CliServer&, int, const char*[]) {
                             return LogLevelCommands::Get(row);
                         }});
    }
    table.push_back({"cfgagent/cache/size", nullptr, 0, 0, Text(&CliServer::CacheSize)});
    return table;
}

}  // namespace

CliServer::CliServer(zef::RefPtr<StateCache> stateCache, zef::RefPtr<ConfigApp> configApp)
    : _stateCache(std::move(stateCache)), _configApp(std::move(configApp)) {}

CliServer::~CliServer() { Stop(); }

std::string CliServer::SocketPath() { return HostPaths::Resolve(kSocketPath); }

void CliServer::RegisterCommands() {
    if (!Commands().empty()) {
        return;
    }
    Commands() = CommandTable();
    for (const Command& command : Commands()) {
        unixctl_command_register(command.name.c_str(), command.usage, command.minArgs,
                                 command.maxArgs, Serve, const_cast<Command*>(&command));
    }
}

bool CliServer::Start() {
    const std::string path = SocketPath();
    CFG_LOG(LL_INFO, "cfgagent cli socket %1", path);
    RegisterCommands();
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
    const int error = unixctl_server_create(path.c_str(), &_server);
    if (error != 0) {
        CFG_LOG(LL_ERROR, "Cannot create zef-cfgagent unixctl server: %1", std::strerror(error))
            .Tag("errorCode:LCP00701");
        _server = nullptr;
        return false;
    }
    activeServer = this;
    _running = true;
    _thread = std::thread([this] {
        pthread_setname_np(pthread_self(), "zef-cli");
        Loop();
    });
    CFG_LOG(LL_INFO, "Start running cli server");
    return true;
}

void CliServer::Loop() {
    for (;;) {
        try {
            unixctl_server_run(_server);
        } catch (const std::exception&) {
            CFG_LOG(LL_ERROR, "failed to process command").Tag("errorCode:LCP00703");
        }
        if (!_running) {
            unixctl_server_destroy(_server);
            _server = nullptr;
            CFG_LOG(LL_INFO, "Cli server terminated");
            return;
        }
        unixctl_server_wait(_server);
        poll_block();
    }
}

void CliServer::Stop() {
    if (!_thread.joinable()) {
        return;
    }
    _running = false;
    // A connection to the own socket wakes the blocked poll.
    struct jsonrpc* client = nullptr;
    if (unixctl_client_create(SocketPath().c_str(), &client) != 0) {
        CFG_LOG(LL_ERROR, "unixctl client create failed").Tag("errorCode:LCP00115");
    } else {
        jsonrpc_close(client);
    }
    _thread.join();
    CliServer* self = this;
    activeServer.compare_exchange_strong(self, nullptr);
}

void CliServer::Reply(unixctl_conn* connection, const std::string& text) {
    unixctl_command_reply(connection, text.c_str());
}

std::string CliServer::ConfigRemote() {
    auto& table = *_stateCache->ConfigTable();
    const size_t count = table.DesiredCount();
    if (count > kMaxDumpRows) {
        CFG_LOG(LL_WARN,
                "CliServer: config cache number %1 exceeds the maximum number %2 displayed by "
                "cfgagent cli",
                count, kMaxDumpRows);
    }
    return CacheDump::ConfigRows(table.DesiredRows(kMaxDumpRows), true).Text();
}

std::string CliServer::ConfigLocal() {
    return CacheDump::ConfigRows(_stateCache->ConfigTable()->RuntimeRows(), false).Text();
}

std::string CliServer::ConfigOfType(uint32_t objectType) {
    std::vector<ConfigEntry> rows = _stateCache->ConfigTable()->DesiredRows(SIZE_MAX);
    std::erase_if(rows, [objectType](const ConfigEntry& row) { return row.objectType != objectType; });
    return CacheDump::ConfigRows(rows, true).Text();
}

std::string CliServer::CacheTable() {
    auto& table = *_stateCache->ConfigTable();
    CliJson all = CliJson::Object();
    all.Put("local_config_cache", CacheDump::ConfigRows(table.RuntimeRows(), false))
        .Put("remote_config_cache", CacheDump::ConfigRows(table.DesiredRows(kMaxDumpRows), true))
        .Put("local_l2_cache", CliJson::Array())
        .Put("remote_l2_cache", CliJson::Array())
        .Put("remote_l3_cache", CliJson::Array());
    return all.Text();
}

std::string CliServer::CacheSize() {
    auto& table = *_stateCache->ConfigTable();
    const std::pair<const char*, size_t> sizes[] = {
        {"RuntimeConfigCache", table.RuntimeSize()}, {"DesiredConfigCache", table.DesiredSize()},
        {"RuntimeL2Cache", 0},                       {"DesiredL2Cache", 0},
        {"DesiredL3Cache", 0},
    };
    CliJson array = CliJson::Array();
    for (const auto& [name, size] : sizes) {
        CliJson row = CliJson::Object();
        row.Put("TableName", std::string(name)).Put("Size", static_cast<long long>(size));
        array.Add(std::move(row));
    }
    return array.Text();
}

std::string CliServer::ConvertorRows(const std::function<void(DVSPropConvertor&, CliJson&)>& fill) {
    CliJson array = CliJson::Array();
    if (_configApp) {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        fill(*_configApp->Convertor(), array);
    }
    return array.Text();
}

std::string CliServer::Uplinks() {
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

std::string CliServer::LsPortList() {
    return ConvertorRows([](DVSPropConvertor& convertor, CliJson& array) {
        for (const PortEntry& port : convertor.Ports()) {
            CliJson row = CliJson::Object();
            row.Put("PortID", port.portId)
                .Put("LogicalSwitchID", port.lsId)
                .Put("LogicalSwitchPortID", port.lspId)
                .Put("HostSwitchID", port.switchId)
                .Put("OutOfSync", std::string(port.outOfSync ? "true" : "false"));
            array.Add(std::move(row));
        }
    });
}

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

void ExtraConfigRows(const ExtraConfigTable& table, const char* objectKey, CliJson& array) {
    for (const auto& [id, pairs] : table.All()) {
        for (const auto& [key, value] : pairs) {
            CliJson row = CliJson::Object();
            row.Put(objectKey, id).Put("Key", key).Put("Value", value);
            array.Add(std::move(row));
        }
    }
}

}  // namespace

std::string CliServer::PortStatus() {
    std::ostringstream out;
    StatusColumns(out, "Logical Port UUID", "Status", "DVSwitch ID", "Logical Switch", "DVPort ID");
    std::lock_guard<std::recursive_mutex> guard(agentLock());
    auto& table = *_stateCache->ConfigTable();
    ConfigTableQueries queries(table);
    std::map<std::string, std::string> hostSwitches;
    if (_configApp) {
        for (const PortEntry& port : _configApp->Convertor()->Ports()) {
            hostSwitches[port.lspId] = port.switchId;
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

std::string CliServer::PortExtraConfigs() {
    return ConvertorRows([](DVSPropConvertor& convertor, CliJson& array) {
        ExtraConfigRows(convertor.PortExtraConfigs(), "LSP", array);
    });
}

std::string CliServer::SwitchExtraConfigs() {
    return ConvertorRows([](DVSPropConvertor& convertor, CliJson& array) {
        ExtraConfigRows(convertor.SwitchExtraConfigs(), "LS", array);
    });
}

std::string CliServer::SwitchAttachments() {
    return ConvertorRows([](DVSPropConvertor& convertor, CliJson& array) {
        for (const auto& [parent, child] : convertor.SwitchAttachments()) {
            CliJson row = CliJson::Object();
            row.Put("LS", child.first).Put("Parent", parent).Put("Vlan", static_cast<long long>(child.second));
            array.Add(std::move(row));
        }
    });
}

}  // namespace CfgAgent
