#include "l2/codec/VxlanEntryCodec.h"

#include <algorithm>
#include <cstring>

#include "dplink/BigEndian.h"

namespace CfgAgent {

namespace {

template <size_t N>
void Put(uint8_t* at, const std::array<uint8_t, N>& bytes) {
    std::copy(bytes.begin(), bytes.end(), at);
}

template <size_t N>
void Get(const uint8_t* at, std::array<uint8_t, N>& bytes) {
    std::copy(at, at + N, bytes.begin());
}

namespace mac {
constexpr size_t kVmMac = 0;
constexpr size_t kVtepMac = 6;
constexpr size_t kVtepIp = 12;
constexpr size_t kLabel = 16;
constexpr size_t kAddressType = 20;
constexpr size_t kVtepIpv6 = 24;
}  // namespace mac

namespace vtep {
constexpr size_t kVtepIp = 0;
constexpr size_t kLabel = 4;
constexpr size_t kSegmentId = 8;
constexpr size_t kVtepMac = 12;
constexpr size_t kEncap = 18;
constexpr size_t kMtep = 19;
// Byte 20 is a gap.
constexpr size_t kAddressType = 21;
constexpr size_t kVtepIpv6 = 25;
constexpr size_t kSegmentIdv6 = 41;
}  // namespace vtep

namespace bfd {
constexpr size_t kLocal = 0;
constexpr size_t kRemote = 16;
constexpr size_t kFamily = 32;
constexpr size_t kVni = 33;
constexpr size_t kRoutingDomain = 37;
constexpr size_t kVgLabel = 53;
}  // namespace bfd

// Only the address type's place is fixed by the kernel; the rest follows the
// VTEP entry's fields in the order they fit.
namespace member {
constexpr size_t kVtepIp = 0;
constexpr size_t kLabel = 4;
constexpr size_t kAddressType = 8;
constexpr size_t kVtepIpv6 = 12;
constexpr size_t kVtepMac = 28;
constexpr size_t kEncap = 34;
constexpr size_t kMtep = 35;
}  // namespace member

}  // namespace

void VxlanEntryCodec::PutHost32(uint8_t* at, uint32_t value) {
    std::memcpy(at, &value, sizeof value);
}

uint32_t VxlanEntryCodec::GetHost32(const uint8_t* at) {
    uint32_t value = 0;
    std::memcpy(&value, at, sizeof value);
    return value;
}

void VxlanEntryCodec::WriteMac(uint8_t* at, const VxlanMacEntry& entry) {
    Put(at + mac::kVmMac, entry.vmMac);
    Put(at + mac::kVtepMac, entry.vtepMac);
    BigEndian::Put32(at + mac::kVtepIp, entry.vtepIp);
    BigEndian::Put32(at + mac::kLabel, entry.vtepLabel);
    PutHost32(at + mac::kAddressType, entry.addressType);
    Put(at + mac::kVtepIpv6, entry.vtepIpv6);
}

VxlanMacEntry VxlanEntryCodec::ReadMac(const uint8_t* at) {
    VxlanMacEntry entry;
    Get(at + mac::kVmMac, entry.vmMac);
    Get(at + mac::kVtepMac, entry.vtepMac);
    entry.vtepIp = BigEndian::Get32(at + mac::kVtepIp);
    entry.vtepLabel = BigEndian::Get32(at + mac::kLabel);
    entry.addressType = GetHost32(at + mac::kAddressType);
    Get(at + mac::kVtepIpv6, entry.vtepIpv6);
    return entry;
}

void VxlanEntryCodec::WriteVtep(uint8_t* at, const VxlanVtepEntry& entry) {
    BigEndian::Put32(at + vtep::kVtepIp, entry.vtepIp);
    BigEndian::Put32(at + vtep::kLabel, entry.vtepLabel);
    BigEndian::Put32(at + vtep::kSegmentId, entry.segmentId);
    Put(at + vtep::kVtepMac, entry.vtepMac);
    at[vtep::kEncap] = entry.encapType;
    at[vtep::kMtep] = entry.mtepCapability;
    PutHost32(at + vtep::kAddressType, entry.addressType);
    Put(at + vtep::kVtepIpv6, entry.vtepIpv6);
    Put(at + vtep::kSegmentIdv6, entry.segmentIdv6);
}

VxlanVtepEntry VxlanEntryCodec::ReadVtep(const uint8_t* at) {
    VxlanVtepEntry entry;
    entry.vtepIp = BigEndian::Get32(at + vtep::kVtepIp);
    entry.vtepLabel = BigEndian::Get32(at + vtep::kLabel);
    entry.segmentId = BigEndian::Get32(at + vtep::kSegmentId);
    Get(at + vtep::kVtepMac, entry.vtepMac);
    entry.encapType = at[vtep::kEncap];
    entry.mtepCapability = at[vtep::kMtep];
    entry.addressType = GetHost32(at + vtep::kAddressType);
    Get(at + vtep::kVtepIpv6, entry.vtepIpv6);
    Get(at + vtep::kSegmentIdv6, entry.segmentIdv6);
    return entry;
}

void VxlanEntryCodec::WriteBfd(uint8_t* at, const VxlanBfdEntry& entry) {
    Put(at + bfd::kLocal, entry.localVtep);
    Put(at + bfd::kRemote, entry.remoteVtep);
    at[bfd::kFamily] = entry.family;
    BigEndian::Put32(at + bfd::kVni, entry.vni);
    Put(at + bfd::kRoutingDomain, entry.routingDomain);
    BigEndian::Put32(at + bfd::kVgLabel, entry.vgLabel);
}

VxlanBfdEntry VxlanEntryCodec::ReadBfd(const uint8_t* at) {
    VxlanBfdEntry entry;
    Get(at + bfd::kLocal, entry.localVtep);
    Get(at + bfd::kRemote, entry.remoteVtep);
    entry.family = at[bfd::kFamily];
    entry.vni = BigEndian::Get32(at + bfd::kVni);
    Get(at + bfd::kRoutingDomain, entry.routingDomain);
    entry.vgLabel = BigEndian::Get32(at + bfd::kVgLabel);
    return entry;
}

void VxlanEntryCodec::WriteGroupMember(uint8_t* at, const VxlanGroupMember& entry) {
    BigEndian::Put32(at + member::kVtepIp, entry.vtepIp);
    BigEndian::Put32(at + member::kLabel, entry.vtepLabel);
    PutHost32(at + member::kAddressType, entry.addressType);
    Put(at + member::kVtepIpv6, entry.vtepIpv6);
    Put(at + member::kVtepMac, entry.vtepMac);
    at[member::kEncap] = entry.encapType;
    at[member::kMtep] = entry.mtepCapability;
}

VxlanGroupMember VxlanEntryCodec::ReadGroupMember(const uint8_t* at) {
    VxlanGroupMember entry;
    entry.vtepIp = BigEndian::Get32(at + member::kVtepIp);
    entry.vtepLabel = BigEndian::Get32(at + member::kLabel);
    entry.addressType = GetHost32(at + member::kAddressType);
    Get(at + member::kVtepIpv6, entry.vtepIpv6);
    Get(at + member::kVtepMac, entry.vtepMac);
    entry.encapType = at[member::kEncap];
    entry.mtepCapability = at[member::kMtep];
    return entry;
}

}  // namespace CfgAgent
