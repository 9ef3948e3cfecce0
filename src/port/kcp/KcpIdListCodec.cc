#include "port/kcp/KcpIdListCodec.h"

#include "dplink/FixedText.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"

namespace CfgAgent {

std::optional<size_t> KcpIdListCodec::Width(uint16_t dataType) {
    switch (dataType) {
        case KCP_PORT_LIST_UPDATE:
        case KCP_CONTAINER_LIST_UPDATE:
            return KCP_VIF_ID_LEN;
        case KCP_TAKNIC_LIST_UPDATE:
            return KCP_TAKNIC_NAME_LEN;
        case KCP_HDS_LIST_UPDATE:
            return KCP_HDS_ID_LEN;
        default:
            return std::nullopt;
    }
}

std::optional<KcpRecordRow::Layout> KcpIdListCodec::Records(uint16_t dataType) {
    auto width = Width(dataType);
    if (!width) {
        return std::nullopt;
    }
    return KcpRecordRow::Layout{0, *width, KcpRecordRow::Sizing::kFixed};
}

bool KcpIdListCodec::BuildMessage(uint16_t dataType, const std::vector<std::string>& ids, bool more,
                                  std::vector<uint8_t>& message) {
    auto width = Width(dataType);
    if (!width || !KcpUpdateCodec::Begin(message, dataType, *width * ids.size(), more)) {
        return false;
    }
    uint8_t* at = message.data() + KcpUpdateCodec::kValueOffset;
    for (const std::string& id : ids) {
        FixedText::Write(at, *width, id);
        at += *width;
    }
    return true;
}

bool KcpIdListCodec::Decode(uint16_t dataType, std::span<const uint8_t> value,
                            std::vector<std::string>& ids) {
    auto layout = Records(dataType);
    if (!layout) {
        return false;
    }
    ids.clear();
    KcpRecordRow row(value, *layout);
    for (auto record = row.First(); record; record = row.Next(*record)) {
        ids.push_back(FixedText::Read(record->bytes.data(), layout->head));
    }
    return true;
}

}  // namespace CfgAgent
