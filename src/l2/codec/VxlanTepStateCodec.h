#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "l2/codec/VxlanTepState.h"

namespace CfgAgent {

// The TEP state message: one data TLV at offset 4 whose value is at least
// 106 bytes: switch name, taknic name, action, taknic state, IPv6 flag.
class VxlanTepStateCodec {
public:
    static constexpr size_t kValueSize = 106;
    static constexpr size_t kMessageLength = 4 + 4 + kValueSize;

    static std::vector<uint8_t> Build(const VxlanTepState& state);
    // A whole message holding one known data type; the value may run longer.
    static std::string Read(std::span<const uint8_t> bytes, VxlanTepState& state);
};

}  // namespace CfgAgent
