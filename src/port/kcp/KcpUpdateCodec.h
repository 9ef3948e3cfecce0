#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "port/kcp/KcpUpdate.h"

namespace CfgAgent {

// The Update message: a flag byte and a row of data TLVs. The codecs of the
// data types build on Begin and read the values that Read hands out.
class KcpUpdateCodec {
public:
    // Message head, flag byte and data TLV head.
    static constexpr size_t kValueOffset = 9;

    // A zeroed Update of exactly the size that one data TLV of `valueSize`
    // bytes needs, headers and flag written; the value begins at kValueOffset.
    // False when the message would pass 65535 bytes.
    static bool Begin(std::vector<uint8_t>& message, uint16_t dataType, size_t valueSize,
                      bool more);
    static bool Build(const KcpUpdate& update, std::vector<uint8_t>& message);
    // False unless the bytes hold an Update message.
    static bool Read(std::span<const uint8_t> bytes, KcpUpdate& update);
};

}  // namespace CfgAgent
