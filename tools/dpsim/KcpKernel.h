#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace Dpsim {

// The kernel's default side of KCP: what it answers to each agent message.
class KcpKernel {
public:
    using Message = std::vector<uint8_t>;

    // Messages to send back, in order; none for what needs no answer or does
    // not decode.
    static std::vector<Message> Answer(std::span<const uint8_t> message);
};

}  // namespace Dpsim
