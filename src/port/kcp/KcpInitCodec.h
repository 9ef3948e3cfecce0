#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "port/kcp/KcpInit.h"

namespace CfgAgent {

class KcpInitCodec {
public:
    static bool Build(const KcpInit& init, std::vector<uint8_t>& message);
    // False unless the bytes hold an Init message.
    static bool Read(std::span<const uint8_t> bytes, KcpInit& init);
};

}  // namespace CfgAgent
