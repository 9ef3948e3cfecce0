#include "port/kcp/KcpSessionCodec.h"

#include "dplink/BigEndian.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kControlType = 0;
constexpr size_t kSessionId = 1;
constexpr size_t kMaxMessageLength = 5;

}  // namespace

std::vector<uint8_t> KcpSessionCodec::Build(uint8_t controlType, uint32_t sessionId) {
    std::vector<uint8_t> message;
    KcpMessage::Allocate(message, KCP_MSG_SESSION_CONTROL, kMessageLength);
    uint8_t* data = message.data() + KcpMessage::kDataOffset;
    Tlv::WriteHeader(data, KCP_VIF_SESSION_CONTROL, kDataLength);
    uint8_t* value = data + Tlv::kHeaderSize;
    value[kControlType] = controlType;
    BigEndian::Put32(value + kSessionId, sessionId);
    BigEndian::Put16(value + kMaxMessageLength,
                     controlType == KCP_SESSION_OPEN ? KCP_SESSION_MAX_MSG_LEN : 0);
    return message;
}

bool KcpSessionCodec::Read(std::span<const uint8_t> bytes, KcpSessionControl& control) {
    if (!KcpMessage::HasType(bytes, KCP_MSG_SESSION_CONTROL)) {
        return false;
    }
    auto data = KcpMessage::FirstData(bytes);
    if (!data || data->Type() != KCP_VIF_SESSION_CONTROL || data->Length() < kDataLength) {
        return false;
    }
    const uint8_t* value = data->Value().data();
    control.controlType = value[kControlType];
    control.sessionId = BigEndian::Get32(value + kSessionId);
    control.maxMessageLength = BigEndian::Get16(value + kMaxMessageLength);
    return true;
}

const char* KcpSessionCodec::ControlName(uint8_t controlType) {
    switch (controlType) {
        case KCP_SESSION_OPEN:
            return "Session Open";
        case KCP_SESSION_OPEN_ACK:
            return "Session Open ACK";
        case KCP_SESSION_FULL_SYNC_END:
            return "Session Full Sync End";
        case KCP_SESSION_CLOSE:
            return "Session Close";
        default:
            return nullptr;
    }
}

}  // namespace CfgAgent
