#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace PortTest {

using Bytes = std::vector<uint8_t>;

// Writes expected wire bytes field by field, in the order of the layout
// tables, so that a vector reads like the table it comes from.
class Wire {
public:
    Wire& U8(uint8_t value) {
        _bytes.push_back(value);
        return *this;
    }
    Wire& U16(uint16_t value) { return U8(static_cast<uint8_t>(value >> 8)).U8(value & 0xff); }
    Wire& U32(uint32_t value) {
        return U16(static_cast<uint16_t>(value >> 16)).U16(value & 0xffff);
    }
    // The text's bytes, then NUL up to the width; the text is given short
    // enough by the case itself.
    Wire& Text(std::string_view text, size_t width) {
        _bytes.insert(_bytes.end(), text.begin(), text.end());
        return Zeros(width - text.size());
    }
    Wire& Raw(std::span<const uint8_t> bytes) {
        _bytes.insert(_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    Wire& Zeros(size_t count) {
        _bytes.insert(_bytes.end(), count, 0);
        return *this;
    }
    // A TLV header whose length counts `valueSize` bytes still to come.
    Wire& Tlv(uint16_t type, size_t valueSize) {
        return U16(type).U16(static_cast<uint16_t>(valueSize + 4));
    }
    Bytes Take() { return std::move(_bytes); }
    size_t Size() const { return _bytes.size(); }

private:
    Bytes _bytes;
};

// An Update message around one data TLV value.
inline Bytes UpdateAround(uint16_t dataType, const Bytes& value, uint8_t flag = 0) {
    return Wire()
        .U16(2)
        .U16(static_cast<uint16_t>(value.size() + 9))
        .U8(flag)
        .Tlv(dataType, value.size())
        .Raw(value)
        .Take();
}

inline std::span<const uint8_t> ValueOf(const Bytes& update) {
    return std::span<const uint8_t>(update).subspan(9);
}

}  // namespace PortTest
