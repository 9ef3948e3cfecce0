#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanRdVtepUpdate.h"

namespace CfgAgent {

// Routing Domain VTEP Membership Update (data type 9): the domain, SwitchID,
// global flag, removed count, 57-byte VTEP entries.
class VxlanRdVtepUpdateCodec {
public:
    static constexpr size_t kHead = 27;
    // The whole data TLV, header included. False when it would pass 65535 bytes.
    static bool Build(const VxlanRdVtepUpdate& update, std::vector<uint8_t>& tlv);
    // Empty when `data` is a whole TLV of this type; otherwise why not, and
    // `update` is left unspecified.
    static std::string Read(const Tlv& data, VxlanRdVtepUpdate& update);
};

}  // namespace CfgAgent
