#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "dplink/Tlv.h"

namespace CfgAgent {

// The outer shape of every VXLAN control message: a TLV whose type is the
// message type and whose length is the frame length. Unlike KCP there is no
// flag byte: a row, where the type has one, starts at offset 4.
class VxlanMessage {
public:
    static constexpr size_t kRowOffset = 4;

    // The message's name, as the dump prints it; null for a type not in use.
    static const char* TypeName(uint16_t type);
    // The name of an Update data type, as the L2 application logs it; null otherwise.
    static const char* DataTypeName(uint16_t type);

    // Nothing when the bytes cannot hold the header or the length it claims.
    static std::optional<Tlv> Header(std::span<const uint8_t> bytes);
    // A message whose header holds, whose type is `type`, and whose length is
    // exactly the bytes given: a reader on a link gets whole frames only.
    // Empty when so; otherwise why not.
    static std::string Expect(std::span<const uint8_t> bytes, uint16_t type);
    // As Expect, and the length must be exactly `length`.
    static std::string ExpectFixed(std::span<const uint8_t> bytes, uint16_t type, size_t length);

    // The TLVs of the row from offset 4 of the message. A TLV that overruns
    // ends the row; the ones before it are kept and the reason is returned.
    static std::string Row(std::span<const uint8_t> bytes, std::vector<Tlv>& row);

    // A zeroed message of exactly `length` bytes with its header written, so
    // that every field left alone, gaps included, goes out as zero. False
    // above 65535 bytes.
    static bool Allocate(std::vector<uint8_t>& message, uint16_t type, size_t length);
    // One message around a row of whole TLVs, in their order.
    static bool Wrap(uint16_t type, const std::vector<std::vector<uint8_t>>& row,
                     std::vector<uint8_t>& message);
};

}  // namespace CfgAgent
