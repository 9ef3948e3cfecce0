#include "cli/CommandTable.h"

#include <string>

#include "cli/LogLevelCommands.h"

namespace CfgAgent {

namespace {

std::vector<CommandTable::Entry> AgentCommands() {
    return {
        {"cfgagent/lport/status", nullptr, 0, 0},
        {"cfgagent/l2/local", nullptr, 0, 0},
        {"cfgagent/l2/remote", nullptr, 0, 0},
        {"cfgagent/l3/remote", nullptr, 0, 0},
        {"cfgagent/config/local", nullptr, 0, 0},
        {"cfgagent/config/remote", nullptr, 0, 0},
        {"cfgagent/cache/table", nullptr, 0, 0},
        {"cfgagent/config/lswitch", nullptr, 0, 0},
        {"cfgagent/config/lport", nullptr, 0, 0},
        {"cfgagent/config/tnode", nullptr, 0, 0},
        {"cfgagent/config/bcluster", nullptr, 0, 0},
        {"cfgagent/config/mirror", nullptr, 0, 0},
        {"cfgagent/config/mirrorsession", nullptr, 0, 0},
        {"cfgagent/config/ipfix", nullptr, 0, 0},
        {"cfgagent/config/profile", nullptr, 0, 0},
        {"cfgagent/config/grelation", nullptr, 0, 0},
        {"cfgagent/config/container", nullptr, 0, 0},
        {"cfgagent/config/cradletak", nullptr, 0, 0},
        {"cfgagent/config/uplink", nullptr, 0, 0},
        {"cfgagent/config/lsportlist", nullptr, 0, 0},
        {"cfgagent/config/ciflist", nullptr, 0, 0},
        {"cfgagent/lsp/extracfg", nullptr, 0, 0},
        {"cfgagent/ls/extracfg", nullptr, 0, 0},
        {"cfgagent/ls/attachmentcfg", nullptr, 0, 0},
        {"cfgagent/smartnic/demuxbyid", nullptr, 2, 2},
        {"cfgagent/smartnic/demuxbytype", nullptr, 1, 1},
        {"cfgagent/smartnic/demuxinfo", nullptr, 0, 0},
        {"cfgagent/smartnic/muxconfig", nullptr, 0, 0},
        {"cfgagent/smartnic/muxl2", nullptr, 0, 0},
        {"cfgagent/smartnic/muxglobalvtep", nullptr, 0, 0},
        {"cfgagent/smartnic/hostswitch", nullptr, 0, 0},
        {"cfgagent/smartnic/rtf", nullptr, 0, 0},
        {"cfgagent/l2/routingdomain", nullptr, 0, 0},
        {"cfgagent/bfd", nullptr, 0, 0},
        {"cfgagent/ipfix-switch/profile/all", nullptr, 0, 0},
        {"cfgagent/ipfix-switch/profile/lport", "NODE_UUID", 1, 1},
    };
}

// Set and get per level row; the trace level pair stands before the
// workflow tracing pair and its statistics after it.
void AddLevelCommands(std::vector<CommandTable::Entry>& table) {
    for (const LogLevelCommands::Row& row : LogLevelCommands::Rows()) {
        const bool workflow = std::string(row.set) == "cfgagent/set-wft/loglevel";
        if (workflow) {
            table.push_back({"cfgagent/set-wft/tracelevel", "TRACE_LEVEL", 1, 1});
            table.push_back({"cfgagent/get-wft/tracelevel", nullptr, 0, 0});
        }
        table.push_back({row.set, "LOG_LEVEL", 1, 1});
        table.push_back({row.get, nullptr, 0, 0});
        if (workflow) {
            table.push_back({"cfgagent/get-wft/stats", nullptr, 0, 0});
        }
    }
}

std::vector<CommandTable::Entry> ApplicationCommands() {
    return {
        {"dfw/vif", nullptr, 0, 1},
        {"dfw/exclude", nullptr, 0, 1},
        {"dfw/switch", nullptr, 0, 1},
        {"dfw/rules", nullptr, 1, 2},
        {"dfw/addrsets", nullptr, 1, 2},
        {"dfw/profiles", nullptr, 1, 2},
        {"dfw/vifcontainers", "[all|<vif>]", 1, 2},
        {"dfw/containers", nullptr, 0, 0},
        {"dfw/counters", nullptr, 0, 0},
        {"dfw/intdbgflag", "[set|unset]", 1, 1},
        {"dfw/hostMaxRules", "MAX_HOST_RULES", 1, 1},
        {"dfw/vnicMaxRules", "MAX_VNIC_RULES", 1, 1},
        {"dfw/vnicRuleCountTable", nullptr, 0, 1},
        {"dfw/vnicRuleAlarmState", nullptr, 0, 1},
        {"dfw/hostRuleAlarmState", nullptr, 0, 1},
        {"dfw/ruleAlarmConfigData", nullptr, 0, 1},
        {"dfw/tnMetrics", nullptr, 0, 0},
        {"dfw/lspMetrics", nullptr, 0, 0},
        {"dfw/getloglevel", nullptr, 0, 0},
        {"dfw/setloglevel", "LOG_LEVEL", 1, 1},
        {"dfw/getlibloglevel", "COMPONENT", 1, 1},
        {"dfw/setlibloglevel", "COMPONENT", 2, 2},
        {"dfw/getL2MacOptFlag", nullptr, 0, 0},
        {"dfw/setL2MacOptFlag", "[true|false]", 1, 1},
        {"si/get-ordered-service-paths", nullptr, 1, 2},
        {"si/get-selected-service-paths", nullptr, 1, 1},
        {"ids/get/status", nullptr, 0, 0},
        {"ids/get/profiles", nullptr, 0, 0},
        {"ids/get/rules", nullptr, 0, 0},
        {"ids/get/loglevel", nullptr, 0, 0},
        {"ids/get/engine/status", nullptr, 0, 0},
        {"ids/get/engine/globalstats", nullptr, 0, 1},
        {"ids/get/engine/loglevel", nullptr, 0, 0},
        {"ids/get/engine/alertlog", nullptr, 0, 0},
        {"ids/get/engine/profiles", nullptr, 0, 0},
        {"ids/get/engine/rules", nullptr, 0, 0},
        {"ids/get/engine/signaction", nullptr, 3, 3},
        {"ids/get/engine/profilestats", nullptr, 1, 1},
        {"ids/get/engine/profilestatus", nullptr, 1, 1},
        {"ids/set/loglevel", "LOG_LEVEL", 1, 1},
        {"ids/set/engine/loglevel", "LOG_LEVEL", 1, 1},
        {"ids/set/engine/alertlog", "enable/disable", 1, 1},
        {"ids/dump/profiles", nullptr, 0, 1},
        {"ids/dump/signatures", nullptr, 0, 0},
        {"cfgagent/statecache/logicalswitches", nullptr, 0, 0},
        {"cfgagent/statecache/logicalswitch", nullptr, 2, 2},
        {"cfgagent/statecache/L2arp", nullptr, 1, 1},
        {"cfgagent/statecache/L2mac", nullptr, 1, 1},
        {"cfgagent/statecache/L2vtep", nullptr, 2, 2},
        {"cfgagent/statecache/L2ND", nullptr, 1, 1},
        {"cfgagent/statecache/routing-domains", nullptr, 0, 0},
        {"cfgagent/statecache/routing-domain-uuid", nullptr, 1, 1},
        {"cfgagent/statecache/dr-vtep", nullptr, 0, 0},
        {"cfgagent/statecache/tn-tep-group", nullptr, 0, 0},
        {"cfgagent/cache/size", nullptr, 0, 0},
        {"cfgagent/set-simulate/out-of-sync", "VERTICAL_NAME", 1, 1},
    };
}

std::vector<CommandTable::Entry> Build() {
    using Entry = CommandTable::Entry;
    std::vector<Entry> table = AgentCommands();
    AddLevelCommands(table);
    for (const Entry& entry : ApplicationCommands()) {
        table.push_back(entry);
    }
    return table;
}

}  // namespace

const std::vector<CommandTable::Entry>& CommandTable::Entries() {
    static const std::vector<Entry> table = Build();
    return table;
}

}  // namespace CfgAgent
