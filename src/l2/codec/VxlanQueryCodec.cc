#include "l2/codec/VxlanQueryCodec.h"

#include <algorithm>

#include "dplink/BigEndian.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanMessage.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kSwitchId = 4;
constexpr size_t kVni = 8;

}  // namespace

size_t VxlanQueryCodec::EntrySize(uint16_t dataType) {
    switch (dataType) {
        case VXLAN_DATATYPE_VMMAC:
            return 6;
        case VXLAN_DATATYPE_ARPv4:
            return 4;
        case VXLAN_DATATYPE_NDv6:
            return 16;
        default:
            return 0;
    }
}

bool VxlanQueryCodec::BuildData(const VxlanQuery& query, std::vector<uint8_t>& tlv) {
    const size_t entry = EntrySize(query.dataType);
    const bool macs = query.dataType == VXLAN_DATATYPE_VMMAC;
    const size_t count = macs ? query.macs.size() : query.ips.size();
    if (entry == 0 || !VxlanEntryRow::Begin(tlv, query.dataType, kHead, entry, count)) {
        return false;
    }
    BigEndian::Put32(tlv.data() + kSwitchId, query.switchId);
    BigEndian::Put32(tlv.data() + kVni, query.vni);
    uint8_t* at = tlv.data() + kHead;
    if (macs) {
        for (const VxlanMac& mac : query.macs) {
            at = std::copy(mac.begin(), mac.end(), at);
        }
    } else {
        for (const VxlanIp& ip : query.ips) {
            at = std::copy_n(ip.begin(), entry, at);
        }
    }
    return true;
}

std::string VxlanQueryCodec::ReadData(const Tlv& data, VxlanQuery& query) {
    const size_t entry = EntrySize(data.Type());
    if (entry == 0) {
        return "unsupported query data type " + std::to_string(data.Type());
    }
    size_t count = 0;
    std::string reason = VxlanEntryRow::Count(data, kHead, entry, count);
    if (!reason.empty()) {
        return reason;
    }
    query = VxlanQuery{};
    query.dataType = data.Type();
    query.switchId = BigEndian::Get32(VxlanEntryRow::At(data, kSwitchId));
    query.vni = BigEndian::Get32(VxlanEntryRow::At(data, kVni));
    const uint8_t* at = VxlanEntryRow::At(data, kHead);
    for (size_t i = 0; i < count; ++i, at += entry) {
        if (query.dataType == VXLAN_DATATYPE_VMMAC) {
            VxlanMac& mac = query.macs.emplace_back();
            std::copy_n(at, mac.size(), mac.begin());
        } else {
            VxlanIp& ip = query.ips.emplace_back();
            std::copy_n(at, entry, ip.begin());
        }
    }
    return {};
}

bool VxlanQueryCodec::Build(const std::vector<VxlanQuery>& queries, std::vector<uint8_t>& message) {
    std::vector<std::vector<uint8_t>> row(queries.size());
    for (size_t i = 0; i < queries.size(); ++i) {
        if (!BuildData(queries[i], row[i])) {
            return false;
        }
    }
    return VxlanMessage::Wrap(VXLAN_MSG_QUERY, row, message);
}

std::string VxlanQueryCodec::Read(std::span<const uint8_t> bytes, std::vector<VxlanQuery>& queries) {
    queries.clear();
    std::string reason = VxlanMessage::Expect(bytes, VXLAN_MSG_QUERY);
    if (!reason.empty()) {
        return reason;
    }
    std::vector<Tlv> row;
    const std::string rowReason = VxlanMessage::Row(bytes, row);
    for (const Tlv& data : row) {
        VxlanQuery query;
        reason = ReadData(data, query);
        if (!reason.empty()) {
            return reason;
        }
        queries.push_back(std::move(query));
    }
    return rowReason;
}

}  // namespace CfgAgent
