#include "port/kcp/KcpMessage.h"

#include "port/kcp/KcpTypes.h"

namespace CfgAgent {

const char* KcpMessage::TypeName(uint16_t type) {
    switch (type) {
        case KCP_MSG_INIT:
            return "Init";
        case KCP_MSG_UPDATE:
            return "Update";
        case KCP_MSG_NOTIFICATION:
            return "Notification";
        case KCP_MSG_QUERY:
            return "Query";
        case KCP_MSG_SESSION_CONTROL:
            return "Session control";
        default:
            return nullptr;
    }
}

namespace {

std::span<const uint8_t> Proper(std::span<const uint8_t> bytes, const Tlv& header) {
    return bytes.first(header.Length());
}

}  // namespace

std::optional<Tlv> KcpMessage::Header(std::span<const uint8_t> bytes) {
    return Tlv::At(bytes, 0);
}

bool KcpMessage::HasType(std::span<const uint8_t> bytes, uint16_t type) {
    auto header = Header(bytes);
    return header && header->Type() == type;
}

std::optional<Tlv> KcpMessage::FirstData(std::span<const uint8_t> bytes) {
    auto header = Header(bytes);
    if (!header) {
        return std::nullopt;
    }
    const size_t offset = header->Type() == KCP_MSG_UPDATE ? kUpdateDataOffset : kDataOffset;
    return Tlv::At(Proper(bytes, *header), offset);
}

std::optional<Tlv> KcpMessage::NextData(std::span<const uint8_t> bytes, const Tlv& data) {
    auto header = Header(bytes);
    if (!header) {
        return std::nullopt;
    }
    return data.Next(Proper(bytes, *header));
}

bool KcpMessage::More(std::span<const uint8_t> bytes) {
    auto header = Header(bytes);
    return header && header->Length() > kUpdateFlagOffset &&
           (bytes[kUpdateFlagOffset] & KCP_UPDATE_MORE) != 0;
}

void KcpMessage::SetMore(std::span<uint8_t> message, bool more) {
    if (message.size() > kUpdateFlagOffset) {
        message[kUpdateFlagOffset] = more ? KCP_UPDATE_MORE : 0;
    }
}

bool KcpMessage::Allocate(std::vector<uint8_t>& message, uint16_t type, size_t length) {
    if (length < Tlv::kHeaderSize || length > Tlv::kMaxLength) {
        return false;
    }
    message.assign(length, 0);
    return Tlv::WriteHeader(message.data(), type, length);
}

}  // namespace CfgAgent
