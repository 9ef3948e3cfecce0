#pragma once

#include <cstdint>
#include <string>

#include "frame/vocabulary/Uuid.h"
#include "l2/codec/VxlanIpMac.h"
#include "l2/codec/VxlanMacEntry.h"
#include "l2/codec/VxlanVtepEntry.h"

namespace CfgAgent {

// Overlay entries between the store's serialized entry messages and the
// kernel's fixed entries. Store to kernel refuses what the kernel cannot
// take, logging why; kernel to store takes what the kernel reports.
class L2EntryConvertor {
public:
    // A VTEP of the store: it needs an address, a label, a known encap and
    // an MTEP capability of 1 to 3.
    static bool VtepToWire(const std::string& value, VxlanVtepEntry& entry);
    static bool MacToWire(const std::string& value, VxlanMacEntry& entry);
    // An IP entry; `ipv6` tells which data type it goes in.
    static bool IpToWire(const std::string& value, VxlanIpMac& entry, bool& ipv6);
    // The MAC of a stored IP entry, for the kernel's address queries.
    static bool MacOfIp(const std::string& value, uint64_t& mac);

    // Kernel entries as the store's messages, serialized. A VTEP whose
    // address type is not 1 to 3 has no such form.
    static bool VtepToStore(const VxlanVtepEntry& entry, std::string& value);
    static std::string MacToStore(const VxlanMacEntry& entry);
    // The address family of a stored VTEP: 4 when it has IPv4, else 6.
    static uint32_t VtepFamily(const std::string& value);
    static uint32_t VtepLabel(const std::string& value);

    // Routing domains travel as 16 bytes in the order of their text.
    static VxlanUuid DomainToWire(const Uuid& domain);
    static Uuid DomainFromWire(const VxlanUuid& domain);

    // Store encap 1 is VXSTT, 3 or none GENEVE, 4 and 5 VXLAN.
    static bool EncapToWire(bool has, uint32_t stored, uint8_t& wire);
    static uint32_t EncapToStore(uint8_t wire);
};

}  // namespace CfgAgent
