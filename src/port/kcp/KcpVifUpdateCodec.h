#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "port/kcp/KcpRecordRow.h"
#include "port/kcp/KcpVifUpdate.h"
#include "dplink/Tlv.h"

namespace CfgAgent {

// VIF Updates, sent by the kernel: one operation byte, then VIF records of a
// 213-byte head with their own length and property TLVs.
class KcpVifUpdateCodec {
public:
    static constexpr size_t kBindingSize = 34;
    static constexpr size_t kMacSize = 6;
    static constexpr KcpRecordRow::Layout kRecords{1, 213, KcpRecordRow::Sizing::kLengthField, 211};

    // The agent never sends these; the builder serves tests and the dump.
    static bool BuildMessage(const KcpVifUpdate& update, bool more, std::vector<uint8_t>& message);
    // False when the value lacks its operation byte. A property type this
    // codec does not know is passed over.
    static bool Decode(std::span<const uint8_t> value, KcpVifUpdate& update);

    // One record found by a KcpRecordRow walk over kRecords.
    static void ReadRecord(std::span<const uint8_t> record, KcpVifRecord& out);
    // Adds what one property TLV says to `out`. False when its value is too
    // short for its type, which ends the walk over the record's properties.
    static bool ReadProperty(const Tlv& property, KcpVifRecord& out);
};

}  // namespace CfgAgent
