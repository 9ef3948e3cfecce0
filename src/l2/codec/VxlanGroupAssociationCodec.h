#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanGroupAssociation.h"

namespace CfgAgent {

// A logical switch's (data type 14) or a routing domain's (15) use of a VTEP group.
class VxlanGroupAssociationCodec {
public:
    static constexpr size_t kSwitchLength = 18;
    static constexpr size_t kRoutingDomainLength = 30;
    // The whole data TLV, header included. False when it would pass 65535 bytes.
    static bool Build(const VxlanGroupAssociation& update, std::vector<uint8_t>& tlv);
    // Empty when `data` is a whole TLV of this type; otherwise why not, and
    // `update` is left unspecified.
    static std::string Read(const Tlv& data, VxlanGroupAssociation& update);
};

}  // namespace CfgAgent
