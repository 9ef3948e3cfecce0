#include "l2/app/L2Commands.h"

#include <mutex>

#include "cli/api/CliJson.h"
#include "cli/api/CommandRegistry.h"
#include "frame/AgentLock.h"
#include "frame/vocabulary/UuidText.h"
#include "l2/app/L2App.h"

namespace CfgAgent {

L2Commands::L2Commands(zef::RefPtr<L2App> app) : _app(std::move(app)) {}
L2Commands::~L2Commands() = default;
L2Commands::L2Commands(const L2Commands&) = default;

void L2Commands::Register(CommandRegistry& registry) const {
    registry.Add("cfgagent/l2/routingdomain", [copy = *this](const CommandRegistry::Args&) {
        return CommandReply(copy.RoutingDomains());
    });
}

std::string L2Commands::RoutingDomains() const {
    std::map<std::string, L2App::RoutingDomain> domains;
    if (_app) {
        std::lock_guard<std::recursive_mutex> guard(agentLock());
        domains = _app->RoutingDomains();
    }
    CliJson array = CliJson::Array();
    for (const auto& [id, domain] : domains) {
        CliJson switches = CliJson::Array();
        for (const std::string& switchUuid : domain.switches) {
            CliJson row = CliJson::Object();
            row.Put("LogicalSwitchID", UuidBytesToString(switchUuid));
            switches.Add(std::move(row));
        }
        CliJson row = CliJson::Object();
        row.Put("RoutingDomainID", UuidBytesToString(id)).Put("LogicalSwitchList", std::move(switches));
        array.Add(std::move(row));
    }
    return array.Text();
}

}  // namespace CfgAgent
