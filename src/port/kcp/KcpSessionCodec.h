#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "port/kcp/KcpSessionControl.h"

namespace CfgAgent {

class KcpSessionCodec {
public:
    static constexpr size_t kMessageLength = 15;
    static constexpr size_t kDataLength = 11;

    // The 15-byte message; the max message length is set for Session Open
    // only, as the kernel expects zero in the others.
    static std::vector<uint8_t> Build(uint8_t controlType, uint32_t sessionId);
    // False unless the bytes hold a Session control message whose one data
    // TLV is a whole VIF Session control.
    static bool Read(std::span<const uint8_t> bytes, KcpSessionControl& control);
    // "Session Open", "Session Open ACK", "Session Full Sync End",
    // "Session Close"; null for any other control type.
    static const char* ControlName(uint8_t controlType);
};

}  // namespace CfgAgent
