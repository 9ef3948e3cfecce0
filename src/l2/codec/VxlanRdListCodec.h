#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanRdList.h"

namespace CfgAgent {

// Routing Domain List Update (data type 10): SwitchID, a byte, 16-byte domain UUIDs.
class VxlanRdListCodec {
public:
    static constexpr size_t kHead = 9;
    // The whole data TLV, header included. False when it would pass 65535 bytes.
    static bool Build(const VxlanRdList& update, std::vector<uint8_t>& tlv);
    // Empty when `data` is a whole TLV of this type; otherwise why not, and
    // `update` is left unspecified.
    static std::string Read(const Tlv& data, VxlanRdList& update);
};

}  // namespace CfgAgent
