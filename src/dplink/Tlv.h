#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace CfgAgent {

// One type-length-value element as the kernel formats frame it: a 16-bit
// type, then a 16-bit length that counts these 4 header bytes, both
// big-endian, then the value. A view: it points into the bytes it was found in.
class Tlv {
public:
    static constexpr size_t kHeaderSize = 4;
    static constexpr size_t kMaxLength = 0xFFFF;

    // The element at `offset` of `row`, or nothing when its header does not fit
    // in what remains, its length cannot even hold the header, or it claims
    // more than remains. Any of these ends a walk over the row.
    static std::optional<Tlv> At(std::span<const uint8_t> row, size_t offset);
    // The element that follows this one in the same row; nothing at its end.
    std::optional<Tlv> Next(std::span<const uint8_t> row) const;

    // Writes the header only; false when `length` does not fit 16 bits or
    // cannot hold the header.
    static bool WriteHeader(uint8_t* at, uint16_t type, size_t length);

    uint16_t Type() const { return _type; }
    uint16_t Length() const { return static_cast<uint16_t>(_value.size() + kHeaderSize); }
    size_t ValueLength() const { return _value.size(); }
    std::span<const uint8_t> Value() const { return _value; }
    // Where the element starts in its row, and where the next one would.
    size_t End() const { return _offset + kHeaderSize + _value.size(); }

private:
    Tlv(uint16_t type, size_t offset, std::span<const uint8_t> value)
        : _type(type), _offset(offset), _value(value) {}

    uint16_t _type;
    size_t _offset;
    std::span<const uint8_t> _value;
};

}  // namespace CfgAgent
