#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace halden::zef::loftdb {
class UuidMsg;
}

namespace CfgAgent {

class IStateCacheConfigTable;

// The typed questions about ports, switches and transport nodes that the
// applications ask of the config table. Ids are serialized UuidMsgs unless
// said otherwise.
class ConfigTableQueries {
public:
    explicit ConfigTableQueries(IStateCacheConfigTable& table) : _table(table) {}

    // The transport zones of a host switch, over all transport nodes.
    std::vector<std::string> TransportZonesOfHostSwitch(const std::string& hostSwitchId);
    // The logical port attached to a VIF.
    std::optional<std::string> LogicalPortByVif(const std::string& vifId);
    // The logical port whose attachment names that DVPort.
    std::optional<std::string> LogicalPortByDvPort(const std::string& dvportId);
    // The attachment ids of all logical ports.
    std::set<std::string> VifIds();
    // The first logical port with that link attachment.
    std::optional<std::string> PortByLinkAttachment(const halden::zef::loftdb::UuidMsg& link);
    // The link attachments of the ports of a logical switch.
    std::vector<std::string> LinkPortsOfSwitch(const std::string& switchId);
    // The port's DVPort id, or its UUID text when the attachment names none.
    std::optional<std::string> DvPortOfLogicalPort(const std::string& portId);
    // The port's VIF id, or its UUID text when it has no attachment id.
    std::optional<std::string> VifOfLogicalPort(const std::string& portId);
    // The host switch that carries a logical switch's transport zone.
    std::optional<std::string> HostSwitchOfLogicalSwitch(const std::string& switchId);

private:
    IStateCacheConfigTable& _table;
};

}  // namespace CfgAgent
