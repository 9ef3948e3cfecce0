#include "l2/codec/VxlanNeighborUpdateCodec.h"

#include <algorithm>

#include "dplink/BigEndian.h"
#include "l2/codec/VxlanEntryCodec.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kSwitchId = 4;
constexpr size_t kVni = 8;

size_t AddressSize(bool ipv6) {
    return ipv6 ? 16 : 4;
}

}  // namespace

bool VxlanNeighborUpdateCodec::Build(const VxlanNeighborUpdate& update,
                                     std::vector<uint8_t>& tlv) {
    const size_t address = AddressSize(update.ipv6);
    const auto write = [address](uint8_t* at, const VxlanNeighbor& entry) {
        std::copy_n(entry.ip.begin(), address, at);
        VxlanEntryCodec::WriteMac(at + address, entry.mac);
    };
    const std::vector<VxlanNeighbor> none;
    if (!VxlanEntryRow::Fill(tlv, update.ipv6 ? VXLAN_DATATYPE_NDv6 : VXLAN_DATATYPE_ARPv4,
                             kHead, update.ipv6 ? kEntryV6 : kEntryV4, none, update.entries,
                             write)) {
        return false;
    }
    BigEndian::Put32(tlv.data() + kSwitchId, update.switchId);
    BigEndian::Put32(tlv.data() + kVni, update.vni);
    return true;
}

std::string VxlanNeighborUpdateCodec::Read(const Tlv& data, VxlanNeighborUpdate& update) {
    if (data.Type() != VXLAN_DATATYPE_ARPv4 && data.Type() != VXLAN_DATATYPE_NDv6) {
        return "data type " + std::to_string(data.Type()) + " is not an ARP or ND Update";
    }
    const bool ipv6 = data.Type() == VXLAN_DATATYPE_NDv6;
    const size_t entry = ipv6 ? kEntryV6 : kEntryV4;
    size_t count = 0;
    std::string reason = VxlanEntryRow::Count(data, kHead, entry, count);
    if (!reason.empty()) {
        return reason;
    }
    update.ipv6 = ipv6;
    update.switchId = BigEndian::Get32(VxlanEntryRow::At(data, kSwitchId));
    update.vni = BigEndian::Get32(VxlanEntryRow::At(data, kVni));
    const size_t address = AddressSize(ipv6);
    std::vector<VxlanNeighbor> none;
    VxlanEntryRow::Split(data, kHead, entry, count, 0, none, update.entries,
                         [address](const uint8_t* at) {
                             VxlanNeighbor one;
                             std::copy_n(at, address, one.ip.begin());
                             one.mac = VxlanEntryCodec::ReadMac(at + address);
                             return one;
                         });
    return {};
}

}  // namespace CfgAgent
