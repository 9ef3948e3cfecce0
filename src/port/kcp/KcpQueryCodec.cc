#include "port/kcp/KcpQueryCodec.h"

#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpTypes.h"

namespace CfgAgent {

std::vector<uint8_t> KcpQueryCodec::BuildStatusQuery() {
    std::vector<uint8_t> message;
    Build({KCP_QUERY_DP_STATUS}, message);
    return message;
}

bool KcpQueryCodec::Build(const std::vector<uint16_t>& dataTypes, std::vector<uint8_t>& message) {
    if (!KcpMessage::Allocate(message, KCP_MSG_QUERY,
                              KcpMessage::kDataOffset + Tlv::kHeaderSize * dataTypes.size())) {
        return false;
    }
    uint8_t* at = message.data() + KcpMessage::kDataOffset;
    for (uint16_t type : dataTypes) {
        Tlv::WriteHeader(at, type, Tlv::kHeaderSize);
        at += Tlv::kHeaderSize;
    }
    return true;
}

bool KcpQueryCodec::Read(std::span<const uint8_t> bytes, std::vector<uint16_t>& dataTypes) {
    if (!KcpMessage::HasType(bytes, KCP_MSG_QUERY)) {
        return false;
    }
    dataTypes.clear();
    for (auto data = KcpMessage::FirstData(bytes); data;
         data = KcpMessage::NextData(bytes, *data)) {
        dataTypes.push_back(data->Type());
    }
    return true;
}

}  // namespace CfgAgent
