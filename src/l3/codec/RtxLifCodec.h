#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "l3/codec/RtxLif.h"

namespace CfgAgent {

// LIF update entries (type 4): one LIF added with its variable blocks, or
// one removed by name.
class RtxLifCodec {
public:
    static constexpr size_t kHead = 162;
    static constexpr size_t kDeleteLength = 132;
    static constexpr uint16_t kDhcpRelay = 0x0010;
    static constexpr uint16_t kNdra = 0x0080;
    static constexpr uint16_t kNdraSubnets = 0x0100;
    static constexpr uint16_t kAlways = 0x0200;

    // `RTXPortAddPB2TLV`; false past 65535 bytes.
    static bool BuildAdd(const RtxLif& lif, std::vector<uint8_t>& entry);
    // `RTXPortDelPB2TLV`.
    static std::vector<uint8_t> BuildDelete(uint32_t rtxId, const std::string& name);
    // A whole LIF entry: an add fills `lif`, a delete its router and name.
    static std::string Read(std::span<const uint8_t> entry, RtxLif& lif, bool& removed);
};

}  // namespace CfgAgent
