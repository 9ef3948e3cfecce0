#include "zef/net/FrameReader.h"

namespace zef::net {

FrameReader::Status FrameReader::Next(std::string& frame) {
    if (_broken) {
        return Status::TooLarge;
    }
    if (_buffer.size() - _offset < 4) {
        return Status::NeedMore;
    }
    const auto* head = reinterpret_cast<const uint8_t*>(_buffer.data() + _offset);
    const uint32_t length = (uint32_t{head[0]} << 24) | (uint32_t{head[1]} << 16) |
                            (uint32_t{head[2]} << 8) | uint32_t{head[3]};
    if (length > _maxFrame) {
        _broken = true;
        return Status::TooLarge;
    }
    if (_buffer.size() - _offset - 4 < length) {
        return Status::NeedMore;
    }
    frame.assign(_buffer, _offset + 4, length);
    _offset += 4 + length;
    // Compact once the consumed prefix dominates, so appends stay cheap.
    if (_offset > 65536 && _offset * 2 > _buffer.size()) {
        _buffer.erase(0, _offset);
        _offset = 0;
    }
    return Status::Frame;
}

std::string FrameReader::Encode(std::string_view body) {
    const auto length = static_cast<uint32_t>(body.size());
    std::string out;
    out.reserve(4 + body.size());
    out.push_back(static_cast<char>(length >> 24));
    out.push_back(static_cast<char>(length >> 16));
    out.push_back(static_cast<char>(length >> 8));
    out.push_back(static_cast<char>(length));
    out.append(body);
    return out;
}

}  // namespace zef::net
