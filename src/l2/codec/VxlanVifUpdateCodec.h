#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanVifUpdate.h"

namespace CfgAgent {

// VIF Update (data type 8): a status byte, then 160-byte VIF ID texts.
class VxlanVifUpdateCodec {
public:
    static constexpr size_t kHead = 5;
    // The whole data TLV, header included. False when it would pass 65535 bytes.
    static bool Build(const VxlanVifUpdate& update, std::vector<uint8_t>& tlv);
    // Empty when `data` is a whole TLV of this type; otherwise why not, and
    // `update` is left unspecified.
    static std::string Read(const Tlv& data, VxlanVifUpdate& update);
};

}  // namespace CfgAgent
