#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanVtepUpdate.h"

namespace CfgAgent {

// VTEP Membership Update (data type 5): SwitchID, VNI, removed count, 57-byte entries.
class VxlanVtepUpdateCodec {
public:
    static constexpr size_t kHead = 14;
    // The whole data TLV, header included. False when it would pass 65535 bytes.
    static bool Build(const VxlanVtepUpdate& update, std::vector<uint8_t>& tlv);
    // Empty when `data` is a whole TLV of this type; otherwise why not, and
    // `update` is left unspecified.
    static std::string Read(const Tlv& data, VxlanVtepUpdate& update);
};

}  // namespace CfgAgent
