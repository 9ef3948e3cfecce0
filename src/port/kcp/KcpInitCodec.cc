#include "port/kcp/KcpInitCodec.h"

#include "dplink/BigEndian.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kMaxLengthTlv = Tlv::kHeaderSize + 2;

}  // namespace

bool KcpInitCodec::Build(const KcpInit& init, std::vector<uint8_t>& message) {
    const size_t length = KcpMessage::kDataOffset + (init.maxMessageLength ? kMaxLengthTlv : 0);
    if (!KcpMessage::Allocate(message, KCP_MSG_INIT, length)) {
        return false;
    }
    if (init.maxMessageLength) {
        uint8_t* data = message.data() + KcpMessage::kDataOffset;
        Tlv::WriteHeader(data, KCP_INIT_MAX_MSG_LEN, kMaxLengthTlv);
        BigEndian::Put16(data + Tlv::kHeaderSize, *init.maxMessageLength);
    }
    return true;
}

bool KcpInitCodec::Read(std::span<const uint8_t> bytes, KcpInit& init) {
    if (!KcpMessage::HasType(bytes, KCP_MSG_INIT)) {
        return false;
    }
    init = KcpInit{};
    for (auto data = KcpMessage::FirstData(bytes); data;
         data = KcpMessage::NextData(bytes, *data)) {
        if (data->Type() != KCP_INIT_MAX_MSG_LEN) {
            continue;
        }
        if (data->ValueLength() < 2) {
            break;
        }
        init.maxMessageLength = BigEndian::Get16(data->Value().data());
    }
    return true;
}

}  // namespace CfgAgent
