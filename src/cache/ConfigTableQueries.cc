#include "cache/ConfigTableQueries.h"

#include "cache/IStateCacheConfigTable.h"
#include "log/Logger.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_switching.pb.h"

namespace CfgAgent {

using halden::zef::loftdb::LogSwitchConfigMsg;
using halden::zef::loftdb::LogSwitchPortConfigMsg;
using halden::zef::loftdb::TransportNodeConfigMsg;

namespace {

// Every stored value of one property, parsed; rows that do not parse are skipped.
template <typename Message>
std::vector<std::pair<std::string, Message>> Parsed(IStateCacheConfigTable& table, uint32_t type,
                                                    uint32_t property) {
    std::vector<std::pair<std::string, Message>> values;
    std::vector<ConfigEntry> rows;
    table.GetObjectsByType(type, property, rows);
    for (const ConfigEntry& row : rows) {
        Message value;
        if (value.ParseFromString(row.value)) {
            values.emplace_back(row.objectId, std::move(value));
        }
    }
    return values;
}

template <typename Message>
std::optional<Message> ParsedOne(IStateCacheConfigTable& table, uint32_t type, uint32_t property,
                                 const std::string& id) {
    std::string bytes;
    Message value;
    if (!table.GetObjectProperty(type, property, id, bytes) || !value.ParseFromString(bytes)) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

std::vector<std::string> ConfigTableQueries::TransportZonesOfHostSwitch(const std::string& hostSwitchId) {
    std::vector<std::string> zones;
    for (const auto& [node, value] :
         Parsed<TransportNodeConfigMsg>(_table, TRANSPORT_NODE_CONFIG, TN_TRANSPORT_SWITCHES)) {
        for (const auto& transportSwitch : value.transport_switches()) {
            if (transportSwitch.host_switch_id() != hostSwitchId) {
                continue;
            }
            for (const auto& zone : transportSwitch.transport_zone_ids()) {
                CFG_LOG(LL_DEBUG, "ConfigCache: Host switch Id %1 TZoneId %2", hostSwitchId,
                        UuidToString(zone));
                zones.push_back(zone.SerializeAsString());
            }
        }
    }
    return zones;
}

std::optional<std::string> ConfigTableQueries::LogicalPortByVif(const std::string& vifId) {
    for (const auto& [port, value] :
         Parsed<LogSwitchPortConfigMsg>(_table, LOG_SWITCH_PORT_CONFIG, LSP_ATTACHMENT)) {
        if (value.attachment().id() == vifId) {
            return port;
        }
    }
    return std::nullopt;
}

std::optional<std::string> ConfigTableQueries::LogicalPortByDvPort(const std::string& dvportId) {
    for (const auto& [port, value] :
         Parsed<LogSwitchPortConfigMsg>(_table, LOG_SWITCH_PORT_CONFIG, LSP_ATTACHMENT)) {
        if (value.attachment().has_dvport_id() && value.attachment().dvport_id() == dvportId) {
            return port;
        }
    }
    return std::nullopt;
}

std::set<std::string> ConfigTableQueries::VifIds() {
    std::set<std::string> ids;
    for (const auto& [port, value] :
         Parsed<LogSwitchPortConfigMsg>(_table, LOG_SWITCH_PORT_CONFIG, LSP_ATTACHMENT)) {
        if (value.attachment().has_id()) {
            ids.insert(value.attachment().id());
        }
    }
    return ids;
}

std::optional<std::string> ConfigTableQueries::PortByLinkAttachment(
    const halden::zef::loftdb::UuidMsg& link) {
    const std::string wanted = link.SerializeAsString();
    for (const auto& [port, value] :
         Parsed<LogSwitchPortConfigMsg>(_table, LOG_SWITCH_PORT_CONFIG, LSP_ATTACHMENT)) {
        if (value.attachment().has_link_port_id() &&
            value.attachment().link_port_id().SerializeAsString() == wanted) {
            return port;
        }
    }
    return std::nullopt;
}

std::vector<std::string> ConfigTableQueries::LinkPortsOfSwitch(const std::string& switchId) {
    std::vector<std::string> links;
    for (const auto& [port, value] :
         Parsed<LogSwitchPortConfigMsg>(_table, LOG_SWITCH_PORT_CONFIG, LSP_SWITCH_ID)) {
        if (value.switch_id().SerializeAsString() != switchId) {
            continue;
        }
        auto attachment =
            ParsedOne<LogSwitchPortConfigMsg>(_table, LOG_SWITCH_PORT_CONFIG, LSP_ATTACHMENT, port);
        if (attachment && attachment->attachment().has_link_port_id()) {
            links.push_back(attachment->attachment().link_port_id().SerializeAsString());
        }
    }
    return links;
}

std::optional<std::string> ConfigTableQueries::DvPortOfLogicalPort(const std::string& portId) {
    auto value = ParsedOne<LogSwitchPortConfigMsg>(_table, LOG_SWITCH_PORT_CONFIG, LSP_ATTACHMENT, portId);
    if (!value) {
        return std::nullopt;
    }
    std::string dvport = value->attachment().has_dvport_id() ? value->attachment().dvport_id()
                                                             : UuidBytesToString(portId);
    CFG_LOG(LL_DEBUG, "ConfigCache: Find DVPortID %1 by LSP %2", dvport, UuidBytesToString(portId));
    return dvport;
}

std::optional<std::string> ConfigTableQueries::VifOfLogicalPort(const std::string& portId) {
    auto value = ParsedOne<LogSwitchPortConfigMsg>(_table, LOG_SWITCH_PORT_CONFIG, LSP_ATTACHMENT, portId);
    if (!value) {
        return std::nullopt;
    }
    std::string vif = value->attachment().has_id() ? value->attachment().id()
                                                   : UuidBytesToString(portId);
    CFG_LOG(LL_DEBUG, "ConfigCache: Find VIFID %1 by LSP %2", vif, UuidBytesToString(portId));
    return vif;
}

std::optional<std::string> ConfigTableQueries::HostSwitchOfLogicalSwitch(const std::string& switchId) {
    auto value =
        ParsedOne<LogSwitchConfigMsg>(_table, LOG_SWITCH_CONFIG, LS_TRANSPORT_ZONE_ID, switchId);
    if (!value || !value->has_transport_zone_id()) {
        CFG_LOG(LL_DEBUG, "ConfigCache: transport zone does not exist for logSwitch %1",
                UuidBytesToString(switchId));
        return std::nullopt;
    }
    const std::string zone = value->transport_zone_id().SerializeAsString();
    for (const auto& [node, nodeValue] :
         Parsed<TransportNodeConfigMsg>(_table, TRANSPORT_NODE_CONFIG, TN_TRANSPORT_SWITCHES)) {
        for (const auto& transportSwitch : nodeValue.transport_switches()) {
            for (const auto& candidate : transportSwitch.transport_zone_ids()) {
                if (candidate.SerializeAsString() == zone) {
                    return transportSwitch.host_switch_id();
                }
            }
        }
    }
    CFG_LOG(LL_DEBUG, "ConfigCache: dvs does not exist for transport zone %1",
            UuidToString(value->transport_zone_id()));
    return std::nullopt;
}

}  // namespace CfgAgent
