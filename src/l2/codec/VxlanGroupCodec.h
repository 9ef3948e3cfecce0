#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanGroup.h"

namespace CfgAgent {

// VTEP Group (data type 12). A group that is not deleted always carries
// room for the largest group of its kind; unused entries are zero.
class VxlanGroupCodec {
public:
    static constexpr size_t kDeleteLength = 12;
    static constexpr size_t kBlockHead = 9;
    // The whole data TLV, header included. False when it would pass 65535 bytes.
    static bool Build(const VxlanGroup& update, std::vector<uint8_t>& tlv);
    // Empty when `data` is a whole TLV of this type; otherwise why not, and
    // `update` is left unspecified.
    static std::string Read(const Tlv& data, VxlanGroup& update);
};

}  // namespace CfgAgent
