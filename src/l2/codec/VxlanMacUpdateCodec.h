#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanMacUpdate.h"

namespace CfgAgent {

// VM MAC Update (data type 4): SwitchID, VNI, removed count, 40-byte entries.
class VxlanMacUpdateCodec {
public:
    static constexpr size_t kHead = 14;
    // The whole data TLV, header included. False when it would pass 65535 bytes.
    static bool Build(const VxlanMacUpdate& update, std::vector<uint8_t>& tlv);
    // Empty when `data` is a whole TLV of this type; otherwise why not, and
    // `update` is left unspecified.
    static std::string Read(const Tlv& data, VxlanMacUpdate& update);
};

}  // namespace CfgAgent
