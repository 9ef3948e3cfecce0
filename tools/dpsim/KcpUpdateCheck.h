#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace Dpsim {

// Whether one data TLV of an agent's Update is one the kernel would take.
// The agent's codecs read leniently and stop at the first fault; the kernel
// is strict, so every byte must belong to a record or property.
class KcpUpdateCheck {
public:
    // Empty when the value is acceptable; otherwise why not.
    static std::string Check(uint16_t dataType, std::span<const uint8_t> value);
};

}  // namespace Dpsim
