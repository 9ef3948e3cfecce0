#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "dplink/Tlv.h"

namespace CfgAgent {

// The Update message: a row of data TLVs from offset 4, each built and read
// by the codec of its data type.
class VxlanUpdateCodec {
public:
    // One message around the whole row; false past 65535 bytes.
    static bool Build(const std::vector<std::vector<uint8_t>>& row, std::vector<uint8_t>& message);
    // The row cut into as few messages as keep each within `maxLength`, the
    // TLVs in order and none split. False when one TLV alone does not fit.
    static bool Pack(const std::vector<std::vector<uint8_t>>& row, size_t maxLength,
                     std::vector<std::vector<uint8_t>>& messages);
    // Strict about the frame: the data TLVs of a whole Update whose row ends
    // exactly at its end. The TLVs before a fault are kept. Their values are
    // left to the data codecs.
    static std::string Read(std::span<const uint8_t> bytes, std::vector<Tlv>& row);
};

}  // namespace CfgAgent
