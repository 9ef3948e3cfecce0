#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "port/kcp/KcpHdsRecord.h"
#include "port/kcp/KcpRecordRow.h"

namespace CfgAgent {

// HDS Property Updates: records of an HDS ID, an operation and a length that
// counts the whole record, then property TLVs. One record per message is
// what the agent sends; the reader walks on in case more follow.
class KcpHdsUpdateCodec {
public:
    static constexpr KcpRecordRow::Layout kRecords{0, 67, KcpRecordRow::Sizing::kLengthField, 65};

    static bool BuildMessage(const std::vector<KcpHdsRecord>& records, bool more,
                             std::vector<uint8_t>& message);
    static bool Decode(std::span<const uint8_t> value, std::vector<KcpHdsRecord>& records);
    static void ReadRecord(std::span<const uint8_t> record, KcpHdsRecord& out);
};

}  // namespace CfgAgent
