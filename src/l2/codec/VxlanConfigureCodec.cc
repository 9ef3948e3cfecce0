#include "l2/codec/VxlanConfigureCodec.h"

#include <algorithm>

#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanMessage.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kNumber = 4;

namespace bfd {
constexpr size_t kHdsId = 4;
constexpr size_t kLatency = 52;
constexpr size_t kFlags = 53;
constexpr size_t kEnable = 54;
// Bytes 55 and 56 are a gap.
constexpr size_t kInterval = 57;
constexpr size_t kMultiplier = 61;
}  // namespace bfd

namespace evpn {
constexpr size_t kType = 4;
constexpr size_t kFlags = 8;
constexpr size_t kEnable = 9;
constexpr size_t kInterval = 12;
constexpr size_t kMultiplier = 16;
}  // namespace evpn

namespace vni {
constexpr size_t kSwitchId = 4;
constexpr size_t kVni = 8;
constexpr size_t kValue = 12;
}  // namespace vni

}  // namespace

size_t VxlanConfigureCodec::ItemLength(uint16_t type) {
    switch (type) {
        case VXLAN_CFG_MAX_MSG_LEN:
        case VXLAN_CFG_FREQ_PERIOD:
        case VXLAN_CFG_FREQ_QUERY:
        case VXLAN_CFG_FREQ_UPDATE:
        case VXLAN_CFG_BTE_AGEING:
        case VXLAN_CFG_ARP_AGEING:
            return 6;
        // Both end in four bytes of padding after the multiplier.
        case VXLAN_CFG_BFD:
            return 69;
        case VXLAN_CFG_EVPN_BFD:
            return 24;
        case VXLAN_CFG_MCAST_PROXY:
        case VXLAN_CFG_ARP_PROXY:
            return 13;
        case VXLAN_CFG_ROUTING_DOMAIN:
            return 28;
        case VXLAN_CFG_MAC_LIMIT:
            return 16;
        default:
            return 0;
    }
}

bool VxlanConfigureCodec::BuildItem(const VxlanConfigureItem& item, std::vector<uint8_t>& tlv) {
    const size_t length = ItemLength(item.type);
    if (length == 0) {
        return false;
    }
    tlv.assign(length, 0);
    Tlv::WriteHeader(tlv.data(), item.type, length);
    uint8_t* at = tlv.data();
    switch (item.type) {
        case VXLAN_CFG_BFD:
            FixedText::Write(at + bfd::kHdsId, VXLAN_HDS_ID_LEN, item.hdsId);
            at[bfd::kLatency] = item.latencyEnable;
            at[bfd::kFlags] = item.flags;
            at[bfd::kEnable] = item.enable;
            BigEndian::Put32(at + bfd::kInterval, item.interval);
            BigEndian::Put32(at + bfd::kMultiplier, item.multiplier);
            break;
        case VXLAN_CFG_EVPN_BFD:
            BigEndian::Put16(at + evpn::kType, item.number);
            at[evpn::kFlags] = item.flags;
            at[evpn::kEnable] = item.enable;
            BigEndian::Put32(at + evpn::kInterval, item.interval);
            BigEndian::Put32(at + evpn::kMultiplier, item.multiplier);
            break;
        case VXLAN_CFG_MCAST_PROXY:
        case VXLAN_CFG_ARP_PROXY:
        case VXLAN_CFG_ROUTING_DOMAIN:
        case VXLAN_CFG_MAC_LIMIT:
            BigEndian::Put32(at + vni::kSwitchId, item.switchId);
            BigEndian::Put32(at + vni::kVni, item.vni);
            if (item.type == VXLAN_CFG_ROUTING_DOMAIN) {
                std::copy(item.routingDomain.begin(), item.routingDomain.end(), at + vni::kValue);
            } else if (item.type == VXLAN_CFG_MAC_LIMIT) {
                BigEndian::Put32(at + vni::kValue, item.macLimit);
            } else {
                at[vni::kValue] = item.enable;
            }
            break;
        default:
            BigEndian::Put16(at + kNumber, item.number);
            break;
    }
    return true;
}

std::string VxlanConfigureCodec::ReadItem(const Tlv& data, VxlanConfigureItem& item) {
    const size_t length = ItemLength(data.Type());
    if (length == 0) {
        return "unsupported configure item type " + std::to_string(data.Type());
    }
    if (data.Length() != length) {
        return "configure item " + std::to_string(data.Type()) + " is " + std::to_string(length) +
               " bytes, not " + std::to_string(data.Length());
    }
    item = VxlanConfigureItem{};
    item.type = data.Type();
    const auto at = [&data](size_t offset) { return VxlanEntryRow::At(data, offset); };
    switch (item.type) {
        case VXLAN_CFG_BFD:
            item.hdsId = FixedText::Read(at(bfd::kHdsId), VXLAN_HDS_ID_LEN);
            item.latencyEnable = *at(bfd::kLatency);
            item.flags = *at(bfd::kFlags);
            item.enable = *at(bfd::kEnable);
            item.interval = BigEndian::Get32(at(bfd::kInterval));
            item.multiplier = BigEndian::Get32(at(bfd::kMultiplier));
            break;
        case VXLAN_CFG_EVPN_BFD:
            item.number = BigEndian::Get16(at(evpn::kType));
            item.flags = *at(evpn::kFlags);
            item.enable = *at(evpn::kEnable);
            item.interval = BigEndian::Get32(at(evpn::kInterval));
            item.multiplier = BigEndian::Get32(at(evpn::kMultiplier));
            break;
        case VXLAN_CFG_MCAST_PROXY:
        case VXLAN_CFG_ARP_PROXY:
        case VXLAN_CFG_ROUTING_DOMAIN:
        case VXLAN_CFG_MAC_LIMIT:
            item.switchId = BigEndian::Get32(at(vni::kSwitchId));
            item.vni = BigEndian::Get32(at(vni::kVni));
            if (item.type == VXLAN_CFG_ROUTING_DOMAIN) {
                std::copy_n(at(vni::kValue), item.routingDomain.size(), item.routingDomain.begin());
            } else if (item.type == VXLAN_CFG_MAC_LIMIT) {
                item.macLimit = BigEndian::Get32(at(vni::kValue));
            } else {
                item.enable = *at(vni::kValue);
            }
            break;
        default:
            item.number = BigEndian::Get16(at(kNumber));
            break;
    }
    return {};
}

bool VxlanConfigureCodec::Build(const std::vector<VxlanConfigureItem>& items,
                                std::vector<uint8_t>& message) {
    std::vector<std::vector<uint8_t>> row(items.size());
    for (size_t i = 0; i < items.size(); ++i) {
        if (!BuildItem(items[i], row[i])) {
            return false;
        }
    }
    return VxlanMessage::Wrap(VXLAN_MSG_CONFIGURE, row, message);
}

std::string VxlanConfigureCodec::Read(std::span<const uint8_t> bytes,
                                      std::vector<VxlanConfigureItem>& items) {
    items.clear();
    std::string reason = VxlanMessage::Expect(bytes, VXLAN_MSG_CONFIGURE);
    if (!reason.empty()) {
        return reason;
    }
    std::vector<Tlv> row;
    const std::string rowReason = VxlanMessage::Row(bytes, row);
    for (const Tlv& data : row) {
        VxlanConfigureItem item;
        reason = ReadItem(data, item);
        if (!reason.empty()) {
            return reason;
        }
        items.push_back(std::move(item));
    }
    return rowReason;
}

}  // namespace CfgAgent
