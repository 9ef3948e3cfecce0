#include "port/kcp/KcpVifUpdateCodec.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"
#include "port/kcp/KcpAddressField.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "dplink/Tlv.h"

namespace CfgAgent {

namespace {

constexpr size_t kVifId = 0;
constexpr size_t kPortId = 48;
constexpr size_t kSwitchId = 96;
constexpr size_t kParentVifId = 160;
constexpr size_t kVifType = 208;
constexpr size_t kSmartNic = 209;
constexpr size_t kHotmove = 210;

constexpr size_t kBindingMac = KcpAddressField::kSize;
constexpr size_t kBindingVlan = 23;
constexpr size_t kBindingMethod = 25;
constexpr size_t kBindingTimestamp = 26;

constexpr size_t kStatusTlv = Tlv::kHeaderSize + 1;

// The size of the record's property TLVs; false when one cannot be framed.
bool PropertiesSize(const KcpVifRecord& record, size_t& size) {
    const size_t macs = record.macs.size() * KcpVifUpdateCodec::kMacSize;
    const size_t bindings = record.bindings.size() * KcpVifUpdateCodec::kBindingSize;
    if (macs > Tlv::kMaxLength - Tlv::kHeaderSize ||
        bindings > Tlv::kMaxLength - Tlv::kHeaderSize) {
        return false;
    }
    size = (record.status ? kStatusTlv : 0) + (macs ? Tlv::kHeaderSize + macs : 0) +
           (bindings ? Tlv::kHeaderSize + bindings : 0);
    return true;
}

void WriteProperties(const KcpVifRecord& record, uint8_t* at) {
    if (record.status) {
        Tlv::WriteHeader(at, KCP_VIF_STATUS, kStatusTlv);
        at[Tlv::kHeaderSize] = *record.status;
        at += kStatusTlv;
    }
    if (!record.macs.empty()) {
        const size_t size = Tlv::kHeaderSize + record.macs.size() * KcpVifUpdateCodec::kMacSize;
        Tlv::WriteHeader(at, KCP_VIF_MAC, size);
        uint8_t* mac = at + Tlv::kHeaderSize;
        for (const KcpMac& one : record.macs) {
            mac = std::copy(one.begin(), one.end(), mac);
        }
        at += size;
    }
    if (!record.bindings.empty()) {
        const size_t size =
            Tlv::kHeaderSize + record.bindings.size() * KcpVifUpdateCodec::kBindingSize;
        Tlv::WriteHeader(at, KCP_VIF_DISCOVERED_BINDINGS, size);
        uint8_t* binding = at + Tlv::kHeaderSize;
        for (const KcpDiscoveredBinding& one : record.bindings) {
            KcpAddressField::Write(binding, one.ipv4, one.ip);
            std::copy(one.mac.begin(), one.mac.end(), binding + kBindingMac);
            BigEndian::Put16(binding + kBindingVlan, one.vlan);
            binding[kBindingMethod] = one.method;
            std::memcpy(binding + kBindingTimestamp, &one.timestamp, sizeof one.timestamp);
            binding += KcpVifUpdateCodec::kBindingSize;
        }
    }
}

}  // namespace

bool KcpVifUpdateCodec::BuildMessage(const KcpVifUpdate& update, bool more,
                                     std::vector<uint8_t>& message) {
    std::vector<size_t> recordSizes;
    size_t valueSize = 1;
    for (const KcpVifRecord& record : update.records) {
        size_t size = 0;
        if (!PropertiesSize(record, size) || kRecords.head + size > Tlv::kMaxLength) {
            return false;
        }
        recordSizes.push_back(kRecords.head + size);
        valueSize += kRecords.head + size;
    }
    if (!KcpUpdateCodec::Begin(message, KCP_VIF_UPDATE, valueSize, more)) {
        return false;
    }
    uint8_t* at = message.data() + KcpUpdateCodec::kValueOffset;
    *at++ = update.operation;
    for (size_t i = 0; i < update.records.size(); ++i) {
        const KcpVifRecord& record = update.records[i];
        FixedText::Write(at + kVifId, KCP_VIF_ID_LEN, record.vifId);
        FixedText::Write(at + kPortId, KCP_VIF_ID_LEN, record.portId);
        FixedText::Write(at + kSwitchId, KCP_SWITCH_ID_LEN, record.switchId);
        FixedText::Write(at + kParentVifId, KCP_VIF_ID_LEN, record.parentVifId);
        at[kVifType] = record.vifType;
        at[kSmartNic] = record.smartNic;
        at[kHotmove] = record.hotmove;
        BigEndian::Put16(at + kRecords.field, static_cast<uint16_t>(recordSizes[i]));
        WriteProperties(record, at + kRecords.head);
        at += recordSizes[i];
    }
    return true;
}

bool KcpVifUpdateCodec::Decode(std::span<const uint8_t> value, KcpVifUpdate& update) {
    if (value.empty()) {
        return false;
    }
    update = KcpVifUpdate{};
    update.operation = value[0];
    KcpRecordRow row(value, kRecords);
    for (auto record = row.First(); record; record = row.Next(*record)) {
        KcpVifRecord out;
        ReadRecord(record->bytes, out);
        update.records.push_back(std::move(out));
    }
    return true;
}

void KcpVifUpdateCodec::ReadRecord(std::span<const uint8_t> record, KcpVifRecord& out) {
    const uint8_t* at = record.data();
    out.vifId = FixedText::Read(at + kVifId, KCP_VIF_ID_LEN);
    out.portId = FixedText::Read(at + kPortId, KCP_VIF_ID_LEN);
    out.switchId = FixedText::Read(at + kSwitchId, KCP_SWITCH_ID_LEN);
    out.parentVifId = FixedText::Read(at + kParentVifId, KCP_VIF_ID_LEN);
    out.vifType = at[kVifType];
    out.smartNic = at[kSmartNic];
    out.hotmove = at[kHotmove];
    auto properties = record.subspan(kRecords.head);
    for (auto tlv = Tlv::At(properties, 0); tlv && ReadProperty(*tlv, out);
         tlv = tlv->Next(properties)) {
    }
}

bool KcpVifUpdateCodec::ReadProperty(const Tlv& property, KcpVifRecord& out) {
    const uint8_t* value = property.Value().data();
    switch (property.Type()) {
        case KCP_VIF_STATUS:
            if (property.ValueLength() < 1) {
                return false;
            }
            out.status = value[0];
            break;
        case KCP_VIF_MAC:
            for (size_t at = 0; at + kMacSize <= property.ValueLength(); at += kMacSize) {
                KcpMac mac;
                std::copy_n(value + at, mac.size(), mac.begin());
                out.macs.push_back(mac);
            }
            break;
        case KCP_VIF_DISCOVERED_BINDINGS:
            for (size_t at = 0; at + kBindingSize <= property.ValueLength(); at += kBindingSize) {
                const uint8_t* one = value + at;
                KcpDiscoveredBinding binding;
                KcpAddressField::Read(one, binding.ipv4, binding.ip);
                std::copy_n(one + kBindingMac, binding.mac.size(), binding.mac.begin());
                binding.vlan = BigEndian::Get16(one + kBindingVlan);
                binding.method = one[kBindingMethod];
                std::memcpy(&binding.timestamp, one + kBindingTimestamp, sizeof binding.timestamp);
                out.bindings.push_back(binding);
            }
            break;
        default:
            break;
    }
    return true;
}

}  // namespace CfgAgent
