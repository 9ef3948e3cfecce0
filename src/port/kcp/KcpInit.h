#pragma once

#include <cstdint>
#include <optional>

namespace CfgAgent {

// What an Init message carries. No side sends one today.
struct KcpInit {
    std::optional<uint16_t> maxMessageLength;

    bool operator==(const KcpInit&) const = default;
};

}  // namespace CfgAgent
