#include "port/kcp/KcpHdsUpdateCodec.h"

#include <utility>

#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "dplink/Tlv.h"

namespace CfgAgent {

namespace {

constexpr size_t kOperation = KCP_HDS_ID_LEN;

}  // namespace

bool KcpHdsUpdateCodec::BuildMessage(const std::vector<KcpHdsRecord>& records, bool more,
                                     std::vector<uint8_t>& message) {
    std::vector<size_t> recordSizes;
    size_t valueSize = 0;
    for (const KcpHdsRecord& record : records) {
        size_t size = 0;
        if (!KcpPropertyUpdateCodec::PropertiesSize(record.properties, size) ||
            kRecords.head + size > Tlv::kMaxLength) {
            return false;
        }
        recordSizes.push_back(kRecords.head + size);
        valueSize += kRecords.head + size;
    }
    if (!KcpUpdateCodec::Begin(message, KCP_HDS_PROPERTY_UPDATE, valueSize, more)) {
        return false;
    }
    uint8_t* at = message.data() + KcpUpdateCodec::kValueOffset;
    for (size_t i = 0; i < records.size(); ++i) {
        FixedText::Write(at, KCP_HDS_ID_LEN, records[i].hdsId);
        at[kOperation] = records[i].operation;
        BigEndian::Put16(at + kRecords.field, static_cast<uint16_t>(recordSizes[i]));
        KcpPropertyUpdateCodec::WriteProperties(records[i].properties, at + kRecords.head);
        at += recordSizes[i];
    }
    return true;
}

bool KcpHdsUpdateCodec::Decode(std::span<const uint8_t> value, std::vector<KcpHdsRecord>& records) {
    records.clear();
    KcpRecordRow row(value, kRecords);
    for (auto record = row.First(); record; record = row.Next(*record)) {
        KcpHdsRecord out;
        ReadRecord(record->bytes, out);
        records.push_back(std::move(out));
    }
    return true;
}

void KcpHdsUpdateCodec::ReadRecord(std::span<const uint8_t> record, KcpHdsRecord& out) {
    out.hdsId = FixedText::Read(record.data(), KCP_HDS_ID_LEN);
    out.operation = record[kOperation];
    KcpPropertyUpdateCodec::ReadProperties(record.subspan(kRecords.head), out.properties);
}

}  // namespace CfgAgent
