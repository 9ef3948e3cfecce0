#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"

namespace CfgAgent {

// Appends the fields of a variable record in their order, big-endian.
class RtxAppender {
public:
    explicit RtxAppender(std::vector<uint8_t>& bytes) : _bytes(bytes) {}

    RtxAppender& U8(uint8_t value) {
        _bytes.push_back(value);
        return *this;
    }
    RtxAppender& U16(uint16_t value) {
        uint8_t at[2];
        BigEndian::Put16(at, value);
        return Raw(at);
    }
    RtxAppender& U32(uint32_t value) {
        uint8_t at[4];
        BigEndian::Put32(at, value);
        return Raw(at);
    }
    RtxAppender& Raw(std::span<const uint8_t> bytes) {
        _bytes.insert(_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    RtxAppender& Text(std::string_view text, size_t width) {
        const size_t at = _bytes.size();
        _bytes.resize(at + width, 0);
        FixedText::Write(_bytes.data() + at, width, text);
        return *this;
    }

private:
    std::vector<uint8_t>& _bytes;
};

}  // namespace CfgAgent
