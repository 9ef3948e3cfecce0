#pragma once

#include <functional>
#include <string>

#include "zef/RefPtr.h"

namespace CfgAgent {

class CliJson;
class CommandRegistry;
class ConfigApp;
class DVSPropConvertor;
class StateCacheConfigTable;

// The command socket's view of the port road: the port status table from
// the config table, and the ports, uplinks, extra configs and attachments
// the port converter keeps. Without the port session the converter's
// answers are empty.
class PortCommands {
public:
    PortCommands(zef::RefPtr<StateCacheConfigTable> configTable, zef::RefPtr<ConfigApp> configApp);
    ~PortCommands();
    PortCommands(const PortCommands&);

    void Register(CommandRegistry& registry) const;

    std::string PortStatus() const;
    std::string Uplinks() const;
    std::string LsPortList() const;
    std::string PortExtraConfigs() const;
    std::string SwitchExtraConfigs() const;
    std::string SwitchAttachments() const;

private:
    // A JSON array filled from the port converter under agentLock.
    std::string ConvertorRows(const std::function<void(DVSPropConvertor&, CliJson&)>& fill) const;

    zef::RefPtr<StateCacheConfigTable> _configTable;
    zef::RefPtr<ConfigApp> _configApp;
};

}  // namespace CfgAgent
