#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zef::net {

// Frames of a byte stream: a 4-byte big-endian length, then that many bytes.
class FrameReader {
public:
    enum class Status { Frame, NeedMore, TooLarge };

    explicit FrameReader(uint32_t maxFrame) : _maxFrame(maxFrame) {}

    void Append(const char* data, size_t size) { _buffer.append(data, size); }
    // The next whole frame's body into `frame`. After TooLarge the stream
    // cannot be resynchronised and the reader stays in that state.
    Status Next(std::string& frame);

    static std::string Encode(std::string_view body);

private:
    uint32_t _maxFrame;
    std::string _buffer;
    size_t _offset = 0;
    bool _broken = false;
};

}  // namespace zef::net
