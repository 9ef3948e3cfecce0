#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "JsonPtr.h"

namespace Dpsim {

// What the record keeps of one KCP message. A non-empty error means the
// message is not one the kernel would accept; the fields then hold only what
// could be read before the fault.
struct KcpDecoded {
    std::string type;
    JsonPtr fields;
    std::string error;
};

class KcpDecoder {
public:
    static KcpDecoded Decode(std::span<const uint8_t> message);
};

}  // namespace Dpsim
