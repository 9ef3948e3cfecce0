#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "port/kcp/KcpPropertyUpdate.h"
#include "port/kcp/KcpRecordRow.h"

namespace CfgAgent {

// Port Property Updates and Taknic Property Updates: one operation byte, then
// records of an ID, a record length and property TLVs. The two differ only
// in the ID's width.
class KcpPropertyUpdateCodec {
public:
    static constexpr KcpRecordRow::Layout kPortRecords{1, 50, KcpRecordRow::Sizing::kLengthField,
                                                       48};
    static constexpr KcpRecordRow::Layout kTaknicRecords{1, 18, KcpRecordRow::Sizing::kLengthField,
                                                         16};

    // Nothing for a data type other than the two property updates.
    static std::optional<KcpRecordRow::Layout> Records(uint16_t dataType);

    static bool BuildMessage(uint16_t dataType, const KcpPropertyUpdate& update, bool more,
                             std::vector<uint8_t>& message);
    // False for another data type or a value without its operation byte.
    static bool Decode(uint16_t dataType, std::span<const uint8_t> value,
                       KcpPropertyUpdate& update);
    // One record found by a KcpRecordRow walk over `layout`.
    static void ReadRecord(const KcpRecordRow::Layout& layout, std::span<const uint8_t> record,
                           KcpPropertyRecord& out);

    // Rows of property TLVs, shared with the HDS records. False when a
    // property's TLV does not fit its 16-bit length.
    static bool PropertiesSize(const std::vector<KcpProperty>& properties, size_t& size);
    static void WriteProperties(const std::vector<KcpProperty>& properties, uint8_t* at);
    static void ReadProperties(std::span<const uint8_t> row, std::vector<KcpProperty>& properties);
};

}  // namespace CfgAgent
