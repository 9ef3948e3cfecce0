#include "l2/bfd/BfdCommands.h"

#include <mutex>

#include "cli/api/CliJson.h"
#include "cli/api/CommandRegistry.h"
#include "frame/AgentLock.h"
#include "l2/bfd/BFDTableApp.h"

namespace CfgAgent {

namespace {

std::string IdText(const std::string& id) { return BFDSessionIDs::Text(id); }

}  // namespace

BfdCommands::BfdCommands(zef::RefPtr<BFDTableApp> app) : _app(std::move(app)) {}
BfdCommands::~BfdCommands() = default;
BfdCommands::BfdCommands(const BfdCommands&) = default;

void BfdCommands::Register(CommandRegistry& registry) const {
    registry.Add("cfgagent/bfd", [copy = *this](const CommandRegistry::Args&) { return CommandReply(copy.Sessions()); });
}

std::string BfdCommands::Sessions() const {
    std::map<BFDTable::Key, BFDTable::Entry> entries;
    if (_app) {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        entries = _app->Table().Entries();
    }
    CliJson array = CliJson::Array();
    for (const auto& [key, entry] : entries) {
        for (const auto& [remoteId, value] : entry.remoteIDs) {
            for (const std::string& localId : value.localIDs) {
                CliJson types = CliJson::Array();
                types.Add(CliJson::String(BFDTable::SessionTypeName(entry.sessionType)));
                CliJson row = CliJson::Object();
                row.Put("localIP", entry.local.Text())
                    .Put("remoteIP", entry.remote.Text())
                    .Put("localID", IdText(localId))
                    .Put("remoteID", IdText(remoteId))
                    .Put("sessionTypeList", std::move(types))
                    .Put("refCount", static_cast<long long>(value.localIDs.size()));
                array.Add(std::move(row));
            }
        }
    }
    return array.Text();
}

}  // namespace CfgAgent
