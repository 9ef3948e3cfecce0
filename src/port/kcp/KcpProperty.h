#pragma once

#include <cstdint>
#include <vector>

namespace CfgAgent {

// One property TLV of a port, taknic or HDS record. An empty value tells
// the kernel to remove the key.
struct KcpProperty {
    uint16_t type = 0;
    std::vector<uint8_t> value;

    bool operator==(const KcpProperty&) const = default;
};

}  // namespace CfgAgent
