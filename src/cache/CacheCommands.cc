#include "cache/CacheCommands.h"

#include <utility>
#include <vector>

#include "cache/CacheDump.h"
#include "cli/api/CliJson.h"
#include "cli/api/CommandRegistry.h"
#include "log/Logger.h"
#include "frame/vocabulary/ObjectType.h"

namespace CfgAgent {

void CacheCommands::Register(CommandRegistry& registry) const {
    const CacheCommands self = *this;
    auto text = [self](std::string (CacheCommands::*answer)() const) {
        return [self, answer](const CommandRegistry::Args&) { return (self.*answer)(); };
    };
    registry.Add("cfgagent/l2/local", text(&CacheCommands::L2Local));
    registry.Add("cfgagent/l2/remote", text(&CacheCommands::L2Remote));
    registry.Add("cfgagent/l3/remote", text(&CacheCommands::L3Remote));
    registry.Add("cfgagent/config/local", text(&CacheCommands::ConfigLocal));
    registry.Add("cfgagent/config/remote", text(&CacheCommands::ConfigRemote));
    registry.Add("cfgagent/cache/table", text(&CacheCommands::CacheTable));
    registry.Add("cfgagent/cache/size", text(&CacheCommands::CacheSize));
    const std::pair<const char*, uint32_t> byType[] = {
        {"cfgagent/config/lswitch", LOG_SWITCH_CONFIG},
        {"cfgagent/config/lport", LOG_SWITCH_PORT_CONFIG},
        {"cfgagent/config/tnode", TRANSPORT_NODE_CONFIG},
        {"cfgagent/config/bcluster", BRIDGE_CLUSTER_CONFIG},
        {"cfgagent/config/mirror", PORT_MIRROR_SESSION},
        {"cfgagent/config/ipfix", IPFIX_CONFIGURATION},
        {"cfgagent/config/profile", PROFILE},
        {"cfgagent/config/grelation", ENTITY_GROUP_RELATION},
        {"cfgagent/config/container", CONTAINER},
    };
    for (const auto& [name, type] : byType) {
        registry.Add(name, [self, type = type](const CommandRegistry::Args&) { return self.ConfigOfType(type); });
    }
}

namespace {

// Both sides of the L2 table are capped alike.
std::vector<L2Entry> CappedL2Rows(size_t count, std::vector<L2Entry> rows) {
    if (count > CacheCommands::kMaxDumpRows) {
        CFG_LOG(LL_WARN,
                "CliServer: L2 cache number %1 exceeds the maximum number %2 displayed by "
                "cfgagent cli",
                count, CacheCommands::kMaxDumpRows);
    }
    return rows;
}

}  // namespace

CliJson CacheCommands::L2LocalRows() const {
    auto& table = *_stateCache->L2Table();
    return CacheDump::L2Rows(CappedL2Rows(table.RuntimeCount(), table.RuntimeRows(kMaxDumpRows)));
}

CliJson CacheCommands::L2RemoteRows() const {
    auto& table = *_stateCache->L2Table();
    return CacheDump::L2Rows(CappedL2Rows(table.DesiredCount(), table.DesiredRows(kMaxDumpRows)));
}

std::string CacheCommands::L2Local() const { return L2LocalRows().Text(); }

std::string CacheCommands::L2Remote() const { return L2RemoteRows().Text(); }

std::string CacheCommands::L3Remote() const {
    return CacheDump::L3Rows(_stateCache->L3Table()->Rows()).Text();
}

std::string CacheCommands::ConfigRemote() const {
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

std::string CacheCommands::ConfigLocal() const {
    return CacheDump::ConfigRows(_stateCache->ConfigTable()->RuntimeRows(), false).Text();
}

std::string CacheCommands::ConfigOfType(uint32_t objectType) const {
    std::vector<ConfigEntry> rows = _stateCache->ConfigTable()->DesiredRows(SIZE_MAX);
    std::erase_if(rows, [objectType](const ConfigEntry& row) { return row.objectType != objectType; });
    return CacheDump::ConfigRows(rows, true).Text();
}

std::string CacheCommands::CacheTable() const {
    auto& table = *_stateCache->ConfigTable();
    CliJson all = CliJson::Object();
    all.Put("local_config_cache", CacheDump::ConfigRows(table.RuntimeRows(), false))
        .Put("remote_config_cache", CacheDump::ConfigRows(table.DesiredRows(kMaxDumpRows), true))
        .Put("local_l2_cache", L2LocalRows())
        .Put("remote_l2_cache", L2RemoteRows())
        .Put("remote_l3_cache", CacheDump::L3Rows(_stateCache->L3Table()->Rows()));
    return all.Text();
}

std::string CacheCommands::CacheSize() const {
    auto& table = *_stateCache->ConfigTable();
    auto& l2 = *_stateCache->L2Table();
    const std::pair<const char*, size_t> sizes[] = {
        {"RuntimeConfigCache", table.RuntimeSize()},
        {"DesiredConfigCache", table.DesiredSize()},
        {"RuntimeL2Cache", l2.RuntimeSize()},
        {"DesiredL2Cache", l2.DesiredSize()},
        {"DesiredL3Cache", _stateCache->L3Table()->DesiredSize()},
    };
    CliJson array = CliJson::Array();
    for (const auto& [name, size] : sizes) {
        CliJson row = CliJson::Object();
        row.Put("TableName", std::string(name)).Put("Size", static_cast<long long>(size));
        array.Add(std::move(row));
    }
    return array.Text();
}

}  // namespace CfgAgent
