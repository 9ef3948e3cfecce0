#include "port/kcp/KcpPropertyUpdateCodec.h"

#include <algorithm>
#include <utility>

#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "dplink/Tlv.h"

namespace CfgAgent {

std::optional<KcpRecordRow::Layout> KcpPropertyUpdateCodec::Records(uint16_t dataType) {
    if (dataType == KCP_PORT_PROPERTY_UPDATE) {
        return kPortRecords;
    }
    if (dataType == KCP_TAKNIC_PROPERTY_UPDATE) {
        return kTaknicRecords;
    }
    return std::nullopt;
}

bool KcpPropertyUpdateCodec::BuildMessage(uint16_t dataType, const KcpPropertyUpdate& update,
                                          bool more, std::vector<uint8_t>& message) {
    auto layout = Records(dataType);
    if (!layout) {
        return false;
    }
    std::vector<size_t> recordSizes;
    size_t valueSize = 1;
    for (const KcpPropertyRecord& record : update.records) {
        size_t size = 0;
        if (!PropertiesSize(record.properties, size) || layout->head + size > Tlv::kMaxLength) {
            return false;
        }
        recordSizes.push_back(layout->head + size);
        valueSize += layout->head + size;
    }
    if (!KcpUpdateCodec::Begin(message, dataType, valueSize, more)) {
        return false;
    }
    uint8_t* at = message.data() + KcpUpdateCodec::kValueOffset;
    *at++ = update.operation;
    for (size_t i = 0; i < update.records.size(); ++i) {
        FixedText::Write(at, layout->field, update.records[i].id);
        BigEndian::Put16(at + layout->field, static_cast<uint16_t>(recordSizes[i]));
        WriteProperties(update.records[i].properties, at + layout->head);
        at += recordSizes[i];
    }
    return true;
}

bool KcpPropertyUpdateCodec::Decode(uint16_t dataType, std::span<const uint8_t> value,
                                    KcpPropertyUpdate& update) {
    auto layout = Records(dataType);
    if (!layout || value.empty()) {
        return false;
    }
    update = KcpPropertyUpdate{};
    update.operation = value[0];
    KcpRecordRow row(value, *layout);
    for (auto record = row.First(); record; record = row.Next(*record)) {
        KcpPropertyRecord out;
        ReadRecord(*layout, record->bytes, out);
        update.records.push_back(std::move(out));
    }
    return true;
}

void KcpPropertyUpdateCodec::ReadRecord(const KcpRecordRow::Layout& layout,
                                        std::span<const uint8_t> record, KcpPropertyRecord& out) {
    out.id = FixedText::Read(record.data(), layout.field);
    ReadProperties(record.subspan(layout.head), out.properties);
}

bool KcpPropertyUpdateCodec::PropertiesSize(const std::vector<KcpProperty>& properties,
                                            size_t& size) {
    size = 0;
    for (const KcpProperty& property : properties) {
        if (property.value.size() > Tlv::kMaxLength - Tlv::kHeaderSize) {
            return false;
        }
        size += Tlv::kHeaderSize + property.value.size();
    }
    return true;
}

void KcpPropertyUpdateCodec::WriteProperties(const std::vector<KcpProperty>& properties,
                                             uint8_t* at) {
    for (const KcpProperty& property : properties) {
        Tlv::WriteHeader(at, property.type, Tlv::kHeaderSize + property.value.size());
        std::copy(property.value.begin(), property.value.end(), at + Tlv::kHeaderSize);
        at += Tlv::kHeaderSize + property.value.size();
    }
}

void KcpPropertyUpdateCodec::ReadProperties(std::span<const uint8_t> row,
                                            std::vector<KcpProperty>& properties) {
    for (auto tlv = Tlv::At(row, 0); tlv; tlv = tlv->Next(row)) {
        properties.push_back(KcpProperty{tlv->Type(), {tlv->Value().begin(), tlv->Value().end()}});
    }
}

}  // namespace CfgAgent
