#include "l2/codec/VxlanIpUpdateCodec.h"

#include <algorithm>

#include "dplink/BigEndian.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kSwitchId = 4;
constexpr size_t kVni = 8;
constexpr size_t kRemoved = 12;

size_t AddressSize(bool ipv6) {
    return ipv6 ? 16 : 4;
}

}  // namespace

bool VxlanIpUpdateCodec::Build(const VxlanIpUpdate& update, std::vector<uint8_t>& tlv) {
    const size_t address = AddressSize(update.ipv6);
    const auto write = [address](uint8_t* at, const VxlanIpMac& entry) {
        std::copy_n(entry.ip.begin(), address, at);
        std::copy(entry.mac.begin(), entry.mac.end(), at + address);
    };
    if (!VxlanEntryRow::Fill(tlv, update.ipv6 ? VXLAN_DATATYPE_IPv6 : VXLAN_DATATYPE_IPv4,
                             kHead, update.ipv6 ? kEntryV6 : kEntryV4, update.removed,
                             update.added, write)) {
        return false;
    }
    BigEndian::Put32(tlv.data() + kSwitchId, update.switchId);
    BigEndian::Put32(tlv.data() + kVni, update.vni);
    BigEndian::Put16(tlv.data() + kRemoved, static_cast<uint16_t>(update.removed.size()));
    return true;
}

std::string VxlanIpUpdateCodec::Read(const Tlv& data, VxlanIpUpdate& update) {
    if (data.Type() != VXLAN_DATATYPE_IPv4 && data.Type() != VXLAN_DATATYPE_IPv6) {
        return "data type " + std::to_string(data.Type()) + " is not a VM IP Update";
    }
    const bool ipv6 = data.Type() == VXLAN_DATATYPE_IPv6;
    const size_t entry = ipv6 ? kEntryV6 : kEntryV4;
    size_t count = 0;
    std::string reason = VxlanEntryRow::Count(data, kHead, entry, count);
    if (!reason.empty()) {
        return reason;
    }
    const size_t removed = BigEndian::Get16(VxlanEntryRow::At(data, kRemoved));
    reason = VxlanEntryRow::CheckRemoved(data, removed, count);
    if (!reason.empty()) {
        return reason;
    }
    update.ipv6 = ipv6;
    update.switchId = BigEndian::Get32(VxlanEntryRow::At(data, kSwitchId));
    update.vni = BigEndian::Get32(VxlanEntryRow::At(data, kVni));
    const size_t address = AddressSize(ipv6);
    VxlanEntryRow::Split(data, kHead, entry, count, removed, update.removed, update.added,
                         [address](const uint8_t* at) {
                             VxlanIpMac one;
                             std::copy_n(at, address, one.ip.begin());
                             std::copy_n(at + address, one.mac.size(), one.mac.begin());
                             return one;
                         });
    return {};
}

}  // namespace CfgAgent
