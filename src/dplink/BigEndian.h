#pragma once

#include <cstdint>

namespace CfgAgent {

// Kernel message numbers are big-endian whatever the host, so they are
// assembled byte by byte rather than cast.
class BigEndian {
public:
    static uint16_t Get16(const uint8_t* at) { return static_cast<uint16_t>((at[0] << 8) | at[1]); }
    static uint32_t Get32(const uint8_t* at) {
        return (uint32_t{at[0]} << 24) | (uint32_t{at[1]} << 16) | (uint32_t{at[2]} << 8) | at[3];
    }
    static void Put16(uint8_t* at, uint16_t value) {
        at[0] = static_cast<uint8_t>(value >> 8);
        at[1] = static_cast<uint8_t>(value);
    }
    static void Put32(uint8_t* at, uint32_t value) {
        at[0] = static_cast<uint8_t>(value >> 24);
        at[1] = static_cast<uint8_t>(value >> 16);
        at[2] = static_cast<uint8_t>(value >> 8);
        at[3] = static_cast<uint8_t>(value);
    }
};

}  // namespace CfgAgent
