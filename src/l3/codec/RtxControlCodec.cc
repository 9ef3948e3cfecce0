#include "l3/codec/RtxControlCodec.h"

#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"
#include "dplink/Tlv.h"

namespace CfgAgent {

namespace {

constexpr uint8_t kSoftFlush = 1;

std::vector<uint8_t> Zeroed(uint16_t type, size_t length) {
    std::vector<uint8_t> message(length, 0);
    Tlv::WriteHeader(message.data(), type, length);
    return message;
}

// Empty when `bytes` is one whole message of `type` and `length` bytes.
std::string Expect(std::span<const uint8_t> bytes, uint16_t type, size_t length) {
    if (bytes.size() < Tlv::kHeaderSize) {
        return "shorter than a header";
    }
    if (BigEndian::Get16(bytes.data()) != type) {
        return "type " + std::to_string(BigEndian::Get16(bytes.data())) + ", not " + std::to_string(type);
    }
    if (BigEndian::Get16(bytes.data() + 2) != bytes.size()) {
        return "length field " + std::to_string(BigEndian::Get16(bytes.data() + 2)) + " on " +
               std::to_string(bytes.size()) + " bytes";
    }
    if (bytes.size() != length) {
        return "length " + std::to_string(bytes.size()) + ", not " + std::to_string(length);
    }
    return {};
}

}  // namespace

std::vector<uint8_t> RtxControlCodec::BuildInstanceList(const RtxInstance& instance) {
    std::vector<uint8_t> message = Zeroed(RTX_MSG_INSTANCE_LIST, kInstanceListLength);
    uint8_t* at = message.data();
    BigEndian::Put16(at + 4, instance.operation);
    BigEndian::Put16(at + 6, kInstanceEntrySize);
    BigEndian::Put32(at + 8, instance.rtxId);
    FixedText::Write(at + 12, RTX_NAME_LEN, instance.name);
    if (instance.operation != RTX_INSTANCE_DELETE) {
        at[76] = instance.dadMode;
        BigEndian::Put32(at + 77, instance.waitTime);
        BigEndian::Put32(at + 81, instance.maxRetries);
    }
    return message;
}

std::string RtxControlCodec::ReadInstanceList(std::span<const uint8_t> bytes, RtxInstance& instance) {
    std::string reason = Expect(bytes, RTX_MSG_INSTANCE_LIST, kInstanceListLength);
    if (!reason.empty()) {
        return reason;
    }
    const uint8_t* at = bytes.data();
    if (BigEndian::Get16(at + 6) != kInstanceEntrySize) {
        return "entry size " + std::to_string(BigEndian::Get16(at + 6)) + ", not 77";
    }
    instance.operation = BigEndian::Get16(at + 4);
    if (instance.operation != RTX_INSTANCE_ADD && instance.operation != RTX_INSTANCE_DELETE) {
        return "operation " + std::to_string(instance.operation);
    }
    instance.rtxId = BigEndian::Get32(at + 8);
    instance.name = FixedText::Read(at + 12, RTX_NAME_LEN);
    instance.dadMode = at[76];
    instance.waitTime = BigEndian::Get32(at + 77);
    instance.maxRetries = BigEndian::Get32(at + 81);
    return {};
}

std::vector<uint8_t> RtxControlCodec::BuildFlush(uint32_t rtxId, uint8_t command) {
    std::vector<uint8_t> message = Zeroed(RTX_MSG_FLUSH, kFlushLength);
    Tlv::WriteHeader(message.data() + 4, RTX_ENTRY_FLUSH, kFlushLength - 4);
    BigEndian::Put32(message.data() + 8, rtxId);
    message[12] = command;
    message[13] = kSoftFlush;
    return message;
}

std::string RtxControlCodec::ReadFlush(std::span<const uint8_t> bytes, uint32_t& rtxId, uint8_t& command,
                                       uint8_t& flushType) {
    std::string reason = Expect(bytes, RTX_MSG_FLUSH, kFlushLength);
    if (!reason.empty()) {
        return reason;
    }
    if (BigEndian::Get16(bytes.data() + 4) != RTX_ENTRY_FLUSH || BigEndian::Get16(bytes.data() + 6) != 10) {
        return "not one flush entry of 10 bytes";
    }
    rtxId = BigEndian::Get32(bytes.data() + 8);
    command = bytes[12];
    flushType = bytes[13];
    return {};
}

std::vector<uint8_t> RtxControlCodec::BuildMarker(uint16_t type, uint8_t phase) {
    std::vector<uint8_t> message = Zeroed(type, kMarkerLength);
    message[4] = phase;
    return message;
}

std::string RtxControlCodec::ReadMarker(std::span<const uint8_t> bytes, uint16_t& type, uint8_t& phase) {
    type = bytes.size() >= 2 ? BigEndian::Get16(bytes.data()) : 0;
    if (type != RTX_MSG_INSTANCE_MARKER && type != RTX_MSG_BRIDGE_MARKER) {
        return "type " + std::to_string(type) + " is no marker";
    }
    std::string reason = Expect(bytes, type, kMarkerLength);
    if (!reason.empty()) {
        return reason;
    }
    phase = bytes[4];
    return phase <= 1 ? std::string() : "phase " + std::to_string(phase);
}

std::vector<uint8_t> RtxControlCodec::BuildFullSyncEnd() { return Zeroed(RTX_MSG_FULL_SYNC_END, Tlv::kHeaderSize); }

std::vector<uint8_t> RtxControlCodec::BuildEndMarker(uint16_t entryType) {
    std::vector<uint8_t> message = Zeroed(RTX_MSG_UPDATE, kEndMarkerLength);
    Tlv::WriteHeader(message.data() + 4, entryType, kEndMarkerLength - 4);
    return message;
}

bool RtxControlCodec::IsEndMarker(std::span<const uint8_t> bytes, uint16_t& entryType) {
    if (!Expect(bytes, RTX_MSG_UPDATE, kEndMarkerLength).empty() || BigEndian::Get16(bytes.data() + 6) != 12) {
        return false;
    }
    entryType = BigEndian::Get16(bytes.data() + 4);
    for (size_t i = 8; i < kEndMarkerLength; ++i) {
        if (bytes[i] != 0) {
            return false;
        }
    }
    return entryType == RTX_ENTRY_LIF || entryType == RTX_ENTRY_ROUTE;
}

}  // namespace CfgAgent
