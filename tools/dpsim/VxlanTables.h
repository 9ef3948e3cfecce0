#pragma once

#include <cjson/cJSON.h>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanBfdEntry.h"
#include "l2/codec/VxlanConfigureItem.h"
#include "l2/codec/VxlanControllerIp.h"
#include "l2/codec/VxlanGroup.h"
#include "l2/codec/VxlanIpMac.h"
#include "l2/codec/VxlanLinkChange.h"
#include "l2/codec/VxlanMacEntry.h"
#include "l2/codec/VxlanNeighbor.h"
#include "l2/codec/VxlanRdMembership.h"
#include "l2/codec/VxlanVtepEntry.h"

namespace Dpsim {

// What the overlay L2 module keeps: per VNI what the agent programmed and
// what the module learned itself, and the tables beside the VNIs. A message
// it refuses changes nothing.
class VxlanTables {
public:
    // A VTEP by address family, address and label.
    using VtepKey = std::pair<CfgAgent::VxlanIp, uint32_t>;
    // A VM address and whether it is IPv6.
    using IpKey = std::pair<bool, CfgAgent::VxlanIp>;

    struct Vni {
        uint32_t switchId = 0;
        // What the agent last said of the VNI: empty, "join" or "leave".
        std::string membership;
        std::optional<CfgAgent::VxlanLinkChange> link;
        std::optional<CfgAgent::VxlanControllerIp> controller;
        std::map<uint16_t, CfgAgent::VxlanConfigureItem> configure;
        std::map<VtepKey, CfgAgent::VxlanVtepEntry> vteps;
        std::map<CfgAgent::VxlanMac, CfgAgent::VxlanMacEntry> macs;
        std::map<IpKey, CfgAgent::VxlanMac> ips;
        std::map<CfgAgent::VxlanIp, CfgAgent::VxlanMacEntry> arp;
        std::map<CfgAgent::VxlanIp, CfgAgent::VxlanMacEntry> nd;
        std::set<uint32_t> groups;
        // The host's own VTEPs of the VNI, which the module reports.
        std::map<VtepKey, CfgAgent::VxlanVtepEntry> localVteps;
        std::map<CfgAgent::VxlanMac, CfgAgent::VxlanMacEntry> learnedMacs;
        std::map<IpKey, CfgAgent::VxlanMac> learnedIps;
    };
    struct Domain {
        uint32_t switchId = 0;
        std::map<VtepKey, CfgAgent::VxlanVtepEntry> vteps;
        std::set<uint32_t> groups;
    };

    // One agent message. Empty when applied; otherwise why the module
    // refuses it, and nothing changed.
    std::string Apply(std::span<const uint8_t> message);

    // The module's own side: it joins and leaves VNIs, learns and ages.
    void Join(uint32_t vni, uint32_t switchId);
    void Leave(uint32_t vni);
    // A new session: the agent sends everything again, so what the last one
    // programmed goes; the VNIs and what the module learned stay.
    void ForgetProgrammed();
    const Vni* Find(uint32_t vni) const;
    Vni* Find(uint32_t vni);
    const std::map<uint32_t, Vni>& Vnis() const { return _vnis; }

    void Dump(cJSON* out) const;

    static VtepKey KeyOf(const CfgAgent::VxlanVtepEntry& vtep);

private:
    // These change the tables as they go; Apply undoes them on a refusal.
    std::string ApplyMessage(std::span<const uint8_t> message);
    std::string ApplyData(const CfgAgent::Tlv& data);
    std::string ApplyConfigure(const CfgAgent::VxlanConfigureItem& item);
    // The VNI when the module joined it and the switch ID matches; null with
    // `reason` set otherwise.
    Vni* Joined(uint32_t vni, uint32_t switchId, std::string& reason);

    // The VNI as it stood before the message being applied first touched it.
    void Touch(uint32_t number, const Vni& vni);

    std::map<uint32_t, Vni> _vnis;
    // The tables beside the VNIs: small, so a message's refusal restores
    // them whole.
    struct Beside {
        std::map<CfgAgent::VxlanUuid, Domain> domains;
        // By switch ID.
        std::map<uint32_t, std::vector<CfgAgent::VxlanUuid>> domainLists;
        std::map<uint32_t, CfgAgent::VxlanRdMembership> globalDomains;
        std::map<uint32_t, uint8_t> replication;
        std::map<uint32_t, std::vector<CfgAgent::VxlanBfdEntry>> bfd;
        std::map<uint32_t, CfgAgent::VxlanGroup> groups;
        std::map<uint16_t, CfgAgent::VxlanConfigureItem> settings;
        std::set<std::string> vifs;
    } _beside;
    // While a message is applied: the VNIs it touched, as they were.
    std::map<uint32_t, Vni> _touched;
};

}  // namespace Dpsim
