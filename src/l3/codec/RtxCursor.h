#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"

namespace CfgAgent {

// Reads the fields of a variable record in their order; once a read would
// pass the end, every read fails and nothing past the end is touched.
class RtxCursor {
public:
    explicit RtxCursor(std::span<const uint8_t> bytes, size_t at = 0) : _bytes(bytes), _at(at) {}

    bool U8(uint8_t& value) { return Take(1, [&](const uint8_t* at) { value = *at; }); }
    bool U16(uint16_t& value) { return Take(2, [&](const uint8_t* at) { value = BigEndian::Get16(at); }); }
    bool U32(uint32_t& value) { return Take(4, [&](const uint8_t* at) { value = BigEndian::Get32(at); }); }
    bool Raw(uint8_t* out, size_t count) {
        return Take(count, [&](const uint8_t* at) { std::copy_n(at, count, out); });
    }
    bool Text(std::string& text, size_t width) {
        return Take(width, [&](const uint8_t* at) { text = FixedText::Read(at, width); });
    }
    bool Skip(size_t count) {
        return Take(count, [](const uint8_t*) {});
    }
    bool AtEnd() const { return _ok && _at == _bytes.size(); }
    bool Ok() const { return _ok; }

private:
    template <typename Read>
    bool Take(size_t count, Read read) {
        if (!_ok || count > _bytes.size() - _at) {
            _ok = false;
            return false;
        }
        read(_bytes.data() + _at);
        _at += count;
        return true;
    }

    std::span<const uint8_t> _bytes;
    size_t _at;
    bool _ok = true;
};

}  // namespace CfgAgent
