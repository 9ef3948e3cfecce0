#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace CfgAgent {

// A whole RTX message rendered for the log: its kind and each entry's,
// with their lengths.
class RtxDump {
public:
    // The text never passes this size; what does not fit is left out quietly.
    static constexpr size_t kMaxText = 500;

    static std::string Render(std::span<const uint8_t> message);
    static void Log(int level, std::span<const uint8_t> message);
};

}  // namespace CfgAgent
