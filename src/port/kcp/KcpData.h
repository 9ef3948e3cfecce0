#pragma once

#include <cstdint>
#include <vector>

namespace CfgAgent {

// One data TLV of an Update, as received; its value is read by the codec
// of its type.
struct KcpData {
    uint16_t type = 0;  // KcpUpdateDataType
    std::vector<uint8_t> value;

    bool operator==(const KcpData&) const = default;
};

}  // namespace CfgAgent
