#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace CfgAgent {

using MacBytes = std::array<uint8_t, 6>;

// The store keeps a MAC as a 48-bit number, the first byte highest.
inline uint64_t MacToNumber(const MacBytes& mac) {
    uint64_t number = 0;
    for (uint8_t byte : mac) {
        number = (number << 8) | byte;
    }
    return number;
}

inline MacBytes MacFromNumber(uint64_t number) {
    MacBytes mac{};
    for (size_t i = mac.size(); i-- > 0; number >>= 8) {
        mac[i] = static_cast<uint8_t>(number);
    }
    return mac;
}

}  // namespace CfgAgent
