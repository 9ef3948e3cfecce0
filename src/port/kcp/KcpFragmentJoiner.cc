#include "port/kcp/KcpFragmentJoiner.h"

#include <algorithm>
#include <optional>
#include <span>

#include "dplink/BigEndian.h"
#include "port/kcp/KcpMessage.h"
#include "dplink/Tlv.h"

namespace CfgAgent {

namespace {

constexpr size_t kDataTlv = KcpMessage::kUpdateDataOffset;
// The VIF record starts behind the data TLV head and the operation byte; its
// length field sits 211 bytes in.
constexpr size_t kRecord = kDataTlv + Tlv::kHeaderSize + 1;
constexpr size_t kRecordLength = kRecord + 211;

std::optional<Tlv> FirstProperty(std::span<const uint8_t> part) {
    if (part.size() < KcpFragmentJoiner::kHeadSize) {
        return std::nullopt;
    }
    return Tlv::At(part, KcpFragmentJoiner::kHeadSize);
}

}  // namespace

bool KcpFragmentJoiner::CanBePart(std::span<const uint8_t> message) {
    return FirstProperty(message).has_value();
}

bool KcpFragmentJoiner::SameRecord(std::span<const uint8_t> part, std::span<const uint8_t> other) {
    // The record head up to its length field; the length differs with the slice.
    return part.size() >= kRecordLength && other.size() >= kRecordLength &&
           std::equal(part.begin() + kRecord, part.begin() + kRecordLength, other.begin() + kRecord);
}

KcpFragmentJoiner::Message KcpFragmentJoiner::Join(const std::vector<Message>& parts) {
    if (parts.empty()) {
        return {};
    }
    std::vector<Tlv> properties;
    size_t total = kHeadSize + Tlv::kHeaderSize;
    for (const Message& part : parts) {
        std::optional<Tlv> property = FirstProperty(part);
        if (!property) {
            return {};
        }
        total += property->ValueLength();
        if (total > kMaxJoined) {
            return {};
        }
        properties.push_back(*property);
    }
    Message joined(parts.front().begin(), parts.front().begin() + kHeadSize);
    joined.resize(total);
    Tlv::WriteHeader(joined.data() + kHeadSize, properties.front().Type(),
                     total - kHeadSize);
    uint8_t* at = joined.data() + kHeadSize + Tlv::kHeaderSize;
    for (const Tlv& property : properties) {
        std::span<const uint8_t> value = property.Value();
        at = std::copy(value.begin(), value.end(), at);
    }
    BigEndian::Put16(joined.data() + 2, static_cast<uint16_t>(total));
    joined[KcpMessage::kUpdateFlagOffset] = 0;
    BigEndian::Put16(joined.data() + kDataTlv + 2, static_cast<uint16_t>(total - kDataTlv));
    BigEndian::Put16(joined.data() + kRecordLength, static_cast<uint16_t>(total - kRecord));
    return joined;
}

}  // namespace CfgAgent
