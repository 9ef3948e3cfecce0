#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanConfigureItem.h"

namespace CfgAgent {

// The Configure message: a row of items, each of a fixed length by type.
class VxlanConfigureCodec {
public:
    // The whole item's length, header included; 0 for a type not in use.
    static size_t ItemLength(uint16_t type);

    // False for an item type not in use.
    static bool BuildItem(const VxlanConfigureItem& item, std::vector<uint8_t>& tlv);
    // Empty when `data` is a whole item of a known type and its exact length.
    static std::string ReadItem(const Tlv& data, VxlanConfigureItem& item);

    static bool Build(const std::vector<VxlanConfigureItem>& items, std::vector<uint8_t>& message);
    // Strict: a whole Configure whose every item reads. The items read before
    // a fault are kept.
    static std::string Read(std::span<const uint8_t> bytes, std::vector<VxlanConfigureItem>& items);
};

}  // namespace CfgAgent
