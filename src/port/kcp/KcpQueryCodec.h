#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace CfgAgent {

// Queries carry no values: a message is the list of what is asked.
class KcpQueryCodec {
public:
    // The 8 bytes that ask for the DP status.
    static std::vector<uint8_t> BuildStatusQuery();
    static bool Build(const std::vector<uint16_t>& dataTypes, std::vector<uint8_t>& message);
    static bool Read(std::span<const uint8_t> bytes, std::vector<uint16_t>& dataTypes);
};

}  // namespace CfgAgent
