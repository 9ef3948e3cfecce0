#include "l2/conversion/L2EntryConvertor.h"

#include <algorithm>

#include "dplink/MacNumber.h"
#include "l2/codec/VxlanTypes.h"
#include "log/Logger.h"
#include "loftdb_common.pb.h"
#include "loftdb_overlay.pb.h"

namespace CfgAgent {

namespace {

namespace lb = halden::zef::loftdb;

constexpr uint32_t kStoreEncapVxstt = 1;
constexpr uint32_t kStoreEncapGeneve = 3;
constexpr uint32_t kStoreEncapVxlan = 4;
constexpr uint32_t kStoreEncapVlan = 5;

VxlanIp Ipv6Bytes(const std::string& bytes) {
    VxlanIp ip{};
    std::copy_n(bytes.begin(), std::min(bytes.size(), ip.size()), ip.begin());
    return ip;
}

std::string Ipv6Text(const VxlanIp& ip) { return std::string(ip.begin(), ip.end()); }

uint32_t AddressType(bool v4, bool v6) {
    return v4 && v6 ? VXLAN_ADDR_BOTH : v6 ? VXLAN_ADDR_IPV6 : VXLAN_ADDR_IPV4;
}

std::string IpText(const lb::LogSwitchVtepEntryMsg& vtep) {
    if (vtep.has_vtep_ip()) {
        const uint32_t ip = vtep.vtep_ip();
        return std::to_string(ip >> 24) + "." + std::to_string((ip >> 16) & 0xFF) + "." +
               std::to_string((ip >> 8) & 0xFF) + "." + std::to_string(ip & 0xFF);
    }
    return vtep.has_vtep_ipv6() ? "ipv6" : "none";
}

}  // namespace

bool L2EntryConvertor::EncapToWire(bool has, uint32_t stored, uint8_t& wire) {
    if (!has || stored == kStoreEncapGeneve) {
        wire = VXLAN_ENCAP_GENEVE;
    } else if (stored == kStoreEncapVxstt) {
        wire = VXLAN_ENCAP_VXSTT;
    } else if (stored == kStoreEncapVxlan || stored == kStoreEncapVlan) {
        wire = VXLAN_ENCAP_VXLAN;
    } else {
        return false;
    }
    return true;
}

uint32_t L2EntryConvertor::EncapToStore(uint8_t wire) {
    return wire == VXLAN_ENCAP_VXSTT    ? kStoreEncapVxstt
           : wire == VXLAN_ENCAP_GENEVE ? kStoreEncapGeneve
                                        : kStoreEncapVxlan;
}

bool L2EntryConvertor::VtepToWire(const std::string& value, VxlanVtepEntry& entry) {
    lb::LogSwitchVtepEntryMsg vtep;
    vtep.ParseFromString(value);
    const uint32_t label = vtep.vtep_label().label();
    if (!vtep.has_vtep_ip() && !vtep.has_vtep_ipv6()) {
        CFG_LOG(LL_ERROR, "Invalid VTEP has no vtep ip,  label: %1", label).Tag("errorCode:LCP00019");
        return false;
    }
    entry = VxlanVtepEntry{};
    entry.addressType = AddressType(vtep.has_vtep_ip(), vtep.has_vtep_ipv6());
    if (!EncapToWire(vtep.has_encap_type(), vtep.encap_type(), entry.encapType)) {
        CFG_LOG(LL_ERROR, "Invalid VTEP encap type %1, IP: %2, label: %3", vtep.encap_type(), IpText(vtep),
                label)
            .Tag("errorCode:LCP00019");
        return false;
    }
    if (!vtep.has_vtep_label()) {
        CFG_LOG(LL_ERROR, "Invalid VTEP label: %1, address type %2", label, entry.addressType)
            .Tag("errorCode:LCP00019");
        return false;
    }
    const uint32_t mtep = vtep.has_mtep_capability() ? vtep.mtep_capability() : 1;
    if (mtep < 1 || mtep > 3) {
        CFG_LOG(LL_ERROR, "Invalid MTEP Capability %1, IP: %2, label: %3", mtep, IpText(vtep), label)
            .Tag("errorCode:LCP00019");
        return false;
    }
    entry.vtepIp = vtep.vtep_ip();
    entry.vtepLabel = label;
    entry.segmentId = vtep.segment_id();
    entry.vtepMac = MacFromNumber(vtep.vtep_mac());
    entry.mtepCapability = static_cast<uint8_t>(mtep);
    entry.vtepIpv6 = Ipv6Bytes(vtep.vtep_ipv6());
    entry.segmentIdv6 = Ipv6Bytes(vtep.segment_id_v6());
    return true;
}

bool L2EntryConvertor::MacToWire(const std::string& value, VxlanMacEntry& entry) {
    lb::LogSwitchMacEntryMsg mac;
    if (!mac.ParseFromString(value) || !mac.has_mac()) {
        return false;
    }
    const lb::LogSwitchVtepEntryMsg& vtep = mac.vtep();
    entry.vmMac = MacFromNumber(mac.mac());
    entry.vtepMac = MacFromNumber(vtep.vtep_mac());
    entry.vtepIp = vtep.vtep_ip();
    entry.vtepLabel = vtep.vtep_label().label();
    entry.addressType = AddressType(vtep.has_vtep_ip() || !vtep.has_vtep_ipv6(), vtep.has_vtep_ipv6());
    entry.vtepIpv6 = Ipv6Bytes(vtep.vtep_ipv6());
    return true;
}

bool L2EntryConvertor::IpToWire(const std::string& value, VxlanIpMac& entry, bool& ipv6) {
    lb::LogSwitchIpEntryMsg ip;
    ip.ParseFromString(value);
    entry = VxlanIpMac{};
    entry.mac = MacFromNumber(ip.mac());
    if (ip.ip().has_ipv4()) {
        const uint32_t v4 = ip.ip().ipv4();
        entry.ip = {static_cast<uint8_t>(v4 >> 24), static_cast<uint8_t>(v4 >> 16),
                    static_cast<uint8_t>(v4 >> 8), static_cast<uint8_t>(v4)};
        ipv6 = false;
        return true;
    }
    if (ip.ip().has_ipv6()) {
        entry.ip = Ipv6Bytes(ip.ip().ipv6());
        ipv6 = true;
        return true;
    }
    CFG_LOG(LL_ERROR, "%1: L2_VM_IP unknown ip format", "L2App");
    return false;
}

bool L2EntryConvertor::MacOfIp(const std::string& value, uint64_t& mac) {
    lb::LogSwitchIpEntryMsg ip;
    if (!ip.ParseFromString(value) || !ip.has_mac()) {
        return false;
    }
    mac = ip.mac();
    return true;
}

bool L2EntryConvertor::VtepToStore(const VxlanVtepEntry& entry, std::string& value) {
    if (entry.addressType < VXLAN_ADDR_IPV4 || entry.addressType > VXLAN_ADDR_BOTH) {
        return false;
    }
    lb::LogSwitchVtepEntryMsg vtep;
    vtep.mutable_vtep_label()->set_label(entry.vtepLabel);
    if (entry.addressType != VXLAN_ADDR_IPV6) {
        vtep.set_vtep_ip(entry.vtepIp);
    }
    if (entry.addressType != VXLAN_ADDR_IPV4) {
        vtep.set_vtep_ipv6(Ipv6Text(entry.vtepIpv6));
        vtep.set_segment_id_v6(Ipv6Text(entry.segmentIdv6));
    }
    vtep.set_vtep_mac(MacToNumber(entry.vtepMac));
    vtep.set_segment_id(entry.segmentId);
    vtep.set_encap_type(EncapToStore(entry.encapType));
    vtep.set_mtep_capability(entry.mtepCapability);
    value = vtep.SerializeAsString();
    return true;
}

std::string L2EntryConvertor::MacToStore(const VxlanMacEntry& entry) {
    lb::LogSwitchMacEntryMsg mac;
    mac.set_mac(MacToNumber(entry.vmMac));
    lb::LogSwitchVtepEntryMsg* vtep = mac.mutable_vtep();
    vtep->mutable_vtep_label()->set_label(entry.vtepLabel);
    if (entry.addressType != VXLAN_ADDR_IPV6) {
        vtep->set_vtep_ip(entry.vtepIp);
    }
    if (entry.addressType == VXLAN_ADDR_IPV6 || entry.addressType == VXLAN_ADDR_BOTH) {
        vtep->set_vtep_ipv6(Ipv6Text(entry.vtepIpv6));
    }
    vtep->set_vtep_mac(MacToNumber(entry.vtepMac));
    return mac.SerializeAsString();
}

uint32_t L2EntryConvertor::VtepFamily(const std::string& value) {
    lb::LogSwitchVtepEntryMsg vtep;
    vtep.ParseFromString(value);
    return vtep.has_vtep_ip() ? 4 : 6;
}

uint32_t L2EntryConvertor::VtepLabel(const std::string& value) {
    lb::LogSwitchVtepEntryMsg vtep;
    vtep.ParseFromString(value);
    return vtep.vtep_label().label();
}

VxlanUuid L2EntryConvertor::DomainToWire(const Uuid& domain) {
    VxlanUuid bytes{};
    halden::zef::loftdb::UuidMsg message;
    domain.ToMsg(message);
    for (int i = 0; i < 8; ++i) {
        bytes[i] = static_cast<uint8_t>(message.left() >> (56 - 8 * i));
        bytes[8 + i] = static_cast<uint8_t>(message.right() >> (56 - 8 * i));
    }
    return bytes;
}

Uuid L2EntryConvertor::DomainFromWire(const VxlanUuid& domain) {
    uint64_t left = 0;
    uint64_t right = 0;
    for (int i = 0; i < 8; ++i) {
        left = (left << 8) | domain[i];
        right = (right << 8) | domain[8 + i];
    }
    return Uuid(left, right);
}

}  // namespace CfgAgent
