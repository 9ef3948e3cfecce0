#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "dplink/Tlv.h"

namespace CfgAgent {

// The outer shape of every KCP message: a TLV whose type is the message type
// and whose length is also the frame length, holding a row of data TLVs.
class KcpMessage {
public:
    static constexpr size_t kDataOffset = 4;
    static constexpr size_t kUpdateFlagOffset = 4;
    static constexpr size_t kUpdateDataOffset = 5;

    // "Init", "Update", "Notification", "Query", "Session control"; null otherwise.
    static const char* TypeName(uint16_t type);

    // Nothing when the bytes cannot hold the header or the length it claims.
    static std::optional<Tlv> Header(std::span<const uint8_t> bytes);
    // A message whose header holds and whose type is `type`.
    static bool HasType(std::span<const uint8_t> bytes, uint16_t type);
    // Data TLVs are walked within the message's own length, from offset 5 in
    // an Update (past the flag byte) and 4 in the others.
    static std::optional<Tlv> FirstData(std::span<const uint8_t> bytes);
    static std::optional<Tlv> NextData(std::span<const uint8_t> bytes, const Tlv& data);

    // The Update's "more" bit; false when the message has no flag byte.
    static bool More(std::span<const uint8_t> bytes);
    static void SetMore(std::span<uint8_t> message, bool more);

    // A zeroed message of exactly `length` bytes with its header written, so
    // that every field left alone goes out as zero. False above 65535 bytes.
    static bool Allocate(std::vector<uint8_t>& message, uint16_t type, size_t length);
};

}  // namespace CfgAgent
