#include "VxlanTables.h"

#include <algorithm>

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
#include "l2/codec/VxlanRdListCodec.h"
#include "l2/codec/VxlanRdVtepUpdateCodec.h"
#include "l2/codec/VxlanUpdateCodec.h"
#include "l2/codec/VxlanVifUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"

namespace Dpsim {

using namespace CfgAgent;

namespace {

VxlanIp Ipv4Bytes(uint32_t ip) {
    return {static_cast<uint8_t>(ip >> 24), static_cast<uint8_t>(ip >> 16),
            static_cast<uint8_t>(ip >> 8), static_cast<uint8_t>(ip)};
}

std::string Ipv4Text(uint32_t ip) {
    return AddressText::Ip(true, Ipv4Bytes(ip));
}

void AddVteps(cJSON* parent, const std::map<VxlanTables::VtepKey, VxlanVtepEntry>& vteps,
              const char* name = "vteps") {
    cJSON* list = cJSON_AddArrayToObject(parent, name);
    for (const auto& [key, vtep] : vteps) {
        cJSON* one = cJSON_CreateObject();
        cJSON_AddStringToObject(one, "ip", Ipv4Text(vtep.vtepIp).c_str());
        cJSON_AddStringToObject(one, "ipv6", AddressText::Ip(false, vtep.vtepIpv6).c_str());
        cJSON_AddNumberToObject(one, "addressType", vtep.addressType);
        cJSON_AddNumberToObject(one, "label", vtep.vtepLabel);
        cJSON_AddNumberToObject(one, "segmentId", vtep.segmentId);
        cJSON_AddStringToObject(one, "mac", AddressText::Mac(vtep.vtepMac).c_str());
        cJSON_AddStringToObject(one, "encap", VxlanDump::EncapName(vtep.encapType));
        cJSON_AddNumberToObject(one, "mtep", vtep.mtepCapability);
        cJSON_AddItemToArray(list, one);
    }
}

cJSON* MacJson(const VxlanMacEntry& entry) {
    cJSON* one = cJSON_CreateObject();
    cJSON_AddStringToObject(one, "mac", AddressText::Mac(entry.vmMac).c_str());
    cJSON_AddStringToObject(one, "vtepMac", AddressText::Mac(entry.vtepMac).c_str());
    cJSON_AddStringToObject(one, "vtepIp", Ipv4Text(entry.vtepIp).c_str());
    cJSON_AddStringToObject(one, "vtepIpv6", AddressText::Ip(false, entry.vtepIpv6).c_str());
    cJSON_AddNumberToObject(one, "addressType", entry.addressType);
    cJSON_AddNumberToObject(one, "label", entry.vtepLabel);
    return one;
}

void AddMacs(cJSON* parent, const char* name, const std::map<VxlanMac, VxlanMacEntry>& macs) {
    cJSON* list = cJSON_AddArrayToObject(parent, name);
    for (const auto& [mac, entry] : macs) {
        cJSON_AddItemToArray(list, MacJson(entry));
    }
}

void AddIps(cJSON* parent, const char* name,
            const std::map<VxlanTables::IpKey, VxlanMac>& ips) {
    cJSON* list = cJSON_AddArrayToObject(parent, name);
    for (const auto& [key, mac] : ips) {
        cJSON* one = cJSON_CreateObject();
        cJSON_AddStringToObject(one, "ip", AddressText::Ip(!key.first, key.second).c_str());
        cJSON_AddStringToObject(one, "mac", AddressText::Mac(mac).c_str());
        cJSON_AddItemToArray(list, one);
    }
}

void AddNeighbors(cJSON* parent, const char* name, bool ipv4,
                  const std::map<VxlanIp, VxlanMacEntry>& neighbors) {
    cJSON* list = cJSON_AddArrayToObject(parent, name);
    for (const auto& [ip, entry] : neighbors) {
        cJSON* one = MacJson(entry);
        cJSON_AddStringToObject(one, "ip", AddressText::Ip(ipv4, ip).c_str());
        cJSON_AddItemToArray(list, one);
    }
}

void AddLabels(cJSON* parent, const std::set<uint32_t>& labels) {
    cJSON* list = cJSON_AddArrayToObject(parent, "vtepGroups");
    for (uint32_t label : labels) {
        cJSON_AddItemToArray(list, cJSON_CreateNumber(label));
    }
}

void AddConfigure(cJSON* parent, const std::map<uint16_t, VxlanConfigureItem>& items) {
    cJSON* configure = cJSON_AddObjectToObject(parent, "configure");
    for (const auto& [type, item] : items) {
        switch (type) {
            case VXLAN_CFG_MCAST_PROXY:
                cJSON_AddBoolToObject(configure, "mcastProxy", item.enable != 0);
                break;
            case VXLAN_CFG_ARP_PROXY:
                cJSON_AddBoolToObject(configure, "arpProxy", item.enable != 0);
                break;
            case VXLAN_CFG_ROUTING_DOMAIN:
                cJSON_AddStringToObject(configure, "routingDomain",
                                        VxlanDump::UuidText(item.routingDomain).c_str());
                break;
            default:
                cJSON_AddNumberToObject(configure, "macLimit", item.macLimit);
                break;
        }
    }
}

const char* SettingName(uint16_t type) {
    switch (type) {
        case VXLAN_CFG_MAX_MSG_LEN:
            return "maxMessageLength";
        case VXLAN_CFG_FREQ_PERIOD:
            return "freqControlPeriod";
        case VXLAN_CFG_FREQ_QUERY:
            return "freqControlQuery";
        case VXLAN_CFG_FREQ_UPDATE:
            return "freqControlUpdate";
        case VXLAN_CFG_BTE_AGEING:
            return "bteAgeingTime";
        case VXLAN_CFG_ARP_AGEING:
            return "arpAgeingTime";
        case VXLAN_CFG_BFD:
            return "bfd";
        default:
            return "evpnGlobalBfd";
    }
}

}  // namespace

VxlanTables::VtepKey VxlanTables::KeyOf(const VxlanVtepEntry& vtep) {
    return {vtep.addressType == VXLAN_ADDR_IPV6 ? vtep.vtepIpv6 : Ipv4Bytes(vtep.vtepIp),
            vtep.vtepLabel};
}

void VxlanTables::Join(uint32_t vni, uint32_t switchId) {
    _vnis[vni].switchId = switchId;
}

void VxlanTables::Leave(uint32_t vni) {
    _vnis.erase(vni);
}

void VxlanTables::ForgetProgrammed() {
    for (auto& [number, vni] : _vnis) {
        Vni kept;
        kept.switchId = vni.switchId;
        kept.localVteps = std::move(vni.localVteps);
        kept.learnedMacs = std::move(vni.learnedMacs);
        kept.learnedIps = std::move(vni.learnedIps);
        vni = std::move(kept);
    }
    _beside = Beside{};
}

const VxlanTables::Vni* VxlanTables::Find(uint32_t vni) const {
    auto found = _vnis.find(vni);
    return found == _vnis.end() ? nullptr : &found->second;
}

VxlanTables::Vni* VxlanTables::Find(uint32_t vni) {
    auto found = _vnis.find(vni);
    return found == _vnis.end() ? nullptr : &found->second;
}

VxlanTables::Vni* VxlanTables::Joined(uint32_t vni, uint32_t switchId, std::string& reason) {
    Vni* known = Find(vni);
    if (known == nullptr) {
        reason = "VNI " + std::to_string(vni) + " never joined";
    } else if (known->switchId != switchId) {
        reason = "VNI " + std::to_string(vni) + " joined on switch " +
                 std::to_string(known->switchId) + ", not " + std::to_string(switchId);
        known = nullptr;
    }
    if (known != nullptr) {
        Touch(vni, *known);
    }
    return known;
}

std::string VxlanTables::Apply(std::span<const uint8_t> message) {
    // A refusal halfway leaves everything as it was: the VNIs the message
    // touches are saved as it first touches them, the rest beforehand, so a
    // message costs what it touches and not the size of the tables.
    Beside before = _beside;
    std::string reason = ApplyMessage(message);
    if (!reason.empty()) {
        for (auto& [number, vni] : _touched) {
            _vnis[number] = std::move(vni);
        }
        _beside = std::move(before);
    }
    _touched.clear();
    return reason;
}

void VxlanTables::Touch(uint32_t number, const Vni& vni) {
    _touched.try_emplace(number, vni);
}

std::string VxlanTables::ApplyMessage(std::span<const uint8_t> message) {
    auto header = VxlanMessage::Header(message);
    if (!header) {
        return "message does not hold the length its header claims";
    }
    std::string reason;
    switch (header->Type()) {
        case VXLAN_MSG_CONFIGURE: {
            std::vector<VxlanConfigureItem> items;
            reason = VxlanConfigureCodec::Read(message, items);
            for (size_t i = 0; reason.empty() && i < items.size(); ++i) {
                reason = ApplyConfigure(items[i]);
            }
            return reason;
        }
        case VXLAN_MSG_UPDATE: {
            std::vector<Tlv> row;
            reason = VxlanUpdateCodec::Read(message, row);
            for (size_t i = 0; reason.empty() && i < row.size(); ++i) {
                reason = ApplyData(row[i]);
            }
            return reason;
        }
        case VXLAN_MSG_VNI_MEMBERSHIP: {
            VxlanVniMembership change;
            reason = VxlanControlCodec::ReadVniMembership(message, change);
            Vni* vni = reason.empty() ? Joined(change.vni, change.switchId, reason) : nullptr;
            if (vni != nullptr) {
                vni->membership = change.operation == VXLAN_JOIN ? "join" : "leave";
            }
            return reason;
        }
        case VXLAN_MSG_LINK_CHANGE: {
            VxlanLinkChange change;
            reason = VxlanControlCodec::ReadLinkChange(message, change);
            for (const auto& entry : change.entries) {
                Vni* vni = reason.empty() ? Joined(entry.vni, change.switchId, reason) : nullptr;
                if (vni != nullptr) {
                    vni->link = VxlanLinkChange{change.switchId, change.operation, {entry}};
                }
            }
            return reason;
        }
        case VXLAN_MSG_CONTROLLER_IP: {
            VxlanControllerIp update;
            reason = VxlanControlCodec::ReadControllerIp(message, update);
            Vni* vni = reason.empty() ? Joined(update.vni, update.switchId, reason) : nullptr;
            if (vni != nullptr) {
                vni->controller = update;
            }
            return reason;
        }
        case VXLAN_MSG_ROUTING_DOMAIN_MEMBERSHIP: {
            VxlanRdMembership change;
            reason = VxlanControlCodec::ReadRdMembership(message, change);
            if (reason.empty() && change.operation == VXLAN_JOIN) {
                _beside.globalDomains[change.switchId] = change;
            } else if (reason.empty()) {
                _beside.globalDomains.erase(change.switchId);
            }
            return reason;
        }
        case VXLAN_MSG_GLOBAL_REPLICATION: {
            VxlanSwitchFlag change;
            reason = VxlanControlCodec::ReadGlobalReplication(message, change);
            if (reason.empty()) {
                _beside.replication[change.switchId] = change.value;
            }
            return reason;
        }
        default: {
            const char* name = VxlanMessage::TypeName(header->Type());
            return name == nullptr ? "unknown message type " + std::to_string(header->Type())
                                   : std::string(name) + " is not taken from the agent";
        }
    }
}

std::string VxlanTables::ApplyConfigure(const VxlanConfigureItem& item) {
    if (item.type < VXLAN_CFG_MCAST_PROXY) {
        _beside.settings[item.type] = item;
        return {};
    }
    std::string reason;
    Vni* vni = Joined(item.vni, item.switchId, reason);
    if (vni != nullptr) {
        vni->configure[item.type] = item;
    }
    return reason;
}

std::string VxlanTables::ApplyData(const Tlv& data) {
    std::string reason;
    switch (data.Type()) {
        case VXLAN_DATATYPE_VMMAC: {
            VxlanMacUpdate update;
            reason = VxlanMacUpdateCodec::Read(data, update);
            Vni* vni = reason.empty() ? Joined(update.vni, update.switchId, reason) : nullptr;
            if (vni != nullptr) {
                for (const VxlanMacEntry& entry : update.removed) {
                    vni->macs.erase(entry.vmMac);
                }
                for (const VxlanMacEntry& entry : update.added) {
                    vni->macs[entry.vmMac] = entry;
                }
            }
            return reason;
        }
        case VXLAN_DATATYPE_IPv4:
        case VXLAN_DATATYPE_IPv6: {
            VxlanIpUpdate update;
            reason = VxlanIpUpdateCodec::Read(data, update);
            Vni* vni = reason.empty() ? Joined(update.vni, update.switchId, reason) : nullptr;
            if (vni != nullptr) {
                for (const VxlanIpMac& entry : update.removed) {
                    vni->ips.erase({update.ipv6, entry.ip});
                }
                for (const VxlanIpMac& entry : update.added) {
                    vni->ips[{update.ipv6, entry.ip}] = entry.mac;
                }
            }
            return reason;
        }
        case VXLAN_DATATYPE_VTEP_MBR: {
            VxlanVtepUpdate update;
            reason = VxlanVtepUpdateCodec::Read(data, update);
            Vni* vni = reason.empty() ? Joined(update.vni, update.switchId, reason) : nullptr;
            if (vni != nullptr) {
                for (const VxlanVtepEntry& entry : update.removed) {
                    vni->vteps.erase(KeyOf(entry));
                }
                for (const VxlanVtepEntry& entry : update.added) {
                    vni->vteps[KeyOf(entry)] = entry;
                }
            }
            return reason;
        }
        case VXLAN_DATATYPE_ARPv4:
        case VXLAN_DATATYPE_NDv6: {
            VxlanNeighborUpdate update;
            reason = VxlanNeighborUpdateCodec::Read(data, update);
            Vni* vni = reason.empty() ? Joined(update.vni, update.switchId, reason) : nullptr;
            if (vni != nullptr) {
                for (const VxlanNeighbor& entry : update.entries) {
                    (update.ipv6 ? vni->nd : vni->arp)[entry.ip] = entry.mac;
                }
            }
            return reason;
        }
        case VXLAN_DATATYPE_VIF: {
            VxlanVifUpdate update;
            reason = VxlanVifUpdateCodec::Read(data, update);
            for (const std::string& vifId : reason.empty() ? update.vifIds : std::vector<std::string>{}) {
                if (update.status == 1) {
                    _beside.vifs.insert(vifId);
                } else {
                    _beside.vifs.erase(vifId);
                }
            }
            return reason;
        }
        case VXLAN_DATATYPE_ROUTING_DOMAIN_VTEP_MBR: {
            VxlanRdVtepUpdate update;
            reason = VxlanRdVtepUpdateCodec::Read(data, update);
            if (reason.empty()) {
                Domain& domain = _beside.domains[update.routingDomain];
                domain.switchId = update.switchId;
                for (const VxlanVtepEntry& entry : update.removed) {
                    domain.vteps.erase(KeyOf(entry));
                }
                for (const VxlanVtepEntry& entry : update.added) {
                    domain.vteps[KeyOf(entry)] = entry;
                }
            }
            return reason;
        }
        case VXLAN_DATATYPE_ROUTING_DOMAIN_LIST: {
            VxlanRdList update;
            reason = VxlanRdListCodec::Read(data, update);
            if (reason.empty()) {
                _beside.domainLists[update.switchId] = update.routingDomains;
            }
            return reason;
        }
        case VXLAN_DATATYPE_BFD_SESSION: {
            VxlanBfdUpdate update;
            reason = VxlanBfdUpdateCodec::Read(data, update);
            if (reason.empty()) {
                auto& sessions = _beside.bfd[update.switchId];
                for (const VxlanBfdEntry& entry : update.removed) {
                    std::erase(sessions, entry);
                }
                for (const VxlanBfdEntry& entry : update.added) {
                    if (std::find(sessions.begin(), sessions.end(), entry) == sessions.end()) {
                        sessions.push_back(entry);
                    }
                }
            }
            return reason;
        }
        case VXLAN_DATATYPE_VTEP_GROUP: {
            VxlanGroup group;
            reason = VxlanGroupCodec::Read(data, group);
            if (reason.empty() && group.deleted) {
                _beside.groups.erase(group.label);
            } else if (reason.empty()) {
                _beside.groups[group.label] = group;
            }
            return reason;
        }
        case VXLAN_DATATYPE_LS_VTEP_GROUP:
        case VXLAN_DATATYPE_RD_VTEP_GROUP: {
            VxlanGroupAssociation association;
            reason = VxlanGroupAssociationCodec::Read(data, association);
            if (reason.empty() && !association.deleted && !_beside.groups.contains(association.label)) {
                reason = "VTEP group " + std::to_string(association.label) + " is not known";
            }
            std::set<uint32_t>* labels = nullptr;
            if (reason.empty() && association.routingDomainSide) {
                labels = &_beside.domains[association.routingDomain].groups;
            } else if (reason.empty()) {
                Vni* vni = Joined(association.vni, association.switchId, reason);
                labels = vni != nullptr ? &vni->groups : nullptr;
            }
            if (labels != nullptr && association.deleted) {
                labels->erase(association.label);
            } else if (labels != nullptr) {
                labels->insert(association.label);
            }
            return reason;
        }
        default:
            return "unsupported update data type " + std::to_string(data.Type());
    }
}

void VxlanTables::Dump(cJSON* out) const {
    cJSON* vnis = cJSON_AddObjectToObject(out, "vnis");
    for (const auto& [number, vni] : _vnis) {
        cJSON* one = cJSON_AddObjectToObject(vnis, std::to_string(number).c_str());
        cJSON_AddNumberToObject(one, "switchId", vni.switchId);
        cJSON_AddStringToObject(one, "membership", vni.membership.c_str());
        if (vni.link && !vni.link->entries.empty()) {
            const auto& entry = vni.link->entries.front();
            cJSON* link = cJSON_AddObjectToObject(one, "link");
            cJSON_AddStringToObject(link, "state",
                                    vni.link->operation == VXLAN_LINK_UP     ? "up"
                                    : vni.link->operation == VXLAN_LINK_DOWN ? "down"
                                                                              : "sync end");
            cJSON_AddBoolToObject(link, "mcastProxy", entry.mcastProxy != 0);
            cJSON_AddBoolToObject(link, "arpProxy", entry.arpProxy != 0);
        }
        if (vni.controller) {
            cJSON* controller = cJSON_AddObjectToObject(one, "controller");
            cJSON_AddNumberToObject(controller, "addressType", vni.controller->addressType);
            cJSON_AddStringToObject(controller, "ipv4", Ipv4Text(vni.controller->ipv4).c_str());
            cJSON_AddStringToObject(controller, "ipv6",
                                    AddressText::Ip(false, vni.controller->ipv6).c_str());
        }
        AddConfigure(one, vni.configure);
        AddVteps(one, vni.vteps);
        AddMacs(one, "macs", vni.macs);
        AddIps(one, "ips", vni.ips);
        AddNeighbors(one, "arp", true, vni.arp);
        AddNeighbors(one, "nd", false, vni.nd);
        AddLabels(one, vni.groups);
        AddVteps(one, vni.localVteps, "localVteps");
        AddMacs(one, "learnedMacs", vni.learnedMacs);
        AddIps(one, "learnedIps", vni.learnedIps);
    }
    cJSON* domains = cJSON_AddObjectToObject(out, "routingDomains");
    for (const auto& [uuid, domain] : _beside.domains) {
        cJSON* one = cJSON_AddObjectToObject(domains, VxlanDump::UuidText(uuid).c_str());
        cJSON_AddNumberToObject(one, "switchId", domain.switchId);
        AddVteps(one, domain.vteps);
        AddLabels(one, domain.groups);
    }
    cJSON* lists = cJSON_AddObjectToObject(out, "routingDomainLists");
    for (const auto& [switchId, list] : _beside.domainLists) {
        cJSON* one = cJSON_AddArrayToObject(lists, std::to_string(switchId).c_str());
        for (const VxlanUuid& uuid : list) {
            cJSON_AddItemToArray(one, cJSON_CreateString(VxlanDump::UuidText(uuid).c_str()));
        }
    }
    cJSON* global = cJSON_AddObjectToObject(out, "globalRoutingDomains");
    for (const auto& [switchId, change] : _beside.globalDomains) {
        cJSON_AddStringToObject(global, std::to_string(switchId).c_str(),
                                VxlanDump::UuidText(change.routingDomain).c_str());
    }
    cJSON* replication = cJSON_AddObjectToObject(out, "globalReplication");
    for (const auto& [switchId, enable] : _beside.replication) {
        cJSON_AddBoolToObject(replication, std::to_string(switchId).c_str(), enable != 0);
    }
    cJSON* groups = cJSON_AddObjectToObject(out, "vtepGroups");
    for (const auto& [label, group] : _beside.groups) {
        cJSON* one = cJSON_AddObjectToObject(groups, std::to_string(label).c_str());
        cJSON_AddNumberToObject(one, "kind", group.kind);
        cJSON_AddNumberToObject(one, "entries", static_cast<double>(group.kind == VXLAN_GROUP_KIND_VTEP
                                                                       ? group.vteps.size()
                                                                       : group.members.size()));
    }
    cJSON* bfd = cJSON_AddObjectToObject(out, "bfdSessions");
    for (const auto& [switchId, sessions] : _beside.bfd) {
        cJSON* list = cJSON_AddArrayToObject(bfd, std::to_string(switchId).c_str());
        for (const VxlanBfdEntry& session : sessions) {
            const bool ipv4 = session.family == 0;
            cJSON* one = cJSON_CreateObject();
            cJSON_AddStringToObject(one, "local", AddressText::Ip(ipv4, session.localVtep).c_str());
            cJSON_AddStringToObject(one, "remote",
                                    AddressText::Ip(ipv4, session.remoteVtep).c_str());
            cJSON_AddNumberToObject(one, "vni", session.vni);
            cJSON_AddNumberToObject(one, "vgLabel", session.vgLabel);
            cJSON_AddItemToArray(list, one);
        }
    }
    cJSON* settings = cJSON_AddObjectToObject(out, "settings");
    for (const auto& [type, item] : _beside.settings) {
        if (type == VXLAN_CFG_BFD || type == VXLAN_CFG_EVPN_BFD) {
            cJSON* one = cJSON_AddObjectToObject(settings, SettingName(type));
            cJSON_AddBoolToObject(one, "enable", item.enable != 0);
            cJSON_AddNumberToObject(one, "interval", item.interval);
            cJSON_AddNumberToObject(one, "multiplier", item.multiplier);
        } else {
            cJSON_AddNumberToObject(settings, SettingName(type), item.number);
        }
    }
    cJSON* vifs = cJSON_AddArrayToObject(out, "vifs");
    for (const std::string& vifId : _beside.vifs) {
        cJSON_AddItemToArray(vifs, cJSON_CreateString(vifId.c_str()));
    }
}

}  // namespace Dpsim
