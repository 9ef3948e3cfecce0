#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanIpUpdate.h"

namespace CfgAgent {

// VM IP Updates (data types 2 and 3): SwitchID, VNI, removed count, then
// address and MAC entries of 10 or 22 bytes.
class VxlanIpUpdateCodec {
public:
    static constexpr size_t kHead = 14;
    static constexpr size_t kEntryV4 = 10;
    static constexpr size_t kEntryV6 = 22;
    // The whole data TLV, header included. False when it would pass 65535 bytes.
    static bool Build(const VxlanIpUpdate& update, std::vector<uint8_t>& tlv);
    // Empty when `data` is a whole TLV of this type; otherwise why not, and
    // `update` is left unspecified.
    static std::string Read(const Tlv& data, VxlanIpUpdate& update);
};

}  // namespace CfgAgent
