#include "cache/CacheDump.h"

#include <google/protobuf/message.h>

#include <cstdio>
#include <memory>

#include "cache/L3Messages.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_overlay.pb.h"
#include "zef/loftdb/ObjectTypeTable.h"
#include "zef/loftdb/ObjectTypes.h"

namespace CfgAgent {

namespace {

std::string TypeName(uint32_t code) {
    const auto* info = zef::loftdb::ObjectTypes::ByCode(code);
    return info != nullptr ? info->name : std::to_string(code);
}

std::string ValueText(const ConfigEntry& entry) {
    if (entry.propertyType == 0 || entry.value.empty()) {
        return {};
    }
    auto object = zef::loftdb::ObjectTypes::NewObject(entry.objectType);
    if (!object || !object->ParseFromString(entry.value)) {
        return {};
    }
    return object->ShortDebugString();
}

namespace lb = halden::zef::loftdb;

// The low 48 bits, the first byte of the address most significant.
std::string MacText(uint64_t mac) {
    char text[18];
    std::snprintf(text, sizeof(text), "%02hhx:%02hhx:%02hhx:%02hhx:%02hhx:%02hhx",
                  static_cast<unsigned char>(mac >> 40), static_cast<unsigned char>(mac >> 32),
                  static_cast<unsigned char>(mac >> 24), static_cast<unsigned char>(mac >> 16),
                  static_cast<unsigned char>(mac >> 8), static_cast<unsigned char>(mac));
    return text;
}

std::string Ip4Text(uint32_t address) {
    char text[16];
    std::snprintf(text, sizeof(text), "%u.%u.%u.%u", address >> 24, (address >> 16) & 0xff,
                  (address >> 8) & 0xff, address & 0xff);
    return text;
}

std::string Ip6Text(const std::string& address) {
    unsigned b[16] = {};
    for (size_t i = 0; i < 16 && i < address.size(); ++i) {
        b[i] = static_cast<unsigned char>(address[i]);
    }
    char text[40];
    std::snprintf(text, sizeof(text),
                  "%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x:%02x%02x", b[0],
                  b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13],
                  b[14], b[15]);
    return text;
}

long long Number(uint64_t value) { return static_cast<long long>(value); }

// The keys every dump's row begins with.
CliJson RowOf(const std::string& id, uint32_t objectType, uint32_t version, uint32_t propertyType) {
    CliJson row = CliJson::Object();
    row.Put("ObjectID", id)
        .Put("ObjectType", TypeName(objectType))
        .Put("FullSyncVersion", static_cast<long long>(version))
        .Put("PropertyType", std::string(PropertyTypeToString(propertyType)));
    return row;
}

// The message an L2 property's value holds.
std::unique_ptr<google::protobuf::Message> L2Message(uint32_t propertyType) {
    switch (propertyType) {
        case L2_VM_IP:
            return std::make_unique<lb::LogSwitchIpEntryMsg>();
        case L2_VM_MAC:
            return std::make_unique<lb::LogSwitchMacEntryMsg>();
        case L2_VTEP:
            return std::make_unique<lb::LogSwitchVtepEntryMsg>();
        case L2_VTEP_GROUP_LABEL:
            return std::make_unique<lb::VtepLabelMsg>();
        case L2_VTEP_GROUP:
            return std::make_unique<lb::VtepGroupMsg>();
        default:
            return nullptr;
    }
}

void PutVtepAddresses(CliJson& row, const lb::LogSwitchVtepEntryMsg& vtep) {
    if (vtep.has_vtep_ip()) {
        row.Put("vtep_ip", Ip4Text(vtep.vtep_ip()));
    }
    if (vtep.has_vtep_ipv6()) {
        row.Put("vtep_ipv6", Ip6Text(vtep.vtep_ipv6()));
    }
    if (vtep.has_vtep_mac()) {
        row.Put("vtep_mac", MacText(vtep.vtep_mac()));
    }
}

// One endpoint of a transport node's group.
CliJson GroupVtep(const lb::LogSwitchVtepEntryMsg& vtep) {
    CliJson row = CliJson::Object();
    PutVtepAddresses(row, vtep);
    row.Put("vtep_label", Number(vtep.vtep_label().label()));
    if (vtep.has_segment_id()) {
        row.Put("segment_id", Ip4Text(vtep.segment_id()));
    }
    if (vtep.has_segment_id_v6()) {
        row.Put("segment_idv6", Ip6Text(vtep.segment_id_v6()));
    }
    if (vtep.has_tn_binding_type()) {
        row.Put("tn_binding_type", Number(vtep.tn_binding_type()));
    }
    if (vtep.has_bfd_enabled()) {
        row.Put("bfd_enabled", std::string(vtep.bfd_enabled() ? "true" : "false"));
    }
    if (vtep.has_node_type()) {
        row.Put("node_type", Number(vtep.node_type()));
    }
    return row;
}

void PutL2Fields(CliJson& row, const google::protobuf::Message& value) {
    if (const auto* ip = dynamic_cast<const lb::LogSwitchIpEntryMsg*>(&value)) {
        if (ip->ip().has_ipv4()) {
            row.Put("ip", Ip4Text(ip->ip().ipv4()));
        }
        if (ip->ip().has_ipv6()) {
            row.Put("ipv6", Ip6Text(ip->ip().ipv6()));
        }
        if (ip->has_mac()) {
            row.Put("mac", MacText(ip->mac()));
        }
    } else if (const auto* mac = dynamic_cast<const lb::LogSwitchMacEntryMsg*>(&value)) {
        row.Put("mac", MacText(mac->mac()));
        if (mac->has_vtep()) {
            PutVtepAddresses(row, mac->vtep());
            row.Put("label", Number(mac->vtep().vtep_label().label()));
        }
    } else if (const auto* vtep = dynamic_cast<const lb::LogSwitchVtepEntryMsg*>(&value)) {
        PutVtepAddresses(row, *vtep);
        if (vtep->has_dev_name()) {
            row.Put("dev_name", vtep->dev_name());
        }
        row.Put("label", Number(vtep->vtep_label().label()));
    } else if (const auto* label = dynamic_cast<const lb::VtepLabelMsg*>(&value)) {
        row.Put("label", Number(label->label()));
    } else if (const auto* group = dynamic_cast<const lb::VtepGroupMsg*>(&value)) {
        row.Put("id", group->id()).Put("label", Number(group->label()));
        if (group->has_type()) {
            row.Put("type", Number(group->type()));
        }
        row.Put("ha_mode", group->has_ha_mode() ? std::to_string(group->ha_mode()) : "None");
        if (group->has_activeness_protocol()) {
            row.Put("activeness_protocol",
                    lb::VtepActivenessProtocol_Name(group->activeness_protocol()));
        }
        CliJson vteps = CliJson::Array();
        for (const auto& member : group->vteps()) {
            vteps.Add(GroupVtep(member));
        }
        row.Put("vtep", std::move(vteps));
    }
}

}  // namespace

CliJson CacheDump::L2Rows(const std::vector<L2Entry>& rows) {
    CliJson array = CliJson::Array();
    for (const L2Entry& entry : rows) {
        // Groups are keyed by their label's text, everything else by a UUID.
        const std::string id = entry.objectType == L2_VTEP_GROUP_OBJECT
                                   ? entry.objectId
                                   : UuidBytesToString(entry.objectId);
        CliJson row = RowOf(id, entry.objectType, entry.fullSyncVersion, entry.propertyType);
        std::unique_ptr<google::protobuf::Message> value = L2Message(entry.propertyType);
        if (value && !entry.value.empty() && value->ParseFromString(entry.value)) {
            row.Put("PropertyValue", value->ShortDebugString());
            PutL2Fields(row, *value);
        } else {
            row.Put("PropertyValue", std::string());
        }
        array.Add(std::move(row));
    }
    return array;
}

CliJson CacheDump::L3Rows(const std::vector<L3Entry>& rows) {
    CliJson array = CliJson::Array();
    for (const L3Entry& entry : rows) {
        CliJson row = RowOf(UuidBytesToString(entry.objectId), entry.objectType,
                            entry.fullSyncVersion, entry.propertyType);
        row.Put("PropertyValue",
                L3Messages::Text(entry.objectType, entry.propertyType, entry.value));
        array.Add(std::move(row));
    }
    return array;
}

CliJson CacheDump::ConfigRows(const std::vector<ConfigEntry>& rows, bool idsAsUuid) {
    CliJson array = CliJson::Array();
    for (const ConfigEntry& entry : rows) {
        CliJson row = RowOf(idsAsUuid ? UuidBytesToString(entry.objectId) : entry.objectId,
                            entry.objectType, entry.fullSyncVersion, entry.propertyType);
        row.Put("PropertyValue", ValueText(entry));
        array.Add(std::move(row));
    }
    return array;
}

}  // namespace CfgAgent
