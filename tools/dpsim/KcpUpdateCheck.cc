#include "KcpUpdateCheck.h"

#include "dplink/FixedText.h"
#include "port/kcp/KcpContainerUpdateCodec.h"
#include "port/kcp/KcpHdsUpdateCodec.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpRecordRow.h"
#include "port/kcp/KcpTypes.h"
#include "dplink/Tlv.h"

namespace Dpsim {

using namespace CfgAgent;

namespace {

bool ValidOperation(uint8_t operation) {
    return operation >= KCP_OP_UPDATE && operation <= KCP_OP_FULL_SYNC;
}

std::string Trailing(size_t end, size_t size, const char* what) {
    return std::to_string(size - end) + " bytes after the last " + what;
}

// Property TLVs must fill the rest of their record exactly.
std::string CheckProperties(std::span<const uint8_t> row) {
    size_t end = 0;
    for (auto tlv = Tlv::At(row, 0); tlv; tlv = tlv->Next(row)) {
        end = tlv->End();
    }
    return end == row.size() ? std::string() : Trailing(end, row.size(), "property TLV");
}

// Walks the records of `layout`, asking `check` about each, and wants the
// last one to end where the value does.
template <typename CheckRecord>
std::string CheckRecords(std::span<const uint8_t> value, const KcpRecordRow::Layout& layout,
                         CheckRecord check) {
    KcpRecordRow row(value, layout);
    size_t end = layout.start;
    size_t index = 0;
    for (auto record = row.First(); record; record = row.Next(*record), ++index) {
        std::string error = check(record->bytes);
        if (!error.empty()) {
            return "record " + std::to_string(index) + ": " + error;
        }
        end = record->offset + record->bytes.size();
    }
    return end == value.size() ? std::string() : Trailing(end, value.size(), "record");
}

std::string CheckId(const uint8_t* field, size_t width) {
    return FixedText::Read(field, width).empty() ? "empty ID" : std::string();
}

std::string CheckPropertyRecords(const KcpRecordRow::Layout& layout,
                                 std::span<const uint8_t> value) {
    if (value.empty() || !ValidOperation(value[0])) {
        return value.empty() ? "no operation byte"
                             : "invalid operation " + std::to_string(value[0]);
    }
    return CheckRecords(value, layout, [&](std::span<const uint8_t> record) {
        std::string error = CheckId(record.data(), layout.field);
        return error.empty() ? CheckProperties(record.subspan(layout.head)) : error;
    });
}

std::string CheckHdsRecords(std::span<const uint8_t> value) {
    const auto& layout = KcpHdsUpdateCodec::kRecords;
    if (value.empty()) {
        return "no HDS record";
    }
    return CheckRecords(value, layout, [&](std::span<const uint8_t> record) {
        if (!ValidOperation(record[KCP_HDS_ID_LEN])) {
            return "invalid operation " + std::to_string(record[KCP_HDS_ID_LEN]);
        }
        return CheckProperties(record.subspan(layout.head));
    });
}

std::string CheckIdList(size_t width, std::span<const uint8_t> value) {
    if (value.size() % width != 0) {
        return "a row of " + std::to_string(value.size()) + " bytes is no whole number of " +
               std::to_string(width) + "-byte IDs";
    }
    for (size_t at = 0; at < value.size(); at += width) {
        if (!CheckId(value.data() + at, width).empty()) {
            return "empty ID at " + std::to_string(at / width);
        }
    }
    return {};
}

std::string CheckPortContainerList(std::span<const uint8_t> value) {
    if (value.size() < KCP_VIF_ID_LEN) {
        return "no room for the port's VIF ID";
    }
    std::string error = CheckId(value.data(), KCP_VIF_ID_LEN);
    return error.empty() ? CheckIdList(KCP_VIF_ID_LEN, value.subspan(KCP_VIF_ID_LEN)) : error;
}

std::string CheckContainers(std::span<const uint8_t> value) {
    if (value.empty()) {
        return "no container record";
    }
    return CheckRecords(
        value, KcpContainerUpdateCodec::kRecords,
        [](std::span<const uint8_t> record) { return CheckId(record.data(), KCP_VIF_ID_LEN); });
}

}  // namespace

std::string KcpUpdateCheck::Check(uint16_t dataType, std::span<const uint8_t> value) {
    switch (dataType) {
        case KCP_VIF_UPDATE:
            return "VIF Update is sent by the kernel only";
        case KCP_UPLINK_UPDATE:
            return "Uplink Update is sent by the kernel only";
        case KCP_PORT_PROPERTY_UPDATE:
        case KCP_TAKNIC_PROPERTY_UPDATE:
            return CheckPropertyRecords(*KcpPropertyUpdateCodec::Records(dataType), value);
        case KCP_HDS_PROPERTY_UPDATE:
            return CheckHdsRecords(value);
        case KCP_CONTAINER_UPDATE:
            return CheckContainers(value);
        case KCP_PORT_CONTAINER_LIST_UPDATE:
            return CheckPortContainerList(value);
        default:
            break;
    }
    if (auto width = KcpIdListCodec::Width(dataType)) {
        return CheckIdList(*width, value);
    }
    return "unknown update data type " + std::to_string(dataType);
}

}  // namespace Dpsim
