#include "OverlayCorpus.h"

#include "dplink/MacNumber.h"

namespace Bench {

namespace lb = halden::zef::loftdb;

namespace {

constexpr uint32_t kFirstLabel = 10001;
constexpr uint32_t kFirstIp = 0xAC100001;  // 172.16.0.1
constexpr uint64_t kFirstVtepMac = 0x005056300000ull;
constexpr uint32_t kStoreEncapGeneve = 3;

}  // namespace

lb::LogSwitchConfigMsg OverlayCorpus::Switch(size_t vni) const {
    lb::LogSwitchConfigMsg config;
    config.mutable_id()->set_left(kIdLeft);
    config.mutable_id()->set_right(vni + 1);
    config.set_vni(Vni(vni));
    config.set_admin_state_up(true);
    return config;
}

lb::LogSwitchFibMsg OverlayCorpus::FibKey(size_t vni) const {
    lb::LogSwitchFibMsg fib;
    fib.mutable_id()->set_left(kIdLeft);
    fib.mutable_id()->set_right(vni + 1);
    return fib;
}

lb::LogSwitchFibMsg OverlayCorpus::Fib(size_t vni) const {
    lb::LogSwitchFibMsg fib = FibKey(vni);
    for (size_t vtep = 0; vtep < _vteps; ++vtep) {
        *fib.add_vteps() = Vtep(vtep);
        for (size_t mac = 0; mac < _macs; ++mac) {
            *fib.add_macs() = Mac(vni, vtep, mac, vtep);
        }
    }
    return fib;
}

lb::LogSwitchVtepEntryMsg OverlayCorpus::Vtep(size_t vtep) {
    lb::LogSwitchVtepEntryMsg entry;
    entry.mutable_vtep_label()->set_label(kFirstLabel + static_cast<uint32_t>(vtep));
    entry.set_vtep_ip(kFirstIp + static_cast<uint32_t>(vtep));
    entry.set_vtep_mac(kFirstVtepMac + vtep);
    entry.set_encap_type(kStoreEncapGeneve);
    return entry;
}

uint64_t OverlayCorpus::MacNumber(size_t vni, size_t vtep, size_t mac) const {
    return 0x020000000000ull + (static_cast<uint64_t>(vni) << 24) + vtep * _macs + mac;
}

lb::LogSwitchMacEntryMsg OverlayCorpus::Mac(size_t vni, size_t vtep, size_t mac, size_t via) const {
    lb::LogSwitchMacEntryMsg entry;
    entry.set_mac(MacNumber(vni, vtep, mac));
    const lb::LogSwitchVtepEntryMsg endpoint = Vtep(via);
    *entry.mutable_vtep()->mutable_vtep_label() = endpoint.vtep_label();
    entry.mutable_vtep()->set_vtep_ip(endpoint.vtep_ip());
    entry.mutable_vtep()->set_vtep_mac(endpoint.vtep_mac());
    return entry;
}

CfgAgent::VxlanVtepEntry OverlayCorpus::WireVtep(size_t vtep) {
    CfgAgent::VxlanVtepEntry entry;
    entry.vtepIp = kFirstIp + static_cast<uint32_t>(vtep);
    entry.vtepLabel = kFirstLabel + static_cast<uint32_t>(vtep);
    entry.vtepMac = CfgAgent::MacFromNumber(kFirstVtepMac + vtep);
    entry.encapType = CfgAgent::VXLAN_ENCAP_GENEVE;
    return entry;
}

CfgAgent::VxlanMacEntry OverlayCorpus::WireMac(size_t vni, size_t vtep, size_t mac, size_t via) const {
    CfgAgent::VxlanMacEntry entry;
    entry.vmMac = CfgAgent::MacFromNumber(MacNumber(vni, vtep, mac));
    entry.vtepMac = CfgAgent::MacFromNumber(kFirstVtepMac + via);
    entry.vtepIp = kFirstIp + static_cast<uint32_t>(via);
    entry.vtepLabel = kFirstLabel + static_cast<uint32_t>(via);
    return entry;
}

}  // namespace Bench
