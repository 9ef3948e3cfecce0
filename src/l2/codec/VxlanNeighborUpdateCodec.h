#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanNeighborUpdate.h"

namespace CfgAgent {

// ARP and ND Updates (data types 6 and 7): SwitchID, VNI, then an address
// and a VM MAC entry per entry; nothing is removed this way.
class VxlanNeighborUpdateCodec {
public:
    static constexpr size_t kHead = 12;
    static constexpr size_t kEntryV4 = 44;
    static constexpr size_t kEntryV6 = 56;
    // The whole data TLV, header included. False when it would pass 65535 bytes.
    static bool Build(const VxlanNeighborUpdate& update, std::vector<uint8_t>& tlv);
    // Empty when `data` is a whole TLV of this type; otherwise why not, and
    // `update` is left unspecified.
    static std::string Read(const Tlv& data, VxlanNeighborUpdate& update);
};

}  // namespace CfgAgent
