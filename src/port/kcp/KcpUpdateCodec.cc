#include "port/kcp/KcpUpdateCodec.h"

#include <algorithm>

#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpTypes.h"

namespace CfgAgent {

bool KcpUpdateCodec::Begin(std::vector<uint8_t>& message, uint16_t dataType, size_t valueSize,
                           bool more) {
    if (valueSize > Tlv::kMaxLength ||
        !KcpMessage::Allocate(message, KCP_MSG_UPDATE, kValueOffset + valueSize)) {
        return false;
    }
    KcpMessage::SetMore(message, more);
    return Tlv::WriteHeader(message.data() + KcpMessage::kUpdateDataOffset, dataType,
                            Tlv::kHeaderSize + valueSize);
}

bool KcpUpdateCodec::Build(const KcpUpdate& update, std::vector<uint8_t>& message) {
    size_t length = KcpMessage::kUpdateDataOffset;
    for (const KcpData& data : update.data) {
        if (data.value.size() > Tlv::kMaxLength - Tlv::kHeaderSize) {
            return false;
        }
        length += Tlv::kHeaderSize + data.value.size();
    }
    if (!KcpMessage::Allocate(message, KCP_MSG_UPDATE, length)) {
        return false;
    }
    KcpMessage::SetMore(message, update.more);
    uint8_t* at = message.data() + KcpMessage::kUpdateDataOffset;
    for (const KcpData& data : update.data) {
        Tlv::WriteHeader(at, data.type, Tlv::kHeaderSize + data.value.size());
        std::copy(data.value.begin(), data.value.end(), at + Tlv::kHeaderSize);
        at += Tlv::kHeaderSize + data.value.size();
    }
    return true;
}

bool KcpUpdateCodec::Read(std::span<const uint8_t> bytes, KcpUpdate& update) {
    if (!KcpMessage::HasType(bytes, KCP_MSG_UPDATE)) {
        return false;
    }
    update.more = KcpMessage::More(bytes);
    update.data.clear();
    for (auto data = KcpMessage::FirstData(bytes); data;
         data = KcpMessage::NextData(bytes, *data)) {
        update.data.push_back(KcpData{data->Type(), {data->Value().begin(), data->Value().end()}});
    }
    return true;
}

}  // namespace CfgAgent
