#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "port/swsec/SwsecBindings.h"

namespace CfgAgent {

// The switch security link's messages: the KCP head, then TLVs of its own.
class SwsecCodec {
public:
    enum MessageType : uint16_t {
        SWSEC_TOOLS_BINDINGS = 1,
        SWSEC_SOLICITATION = 2,
    };
    enum BindingsTlv : uint16_t {
        SWSEC_PORT_ID = 1,
        SWSEC_SWITCH_ID = 2,
        SWSEC_ENTRIES = 3,
    };
    static constexpr size_t kEntrySize = 23;

    // Texts go out with their NUL. False when the message would pass 65535 bytes.
    static bool BuildBindings(const SwsecBindings& bindings, std::vector<uint8_t>& message);
    // Empty when the bytes are exactly one whole bindings message: its three
    // TLVs in order, NUL-ended texts, whole entries; otherwise why not, with
    // what was read before the fault in `bindings`.
    static std::string ReadBindings(std::span<const uint8_t> bytes, SwsecBindings& bindings);

    static std::vector<uint8_t> BuildSolicitation(const std::string& vifId);
    // The VIF ID that follows the head, up to its NUL; whatever the type says.
    static std::string ReadSolicitation(std::span<const uint8_t> bytes);
};

}  // namespace CfgAgent
