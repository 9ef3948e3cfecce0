#include "l2/codec/VxlanIpUpdateCodec.h"

#include <algorithm>

#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

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
    return VxlanEntryRow::BuildCounted(tlv, update.ipv6 ? VXLAN_DATATYPE_IPv6 : VXLAN_DATATYPE_IPv4,
                                       kHead, update.ipv6 ? kEntryV6 : kEntryV4, kRemoved, update,
                                       write);
}

std::string VxlanIpUpdateCodec::Read(const Tlv& data, VxlanIpUpdate& update) {
    if (data.Type() != VXLAN_DATATYPE_IPv4 && data.Type() != VXLAN_DATATYPE_IPv6) {
        return "data type " + std::to_string(data.Type()) + " is not a VM IP Update";
    }
    update.ipv6 = data.Type() == VXLAN_DATATYPE_IPv6;
    const size_t address = AddressSize(update.ipv6);
    return VxlanEntryRow::ReadCounted(data, kHead, update.ipv6 ? kEntryV6 : kEntryV4, kRemoved,
                                      update, [address](const uint8_t* at) {
                                          VxlanIpMac one;
                                          std::copy_n(at, address, one.ip.begin());
                                          std::copy_n(at + address, one.mac.size(), one.mac.begin());
                                          return one;
                                      });
}

}  // namespace CfgAgent
