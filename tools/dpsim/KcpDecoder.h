#pragma once

#include <cstdint>
#include <span>

#include "DecodedMessage.h"

namespace Dpsim {

class KcpDecoder {
public:
    static DecodedMessage Decode(std::span<const uint8_t> message);
};

}  // namespace Dpsim
