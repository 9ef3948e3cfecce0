#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "dplink/Tlv.h"
#include "l2/codec/VxlanQuery.h"

namespace CfgAgent {

// The Query message: a row of data TLVs, each SwitchID, VNI and the entries
// asked for: 6-byte MACs, IPv4 or IPv6 addresses by data type.
class VxlanQueryCodec {
public:
    static constexpr size_t kHead = 12;

    // 0 for a data type a query does not use.
    static size_t EntrySize(uint16_t dataType);
    static bool BuildData(const VxlanQuery& query, std::vector<uint8_t>& tlv);
    static std::string ReadData(const Tlv& data, VxlanQuery& query);
    static bool Build(const std::vector<VxlanQuery>& queries, std::vector<uint8_t>& message);
    // Strict: a whole Query whose every data TLV reads; those before a fault are kept.
    static std::string Read(std::span<const uint8_t> bytes, std::vector<VxlanQuery>& queries);
};

}  // namespace CfgAgent
