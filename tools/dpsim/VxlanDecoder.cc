#include "VxlanDecoder.h"

#include <vector>

#include "AddressText.h"
#include "l2/codec/VxlanBfdUpdateCodec.h"
#include "l2/codec/VxlanConfigureCodec.h"
#include "l2/codec/VxlanControlCodec.h"
#include "l2/codec/VxlanDump.h"
#include "l2/codec/VxlanGroupAssociationCodec.h"
#include "l2/codec/VxlanGroupCodec.h"
#include "l2/codec/VxlanIpUpdateCodec.h"
#include "l2/codec/VxlanMacUpdateCodec.h"
#include "l2/codec/VxlanMessage.h"
#include "l2/codec/VxlanNeighborUpdateCodec.h"
#include "l2/codec/VxlanQueryCodec.h"
#include "l2/codec/VxlanRdListCodec.h"
#include "l2/codec/VxlanRdVtepUpdateCodec.h"
#include "l2/codec/VxlanTepStateCodec.h"
#include "l2/codec/VxlanUpdateCodec.h"
#include "l2/codec/VxlanVifUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"

namespace Dpsim {

using namespace CfgAgent;

namespace {

std::string Ipv4Text(uint32_t ip) {
    return AddressText::Ip(true, VxlanIp{static_cast<uint8_t>(ip >> 24),
                                         static_cast<uint8_t>(ip >> 16),
                                         static_cast<uint8_t>(ip >> 8), static_cast<uint8_t>(ip)});
}

void SwitchAndVni(cJSON* json, uint32_t switchId, uint32_t vni) {
    cJSON_AddNumberToObject(json, "switchId", switchId);
    cJSON_AddNumberToObject(json, "vni", vni);
}

void Counts(cJSON* json, size_t removed, size_t added) {
    cJSON_AddNumberToObject(json, "removed", static_cast<double>(removed));
    cJSON_AddNumberToObject(json, "added", static_cast<double>(added));
}

// One data TLV of an Update; the codec's reason when it does not read.
std::string UpdateData(const Tlv& data, cJSON* json) {
    const char* name = VxlanMessage::DataTypeName(data.Type());
    if (name == nullptr) {
        cJSON_AddNumberToObject(json, "dataType", data.Type());
        return "unsupported update data type " + std::to_string(data.Type());
    }
    cJSON_AddStringToObject(json, "dataType", name);
    std::string reason;
    switch (data.Type()) {
        case VXLAN_DATATYPE_VMMAC: {
            VxlanMacUpdate update;
            if ((reason = VxlanMacUpdateCodec::Read(data, update)).empty()) {
                SwitchAndVni(json, update.switchId, update.vni);
                Counts(json, update.removed.size(), update.added.size());
            }
            break;
        }
        case VXLAN_DATATYPE_IPv4:
        case VXLAN_DATATYPE_IPv6: {
            VxlanIpUpdate update;
            if ((reason = VxlanIpUpdateCodec::Read(data, update)).empty()) {
                SwitchAndVni(json, update.switchId, update.vni);
                Counts(json, update.removed.size(), update.added.size());
            }
            break;
        }
        case VXLAN_DATATYPE_VTEP_MBR: {
            VxlanVtepUpdate update;
            if ((reason = VxlanVtepUpdateCodec::Read(data, update)).empty()) {
                SwitchAndVni(json, update.switchId, update.vni);
                Counts(json, update.removed.size(), update.added.size());
            }
            break;
        }
        case VXLAN_DATATYPE_ARPv4:
        case VXLAN_DATATYPE_NDv6: {
            VxlanNeighborUpdate update;
            if ((reason = VxlanNeighborUpdateCodec::Read(data, update)).empty()) {
                SwitchAndVni(json, update.switchId, update.vni);
                Counts(json, 0, update.entries.size());
            }
            break;
        }
        case VXLAN_DATATYPE_VIF: {
            VxlanVifUpdate update;
            if ((reason = VxlanVifUpdateCodec::Read(data, update)).empty()) {
                cJSON_AddNumberToObject(json, "status", update.status);
                Counts(json, 0, update.vifIds.size());
            }
            break;
        }
        case VXLAN_DATATYPE_ROUTING_DOMAIN_VTEP_MBR: {
            VxlanRdVtepUpdate update;
            if ((reason = VxlanRdVtepUpdateCodec::Read(data, update)).empty()) {
                cJSON_AddStringToObject(json, "routingDomain",
                                        VxlanDump::UuidText(update.routingDomain).c_str());
                cJSON_AddNumberToObject(json, "switchId", update.switchId);
                Counts(json, update.removed.size(), update.added.size());
            }
            break;
        }
        case VXLAN_DATATYPE_ROUTING_DOMAIN_LIST: {
            VxlanRdList update;
            if ((reason = VxlanRdListCodec::Read(data, update)).empty()) {
                cJSON_AddNumberToObject(json, "switchId", update.switchId);
                Counts(json, 0, update.routingDomains.size());
            }
            break;
        }
        case VXLAN_DATATYPE_BFD_SESSION: {
            VxlanBfdUpdate update;
            if ((reason = VxlanBfdUpdateCodec::Read(data, update)).empty()) {
                cJSON_AddNumberToObject(json, "switchId", update.switchId);
                Counts(json, update.removed.size(), update.added.size());
            }
            break;
        }
        case VXLAN_DATATYPE_VTEP_GROUP: {
            VxlanGroup group;
            if ((reason = VxlanGroupCodec::Read(data, group)).empty()) {
                cJSON_AddNumberToObject(json, "label", group.label);
                cJSON_AddBoolToObject(json, "delete", group.deleted);
                cJSON_AddNumberToObject(json, "kind", group.kind);
            }
            break;
        }
        default: {
            VxlanGroupAssociation association;
            if ((reason = VxlanGroupAssociationCodec::Read(data, association)).empty()) {
                cJSON_AddNumberToObject(json, "switchId", association.switchId);
                if (association.routingDomainSide) {
                    cJSON_AddStringToObject(json, "routingDomain",
                                            VxlanDump::UuidText(association.routingDomain).c_str());
                } else {
                    cJSON_AddNumberToObject(json, "vni", association.vni);
                }
                cJSON_AddNumberToObject(json, "label", association.label);
                cJSON_AddBoolToObject(json, "delete", association.deleted);
            }
            break;
        }
    }
    return reason;
}

std::string Update(std::span<const uint8_t> message, cJSON* fields) {
    std::vector<Tlv> row;
    std::string reason = VxlanUpdateCodec::Read(message, row);
    cJSON* list = cJSON_AddArrayToObject(fields, "data");
    for (const Tlv& data : row) {
        cJSON* one = cJSON_CreateObject();
        cJSON_AddItemToArray(list, one);
        const std::string dataReason = UpdateData(data, one);
        if (reason.empty()) {
            reason = dataReason;
        }
    }
    return reason;
}

std::string Configure(std::span<const uint8_t> message, cJSON* fields) {
    std::vector<VxlanConfigureItem> items;
    const std::string reason = VxlanConfigureCodec::Read(message, items);
    cJSON* list = cJSON_AddArrayToObject(fields, "items");
    for (const VxlanConfigureItem& item : items) {
        cJSON* one = cJSON_CreateObject();
        cJSON_AddNumberToObject(one, "type", item.type);
        if (item.type >= VXLAN_CFG_MCAST_PROXY) {
            SwitchAndVni(one, item.switchId, item.vni);
        } else if (item.type != VXLAN_CFG_BFD) {
            cJSON_AddNumberToObject(one, "value", item.number);
        }
        cJSON_AddItemToArray(list, one);
    }
    return reason;
}

std::string Query(std::span<const uint8_t> message, cJSON* fields) {
    std::vector<VxlanQuery> queries;
    const std::string reason = VxlanQueryCodec::Read(message, queries);
    cJSON* list = cJSON_AddArrayToObject(fields, "queries");
    for (const VxlanQuery& query : queries) {
        cJSON* one = cJSON_CreateObject();
        cJSON_AddStringToObject(one, "dataType", VxlanMessage::DataTypeName(query.dataType));
        SwitchAndVni(one, query.switchId, query.vni);
        cJSON* entries = cJSON_AddArrayToObject(one, "entries");
        for (const VxlanMac& mac : query.macs) {
            cJSON_AddItemToArray(entries, cJSON_CreateString(AddressText::Mac(mac).c_str()));
        }
        for (const VxlanIp& ip : query.ips) {
            const bool v4 = query.dataType == VXLAN_DATATYPE_ARPv4;
            cJSON_AddItemToArray(entries, cJSON_CreateString(AddressText::Ip(v4, ip).c_str()));
        }
        cJSON_AddItemToArray(list, one);
    }
    return reason;
}

std::string Fixed(uint16_t type, std::span<const uint8_t> message, cJSON* fields) {
    std::string reason;
    switch (type) {
        case VXLAN_MSG_SESSION_CONTROL: {
            VxlanSession session;
            if ((reason = VxlanControlCodec::ReadSession(message, session)).empty()) {
                const char* name = VxlanControlCodec::SessionName(session.controlType);
                if (name == nullptr) {
                    reason = "unknown session control type " + std::to_string(session.controlType);
                    cJSON_AddNumberToObject(fields, "control", session.controlType);
                } else {
                    cJSON_AddStringToObject(fields, "control", name);
                }
                cJSON_AddNumberToObject(fields, "sessionId", session.sessionId);
            }
            break;
        }
        case VXLAN_MSG_VNI_MEMBERSHIP: {
            VxlanVniMembership change;
            if ((reason = VxlanControlCodec::ReadVniMembership(message, change)).empty()) {
                SwitchAndVni(fields, change.switchId, change.vni);
                cJSON_AddStringToObject(fields, "operation",
                                        change.operation == VXLAN_JOIN ? "join" : "leave");
            }
            break;
        }
        case VXLAN_MSG_LINK_CHANGE: {
            VxlanLinkChange change;
            if ((reason = VxlanControlCodec::ReadLinkChange(message, change)).empty()) {
                cJSON_AddNumberToObject(fields, "switchId", change.switchId);
                cJSON_AddNumberToObject(fields, "operation", change.operation);
                cJSON* entries = cJSON_AddArrayToObject(fields, "entries");
                for (const auto& entry : change.entries) {
                    cJSON* one = cJSON_CreateObject();
                    cJSON_AddNumberToObject(one, "vni", entry.vni);
                    cJSON_AddBoolToObject(one, "mcastProxy", entry.mcastProxy != 0);
                    cJSON_AddBoolToObject(one, "arpProxy", entry.arpProxy != 0);
                    cJSON_AddItemToArray(entries, one);
                }
            }
            break;
        }
        case VXLAN_MSG_CONTROLLER_IP: {
            VxlanControllerIp update;
            if ((reason = VxlanControlCodec::ReadControllerIp(message, update)).empty()) {
                SwitchAndVni(fields, update.switchId, update.vni);
                cJSON_AddNumberToObject(fields, "addressType", update.addressType);
                cJSON_AddStringToObject(fields, "ipv4", Ipv4Text(update.ipv4).c_str());
                cJSON_AddStringToObject(fields, "ipv6", AddressText::Ip(false, update.ipv6).c_str());
            }
            break;
        }
        case VXLAN_MSG_ROUTING_DOMAIN_MEMBERSHIP: {
            VxlanRdMembership change;
            if ((reason = VxlanControlCodec::ReadRdMembership(message, change)).empty()) {
                cJSON_AddNumberToObject(fields, "switchId", change.switchId);
                cJSON_AddStringToObject(fields, "operation",
                                        change.operation == VXLAN_JOIN ? "join" : "leave");
                cJSON_AddStringToObject(fields, "routingDomain",
                                        VxlanDump::UuidText(change.routingDomain).c_str());
                cJSON_AddBoolToObject(fields, "global", change.global != 0);
            }
            break;
        }
        case VXLAN_MSG_INSTANCE_CHANGE:
        case VXLAN_MSG_GLOBAL_REPLICATION: {
            VxlanSwitchFlag change;
            const bool instance = type == VXLAN_MSG_INSTANCE_CHANGE;
            reason = instance ? VxlanControlCodec::ReadInstanceChange(message, change)
                              : VxlanControlCodec::ReadGlobalReplication(message, change);
            if (reason.empty()) {
                cJSON_AddNumberToObject(fields, "switchId", change.switchId);
                if (instance) {
                    cJSON_AddStringToObject(fields, "operation",
                                            change.value == VXLAN_JOIN ? "join" : "leave");
                } else {
                    cJSON_AddBoolToObject(fields, "enable", change.value != 0);
                }
            }
            break;
        }
        case VXLAN_MSG_NOTIFICATION: {
            VxlanNotification notification;
            if ((reason = VxlanControlCodec::ReadNotification(message, notification)).empty()) {
                cJSON_AddNumberToObject(fields, "errCode", notification.errCode);
                cJSON_AddNumberToObject(fields, "errSubCode", notification.errSubCode);
            }
            break;
        }
        case VXLAN_MSG_STATE_QUERY:
            reason = VxlanControlCodec::ReadStateQuery(message);
            break;
        case VXLAN_MSG_STATE_REPORT: {
            bool outOfSync = false;
            if ((reason = VxlanControlCodec::ReadStateReport(message, outOfSync)).empty()) {
                cJSON_AddBoolToObject(fields, "outOfSync", outOfSync);
            }
            break;
        }
        case VXLAN_MSG_TEP_STATE: {
            VxlanTepState state;
            if ((reason = VxlanTepStateCodec::Read(message, state)).empty()) {
                cJSON_AddNumberToObject(fields, "dataType", state.dataType);
                cJSON_AddStringToObject(fields, "switchName", state.switchName.c_str());
                cJSON_AddStringToObject(fields, "taknicName", state.taknicName.c_str());
                cJSON_AddNumberToObject(fields, "action", state.action);
                cJSON_AddNumberToObject(fields, "taknicState", state.taknicState);
                cJSON_AddBoolToObject(fields, "ipv6", state.ipv6);
            }
            break;
        }
        default:
            reason = "unknown message type " + std::to_string(type);
            break;
    }
    return reason;
}

}  // namespace

DecodedMessage VxlanDecoder::Decode(std::span<const uint8_t> message) {
    DecodedMessage decoded{"unknown", JsonPtr(cJSON_CreateObject()), {}, VxlanDump::Render(message)};
    if (message.size() < Tlv::kHeaderSize) {
        decoded.error =
            "message of " + std::to_string(message.size()) + " bytes cannot hold its header";
        return decoded;
    }
    const uint16_t type = static_cast<uint16_t>((message[0] << 8) | message[1]);
    const char* name = VxlanMessage::TypeName(type);
    decoded.type = name != nullptr ? name : "unknown " + std::to_string(type);
    cJSON* fields = decoded.fields.get();
    switch (type) {
        case VXLAN_MSG_UPDATE:
            decoded.error = Update(message, fields);
            break;
        case VXLAN_MSG_CONFIGURE:
            decoded.error = Configure(message, fields);
            break;
        case VXLAN_MSG_QUERY:
            decoded.error = Query(message, fields);
            break;
        case VXLAN_MSG_INIT:
            decoded.error = "Init is not in use";
            break;
        default:
            decoded.error = Fixed(type, message, fields);
            break;
    }
    return decoded;
}

}  // namespace Dpsim
