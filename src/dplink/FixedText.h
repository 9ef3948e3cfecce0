#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace CfgAgent {

// Texts on the kernel wire sit in fixed-width fields padded with NUL.
class FixedText {
public:
    // The field's last byte is always NUL, so a text of full width loses its
    // last character: the kernel relies on the terminator.
    static void Write(uint8_t* field, size_t width, std::string_view text);
    // Up to the first NUL, or the whole field if it has none.
    static std::string Read(const uint8_t* field, size_t width);
};

}  // namespace CfgAgent
