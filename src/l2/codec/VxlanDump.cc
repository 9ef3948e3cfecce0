#include "l2/codec/VxlanDump.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

#include "dplink/BoundedText.h"
#include "log/Logger.h"
#include "l2/codec/VxlanBfdUpdateCodec.h"
#include "l2/codec/VxlanConfigureCodec.h"
#include "l2/codec/VxlanControlCodec.h"
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
#include "l2/codec/VxlanVifUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"

namespace CfgAgent {

namespace {

struct MacText {
    explicit MacText(const VxlanMac& mac) {
        std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                      mac[3], mac[4], mac[5]);
    }
    char text[18];
};

struct IpText {
    IpText(bool ipv4, const uint8_t* bytes) {
        if (!inet_ntop(ipv4 ? AF_INET : AF_INET6, bytes, text, sizeof text)) {
            text[0] = '\0';
        }
    }
    explicit IpText(uint32_t ipv4) {
        const uint8_t bytes[4] = {static_cast<uint8_t>(ipv4 >> 24), static_cast<uint8_t>(ipv4 >> 16),
                                  static_cast<uint8_t>(ipv4 >> 8), static_cast<uint8_t>(ipv4)};
        inet_ntop(AF_INET, bytes, text, sizeof text);
    }
    char text[INET6_ADDRSTRLEN];
};

const char* JoinName(uint8_t operation) {
    return operation == VXLAN_JOIN ? "Join" : "Leave";
}

const char* LinkOperationName(uint8_t operation) {
    switch (operation) {
        case VXLAN_LINK_UP:
            return "Up";
        case VXLAN_LINK_DOWN:
            return "Down";
        default:
            return "Sync End";
    }
}

const char* EnabledName(uint8_t flag) {
    return flag != 0 ? "Enabled" : "Disabled";
}

void Counts(BoundedText& out, size_t removed, size_t added) {
    out.Add("\tNum of removed entries: %zu\n", removed);
    out.Add("\tNum of added entries: %zu\n", added);
}

void Vteps(BoundedText& out, const std::vector<VxlanVtepEntry>& vteps) {
    for (const VxlanVtepEntry& vtep : vteps) {
        out.Add("\tVTEP IP:%s, label:%u, segment:%u, MAC:%s, encap:%s, MTEP:%u\n",
                IpText(vtep.vtepIp).text, vtep.vtepLabel, vtep.segmentId,
                MacText(vtep.vtepMac).text, VxlanDump::EncapName(vtep.encapType),
                vtep.mtepCapability);
    }
}

void MacEntry(BoundedText& out, const VxlanMacEntry& entry) {
    out.Add("\tVM MAC:%s, VTEP MAC:%s, VTEP IP:%s, label:%u\n", MacText(entry.vmMac).text,
            MacText(entry.vtepMac).text, IpText(entry.vtepIp).text, entry.vtepLabel);
}

// The invalid line, for a data TLV its codec refuses.
void Invalid(BoundedText& out, const Tlv& data) {
    out.Add("\tinvalid %s message length %u\n", VxlanMessage::DataTypeName(data.Type()),
            data.Length());
}

void UpdateData(BoundedText& out, const Tlv& data) {
    switch (data.Type()) {
        case VXLAN_DATATYPE_VMMAC: {
            out.Add("\tVM MAC Update: len = %u\n", data.Length());
            VxlanMacUpdate update;
            if (!VxlanMacUpdateCodec::Read(data, update).empty()) {
                return Invalid(out, data);
            }
            out.Add("\tSwitchID:%u, VNI:%u\n", update.switchId, update.vni);
            Counts(out, update.removed.size(), update.added.size());
            for (const auto* list : {&update.removed, &update.added}) {
                for (const VxlanMacEntry& entry : *list) {
                    MacEntry(out, entry);
                }
            }
            return;
        }
        case VXLAN_DATATYPE_IPv4:
        case VXLAN_DATATYPE_IPv6: {
            const bool v4 = data.Type() == VXLAN_DATATYPE_IPv4;
            out.Add("\tVM IP (%s) Update: len = %u\n", v4 ? "v4" : "v6", data.Length());
            VxlanIpUpdate update;
            if (!VxlanIpUpdateCodec::Read(data, update).empty()) {
                return Invalid(out, data);
            }
            out.Add("\tSwitchID:%u, VNI:%u\n", update.switchId, update.vni);
            Counts(out, update.removed.size(), update.added.size());
            for (const auto* list : {&update.removed, &update.added}) {
                for (const VxlanIpMac& entry : *list) {
                    out.Add("\tIP:%s, MAC:%s\n", IpText(v4, entry.ip.data()).text,
                            MacText(entry.mac).text);
                }
            }
            return;
        }
        case VXLAN_DATATYPE_VTEP_MBR: {
            out.Add("\tVTEP Membership Update: len = %u\n", data.Length());
            VxlanVtepUpdate update;
            if (!VxlanVtepUpdateCodec::Read(data, update).empty()) {
                return Invalid(out, data);
            }
            out.Add("\tSwitchID:%u, VNI:%u\n", update.switchId, update.vni);
            Counts(out, update.removed.size(), update.added.size());
            Vteps(out, update.removed);
            Vteps(out, update.added);
            return;
        }
        case VXLAN_DATATYPE_ARPv4:
        case VXLAN_DATATYPE_NDv6: {
            const bool v4 = data.Type() == VXLAN_DATATYPE_ARPv4;
            out.Add("\t%s Update: len = %u\n", v4 ? "ARP (v4)" : "ND (v6)", data.Length());
            VxlanNeighborUpdate update;
            if (!VxlanNeighborUpdateCodec::Read(data, update).empty()) {
                return Invalid(out, data);
            }
            out.Add("\tSwitchID:%u, VNI:%u\n", update.switchId, update.vni);
            out.Add("\tNum of entries: %zu\n", update.entries.size());
            for (const VxlanNeighbor& entry : update.entries) {
                out.Add("\tIP:%s\n", IpText(v4, entry.ip.data()).text);
                MacEntry(out, entry.mac);
            }
            return;
        }
        case VXLAN_DATATYPE_VIF: {
            out.Add("\tVIF Update: len = %u\n", data.Length());
            VxlanVifUpdate update;
            if (!VxlanVifUpdateCodec::Read(data, update).empty()) {
                return Invalid(out, data);
            }
            out.Add("\tStatus:%s\n", update.status == 1 ? "Connected" : "Disconnected");
            for (const std::string& vifId : update.vifIds) {
                out.Add("\tVIF ID:%s\n", vifId.c_str());
            }
            return;
        }
        case VXLAN_DATATYPE_ROUTING_DOMAIN_VTEP_MBR: {
            out.Add("\tRouting Domain VTEP Membership Update: len = %u\n", data.Length());
            VxlanRdVtepUpdate update;
            if (!VxlanRdVtepUpdateCodec::Read(data, update).empty()) {
                return Invalid(out, data);
            }
            out.Add("\tRouting domain:%s, SwitchID:%u, global:%u\n",
                    VxlanDump::UuidText(update.routingDomain).c_str(), update.switchId,
                    update.global);
            Counts(out, update.removed.size(), update.added.size());
            Vteps(out, update.removed);
            Vteps(out, update.added);
            return;
        }
        case VXLAN_DATATYPE_ROUTING_DOMAIN_LIST: {
            out.Add("\tRouting Domain List Update: len = %u\n", data.Length());
            VxlanRdList update;
            if (!VxlanRdListCodec::Read(data, update).empty()) {
                return Invalid(out, data);
            }
            out.Add("\tSwitchID:%u\n", update.switchId);
            for (const VxlanUuid& domain : update.routingDomains) {
                out.Add("\tRouting domain:%s\n", VxlanDump::UuidText(domain).c_str());
            }
            return;
        }
        case VXLAN_DATATYPE_BFD_SESSION: {
            out.Add("\tBFD Session Update: len = %u\n", data.Length());
            VxlanBfdUpdate update;
            if (!VxlanBfdUpdateCodec::Read(data, update).empty()) {
                return Invalid(out, data);
            }
            out.Add("\tSwitchID:%u\n", update.switchId);
            Counts(out, update.removed.size(), update.added.size());
            for (const auto* list : {&update.removed, &update.added}) {
                for (const VxlanBfdEntry& entry : *list) {
                    const bool v4 = entry.family == 0;
                    out.Add("\tLocal:%s, Remote:%s, VNI:%u, vgLabel:%u\n",
                            IpText(v4, entry.localVtep.data()).text,
                            IpText(v4, entry.remoteVtep.data()).text, entry.vni, entry.vgLabel);
                }
            }
            return;
        }
        case VXLAN_DATATYPE_VTEP_GROUP: {
            out.Add("\tVTEP Group: len = %u\n", data.Length());
            VxlanGroup group;
            if (!VxlanGroupCodec::Read(data, group).empty()) {
                return Invalid(out, data);
            }
            out.Add("\tLabel:%u, OP:%s\n", group.label, group.deleted ? "Delete" : "Update");
            if (!group.deleted) {
                out.Add("\tKind:%u, Num of entries: %zu\n", group.kind,
                        group.kind == VXLAN_GROUP_KIND_VTEP ? group.vteps.size()
                                                            : group.members.size());
            }
            return;
        }
        case VXLAN_DATATYPE_LS_VTEP_GROUP:
        case VXLAN_DATATYPE_RD_VTEP_GROUP: {
            const bool domain = data.Type() == VXLAN_DATATYPE_RD_VTEP_GROUP;
            out.Add("\t%s VTEP group association: len = %u\n",
                    domain ? "Routing domain" : "Logical switch", data.Length());
            VxlanGroupAssociation association;
            if (!VxlanGroupAssociationCodec::Read(data, association).empty()) {
                return Invalid(out, data);
            }
            if (domain) {
                out.Add("\tSwitchID:%u, Routing domain:%s\n", association.switchId,
                        VxlanDump::UuidText(association.routingDomain).c_str());
            } else {
                out.Add("\tSwitchID:%u, VNI:%u\n", association.switchId, association.vni);
            }
            out.Add("\tLabel:%u, OP:%s\n", association.label,
                    association.deleted ? "Delete" : "Update");
            return;
        }
        default:
            out.Add("\tUpdate: unsupported data type %u, len %u", data.Type(), data.Length());
            out.Add("\n");
            return;
    }
}

void ConfigureItem(BoundedText& out, const Tlv& data) {
    VxlanConfigureItem item;
    if (VxlanConfigureCodec::ItemLength(data.Type()) == 0) {
        out.Add("\tConfigure: unsupported item type %u, len %u", data.Type(), data.Length());
        out.Add("\n");
        return;
    }
    if (!VxlanConfigureCodec::ReadItem(data, item).empty()) {
        out.Add("\tConfigure: invalid item type %u, len %u\n", data.Type(), data.Length());
        return;
    }
    switch (item.type) {
        case VXLAN_CFG_MAX_MSG_LEN:
            out.Add("\tmax message length: %u\n", item.number);
            break;
        case VXLAN_CFG_FREQ_PERIOD:
            out.Add("\tfreq control period: %u\n", item.number);
            break;
        case VXLAN_CFG_FREQ_QUERY:
            out.Add("\tfreq control query: %u\n", item.number);
            break;
        case VXLAN_CFG_FREQ_UPDATE:
            out.Add("\tfreq control update: %u\n", item.number);
            break;
        case VXLAN_CFG_BTE_AGEING:
            out.Add("\tBTE ageing time: %u\n", item.number);
            break;
        case VXLAN_CFG_ARP_AGEING:
            out.Add("\tARP ageing time: %u\n", item.number);
            break;
        case VXLAN_CFG_BFD:
            out.Add("\tBFD: HDS %s, latency_enable:%u, Flags:%u, Enable:%u, "
                    "vtep_health_interval:%u, multiplier:%u\n",
                    item.hdsId.c_str(), item.latencyEnable, item.flags, item.enable,
                    item.interval, item.multiplier);
            break;
        case VXLAN_CFG_EVPN_BFD:
            out.Add("\tEVPN Global BFD: Type:%u, Flags:%u, Enable:%u, vtep_health_interval:%u, "
                    "mult:%u\n",
                    item.number, item.flags, item.enable, item.interval, item.multiplier);
            break;
        case VXLAN_CFG_MCAST_PROXY:
        case VXLAN_CFG_ARP_PROXY:
            out.Add("\t%s proxy enable: SwitchID:%u, VNI:%u, %s\n",
                    item.type == VXLAN_CFG_MCAST_PROXY ? "mcast" : "ARP", item.switchId, item.vni,
                    EnabledName(item.enable));
            break;
        case VXLAN_CFG_ROUTING_DOMAIN:
            out.Add("\trouting domain ID: SwitchID:%u, VNI:%u, %s\n", item.switchId, item.vni,
                    VxlanDump::UuidText(item.routingDomain).c_str());
            break;
        default:
            out.Add("\tMacLimit: SwitchID:%u, VNI:%u, limit:%u\n", item.switchId, item.vni,
                    item.macLimit);
            break;
    }
}

const char* QueryName(uint16_t type) {
    switch (type) {
        case VXLAN_DATATYPE_VMMAC:
            return "VM MAC Query";
        case VXLAN_DATATYPE_ARPv4:
            return "ARP (v4) Query";
        default:
            return "ND (v6) Query";
    }
}

void QueryData(BoundedText& out, const Tlv& data) {
    if (VxlanQueryCodec::EntrySize(data.Type()) == 0) {
        out.Add("\tQuery: unsupported data type %u, len %u", data.Type(), data.Length());
        out.Add("\n");
        return;
    }
    out.Add("\t%s: len = %u\n", QueryName(data.Type()), data.Length());
    VxlanQuery query;
    if (!VxlanQueryCodec::ReadData(data, query).empty()) {
        return Invalid(out, data);
    }
    out.Add("\tSwitchID:%u, VNI:%u\n", query.switchId, query.vni);
    for (const VxlanMac& mac : query.macs) {
        out.Add("\tMAC:%s\n", MacText(mac).text);
    }
    for (const VxlanIp& ip : query.ips) {
        out.Add("\tIP:%s\n", IpText(query.dataType == VXLAN_DATATYPE_ARPv4, ip.data()).text);
    }
}

void Row(BoundedText& out, std::span<const uint8_t> message, void (*each)(BoundedText&, const Tlv&)) {
    std::vector<Tlv> row;
    VxlanMessage::Row(message, row);
    for (const Tlv& data : row) {
        each(out, data);
    }
}

void StateRow(BoundedText& out, std::span<const uint8_t> message, bool report) {
    std::vector<Tlv> row;
    VxlanMessage::Row(message, row);
    for (const Tlv& data : row) {
        if (data.Type() != VXLAN_OUT_OF_SYNC || data.ValueLength() != (report ? 1u : 0u)) {
            out.Add(report ? "\tState report: unsupported data type %u, len %u\n"
                           : "\tState query: unsupported data type %u, len %u\n",
                    data.Type(), data.Length());
        } else if (report) {
            out.Add("\tOutOfSync Report: %s\n", data.Value()[0] != 0 ? "true" : "false");
        } else {
            out.Add("\tOutOfSync Query\n");
        }
    }
}

void Fixed(BoundedText& out, uint16_t type, std::span<const uint8_t> message) {
    switch (type) {
        case VXLAN_MSG_SESSION_CONTROL: {
            VxlanSession session;
            if (VxlanControlCodec::ReadSession(message, session).empty()) {
                const char* name = VxlanControlCodec::SessionName(session.controlType);
                out.Add("\tL2 Mapping Session control type: %s, sessionID: %u\n",
                        name != nullptr ? name : "Unknown", session.sessionId);
                return;
            }
            break;
        }
        case VXLAN_MSG_VNI_MEMBERSHIP: {
            VxlanVniMembership change;
            if (VxlanControlCodec::ReadVniMembership(message, change).empty()) {
                out.Add("\tSwitchID:%u, VNI:%u, OP:%s", change.switchId, change.vni,
                        JoinName(change.operation));
                out.Add("\n");
                return;
            }
            break;
        }
        case VXLAN_MSG_LINK_CHANGE: {
            VxlanLinkChange change;
            if (VxlanControlCodec::ReadLinkChange(message, change).empty()) {
                out.Add("\tSwitchID:%u, OP:%s\n", change.switchId,
                        LinkOperationName(change.operation));
                for (const auto& entry : change.entries) {
                    out.Add("\tVNI:%u, McastProxy:%s, ArpProxy:%s\n", entry.vni,
                            EnabledName(entry.mcastProxy), EnabledName(entry.arpProxy));
                }
                return;
            }
            break;
        }
        case VXLAN_MSG_ROUTING_DOMAIN_MEMBERSHIP: {
            VxlanRdMembership change;
            if (VxlanControlCodec::ReadRdMembership(message, change).empty()) {
                out.Add("\tSwitchID:%u, OP:%s, Routing domain:%s, global:%u\n", change.switchId,
                        JoinName(change.operation),
                        VxlanDump::UuidText(change.routingDomain).c_str(), change.global);
                return;
            }
            break;
        }
        case VXLAN_MSG_CONTROLLER_IP: {
            VxlanControllerIp update;
            if (VxlanControlCodec::ReadControllerIp(message, update).empty()) {
                out.Add("\tSwitchID:%u, VNI:%u, address type:%u, IPv4:%s, IPv6:%s\n",
                        update.switchId, update.vni, update.addressType, IpText(update.ipv4).text,
                        IpText(false, update.ipv6.data()).text);
                return;
            }
            break;
        }
        case VXLAN_MSG_INSTANCE_CHANGE:
        case VXLAN_MSG_GLOBAL_REPLICATION: {
            VxlanSwitchFlag change;
            const bool instance = type == VXLAN_MSG_INSTANCE_CHANGE;
            const std::string reason = instance
                                           ? VxlanControlCodec::ReadInstanceChange(message, change)
                                           : VxlanControlCodec::ReadGlobalReplication(message, change);
            if (reason.empty()) {
                out.Add("\tSwitchID:%u, OP:%s\n", change.switchId,
                        instance ? JoinName(change.value) : EnabledName(change.value));
                return;
            }
            break;
        }
        case VXLAN_MSG_NOTIFICATION: {
            VxlanNotification notification;
            if (VxlanControlCodec::ReadNotification(message, notification).empty()) {
                out.Add("\tErr Code:%u, Err Sub Code:%u\n", notification.errCode,
                        notification.errSubCode);
                return;
            }
            break;
        }
        case VXLAN_MSG_TEP_STATE: {
            VxlanTepState state;
            if (VxlanTepStateCodec::Read(message, state).empty()) {
                out.Add("\tTEP state type:%u, switch:%s, taknic:%s, action:%u, state:%u, %s\n",
                        state.dataType, state.switchName.c_str(), state.taknicName.c_str(),
                        state.action, state.taknicState, state.ipv6 ? "v6" : "v4");
                return;
            }
            break;
        }
        default:
            break;
    }
    out.Add("\tinvalid %s message length %zu\n", VxlanMessage::TypeName(type), message.size());
}

}  // namespace

const char* VxlanDump::EncapName(uint8_t encapType) {
    switch (encapType) {
        case VXLAN_ENCAP_VXLAN:
            return "vxlan";
        case VXLAN_ENCAP_VXSTT:
            return "vxstt";
        case VXLAN_ENCAP_GENEVE:
            return "geneve";
        default:
            return "invalid";
    }
}

std::string VxlanDump::UuidText(const VxlanUuid& uuid) {
    std::string text;
    char pair[3];
    for (size_t i = 0; i < uuid.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            text += '-';
        }
        std::snprintf(pair, sizeof pair, "%02x", uuid[i]);
        text += pair;
    }
    return text;
}

std::string VxlanDump::Render(std::span<const uint8_t> message) {
    BoundedText out(VxlanDump::kMaxText);
    out.Add("VXLAN Message\n");
    auto header = VxlanMessage::Header(message);
    if (!header) {
        out.Add("\tTruncated message, %zu bytes\n", message.size());
        return out.Take();
    }
    const char* name = VxlanMessage::TypeName(header->Type());
    if (name == nullptr || header->Type() == VXLAN_MSG_INIT) {
        out.Add("Unsupported message type %u, len %u", header->Type(), header->Length());
        return out.Take();
    }
    out.Add("Message type: %s, len %u\n", name, header->Length());
    const auto proper = message.first(header->Length());
    switch (header->Type()) {
        case VXLAN_MSG_CONFIGURE:
            Row(out, proper, ConfigureItem);
            break;
        case VXLAN_MSG_UPDATE:
            Row(out, proper, UpdateData);
            break;
        case VXLAN_MSG_QUERY:
            Row(out, proper, QueryData);
            break;
        case VXLAN_MSG_STATE_QUERY:
        case VXLAN_MSG_STATE_REPORT:
            StateRow(out, proper, header->Type() == VXLAN_MSG_STATE_REPORT);
            break;
        default:
            Fixed(out, header->Type(), proper);
            break;
    }
    return out.Take();
}

void VxlanDump::Log(int level, std::span<const uint8_t> message) {
    CFG_LOG(level, "%1", Render(message));
}

}  // namespace CfgAgent
