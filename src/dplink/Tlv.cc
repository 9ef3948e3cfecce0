#include "dplink/Tlv.h"

#include "dplink/BigEndian.h"

namespace CfgAgent {

std::optional<Tlv> Tlv::At(std::span<const uint8_t> row, size_t offset) {
    if (offset >= row.size() || row.size() - offset < kHeaderSize) {
        return std::nullopt;
    }
    const uint8_t* head = row.data() + offset;
    const size_t length = BigEndian::Get16(head + 2);
    // A length below the header would make the walk stand still or go back.
    if (length < kHeaderSize || length > row.size() - offset) {
        return std::nullopt;
    }
    return Tlv(BigEndian::Get16(head), offset,
               row.subspan(offset + kHeaderSize, length - kHeaderSize));
}

std::optional<Tlv> Tlv::Next(std::span<const uint8_t> row) const {
    return At(row, End());
}

bool Tlv::WriteHeader(uint8_t* at, uint16_t type, size_t length) {
    if (length < kHeaderSize || length > kMaxLength) {
        return false;
    }
    BigEndian::Put16(at, type);
    BigEndian::Put16(at + 2, static_cast<uint16_t>(length));
    return true;
}

}  // namespace CfgAgent
