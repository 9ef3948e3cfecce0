#pragma once

#include <cstddef>
#include <cstdint>

#include "l2/codec/VxlanMacEntry.h"
#include "l2/codec/VxlanVtepEntry.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_switching.pb.h"

namespace Bench {

// The overlay the benchmarks share: VNIS overlay switches, each spanning the
// same VTEPS remote endpoints with MACS VMs behind each endpoint, as the
// store holds them and as the kernel receives them.
class OverlayCorpus {
public:
    static constexpr uint32_t kFirstVni = 20001;
    static constexpr uint64_t kIdLeft = 7;

    OverlayCorpus(size_t vnis, size_t vteps, size_t macs) : _vnis(vnis), _vteps(vteps), _macs(macs) {}

    size_t Vnis() const { return _vnis; }
    size_t Vteps() const { return _vteps; }
    size_t Macs() const { return _macs; }
    static uint32_t Vni(size_t vni) { return kFirstVni + static_cast<uint32_t>(vni); }

    halden::zef::loftdb::LogSwitchConfigMsg Switch(size_t vni) const;
    halden::zef::loftdb::LogSwitchFibMsg Fib(size_t vni) const;
    // The FIB's key alone, for patches.
    halden::zef::loftdb::LogSwitchFibMsg FibKey(size_t vni) const;
    static halden::zef::loftdb::LogSwitchVtepEntryMsg Vtep(size_t vtep);
    // The MAC `mac` behind endpoint `vtep` of a switch, as reached through `via`.
    halden::zef::loftdb::LogSwitchMacEntryMsg Mac(size_t vni, size_t vtep, size_t mac, size_t via) const;

    // The same as the kernel's entries.
    static CfgAgent::VxlanVtepEntry WireVtep(size_t vtep);
    CfgAgent::VxlanMacEntry WireMac(size_t vni, size_t vtep, size_t mac, size_t via) const;

private:
    uint64_t MacNumber(size_t vni, size_t vtep, size_t mac) const;

    const size_t _vnis;
    const size_t _vteps;
    const size_t _macs;
};

}  // namespace Bench
