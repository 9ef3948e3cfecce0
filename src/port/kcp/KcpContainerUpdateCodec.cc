#include "port/kcp/KcpContainerUpdateCodec.h"

#include <algorithm>
#include <utility>

#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"
#include "port/kcp/KcpAddressField.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"

namespace CfgAgent {

namespace {

constexpr size_t kCifId = 0;
constexpr size_t kPortId = 48;
constexpr size_t kVmPortId = 96;
constexpr size_t kVmVifId = 144;
constexpr size_t kVlan = 192;
constexpr size_t kMac = 194;
constexpr size_t kEntryMac = KcpAddressField::kSize;

}  // namespace

bool KcpContainerUpdateCodec::BuildMessage(const std::vector<KcpContainerRecord>& records,
                                           bool more, std::vector<uint8_t>& message) {
    size_t valueSize = 0;
    for (const KcpContainerRecord& record : records) {
        if (record.entries.size() > 0xFFFF) {
            return false;
        }
        valueSize += kRecords.head + kEntrySize * record.entries.size();
    }
    if (!KcpUpdateCodec::Begin(message, KCP_CONTAINER_UPDATE, valueSize, more)) {
        return false;
    }
    uint8_t* at = message.data() + KcpUpdateCodec::kValueOffset;
    for (const KcpContainerRecord& record : records) {
        FixedText::Write(at + kCifId, KCP_VIF_ID_LEN, record.cifId);
        FixedText::Write(at + kPortId, KCP_VIF_ID_LEN, record.portId);
        FixedText::Write(at + kVmPortId, KCP_VIF_ID_LEN, record.vmPortId);
        FixedText::Write(at + kVmVifId, KCP_VIF_ID_LEN, record.vmVifId);
        BigEndian::Put16(at + kVlan, record.vlan);
        std::copy(record.mac.begin(), record.mac.end(), at + kMac);
        BigEndian::Put16(at + kRecords.field, static_cast<uint16_t>(record.entries.size()));
        at += kRecords.head;
        for (const KcpContainerEntry& entry : record.entries) {
            KcpAddressField::Write(at, entry.ipv4, entry.ip);
            std::copy(entry.mac.begin(), entry.mac.end(), at + kEntryMac);
            at += kEntrySize;
        }
    }
    return true;
}

bool KcpContainerUpdateCodec::Decode(std::span<const uint8_t> value,
                                     std::vector<KcpContainerRecord>& records) {
    records.clear();
    KcpRecordRow row(value, kRecords);
    for (auto record = row.First(); record; record = row.Next(*record)) {
        KcpContainerRecord out;
        ReadRecord(record->bytes, out);
        records.push_back(std::move(out));
    }
    return true;
}

void KcpContainerUpdateCodec::ReadRecord(std::span<const uint8_t> record, KcpContainerRecord& out) {
    const uint8_t* at = record.data();
    out.cifId = FixedText::Read(at + kCifId, KCP_VIF_ID_LEN);
    out.portId = FixedText::Read(at + kPortId, KCP_VIF_ID_LEN);
    out.vmPortId = FixedText::Read(at + kVmPortId, KCP_VIF_ID_LEN);
    out.vmVifId = FixedText::Read(at + kVmVifId, KCP_VIF_ID_LEN);
    out.vlan = BigEndian::Get16(at + kVlan);
    std::copy_n(at + kMac, out.mac.size(), out.mac.begin());
    for (size_t offset = kRecords.head; offset + kEntrySize <= record.size();
         offset += kEntrySize) {
        KcpContainerEntry entry;
        KcpAddressField::Read(at + offset, entry.ipv4, entry.ip);
        std::copy_n(at + offset + kEntryMac, entry.mac.size(), entry.mac.begin());
        out.entries.push_back(entry);
    }
}

}  // namespace CfgAgent
