#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

// A whole VXLAN control message rendered for the log, one field per line.
class VxlanDump {
public:
    // The text never passes this size; what does not fit is left out quietly.
    static constexpr size_t kMaxText = 512;

    static std::string Render(std::span<const uint8_t> message);
    static void Log(int level, std::span<const uint8_t> message);

    // "vxlan", "vxstt", "geneve", or "invalid" for any other byte.
    static const char* EncapName(uint8_t encapType);
    // The lower-case hyphenated text of a routing domain ID.
    static std::string UuidText(const VxlanUuid& uuid);
};

}  // namespace CfgAgent
