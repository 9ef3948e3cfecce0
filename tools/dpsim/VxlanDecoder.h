#pragma once

#include <cstdint>
#include <span>

#include "DecodedMessage.h"

namespace Dpsim {

// A VXLAN control message for the record: its fields, the codec's dump, and
// why it does not read when it does not.
class VxlanDecoder {
public:
    static DecodedMessage Decode(std::span<const uint8_t> message);
};

}  // namespace Dpsim
