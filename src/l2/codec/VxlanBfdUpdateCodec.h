#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanBfdUpdate.h"

namespace CfgAgent {

// BFD Session Update (data type 11): SwitchID, removed count, 57-byte sessions.
class VxlanBfdUpdateCodec {
public:
    static constexpr size_t kHead = 10;
    // The whole data TLV, header included. False when it would pass 65535 bytes.
    static bool Build(const VxlanBfdUpdate& update, std::vector<uint8_t>& tlv);
    // Empty when `data` is a whole TLV of this type; otherwise why not, and
    // `update` is left unspecified.
    static std::string Read(const Tlv& data, VxlanBfdUpdate& update);
};

}  // namespace CfgAgent
