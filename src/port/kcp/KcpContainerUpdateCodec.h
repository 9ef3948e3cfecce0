#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "port/kcp/KcpContainerRecord.h"
#include "port/kcp/KcpRecordRow.h"

namespace CfgAgent {

// Container Updates: a row of container records with no operation byte, each
// 202 bytes of head and 23 bytes per IP and MAC entry.
class KcpContainerUpdateCodec {
public:
    static constexpr size_t kEntrySize = 23;
    static constexpr KcpRecordRow::Layout kRecords{0, 202, KcpRecordRow::Sizing::kCounted, 200,
                                                   kEntrySize};

    static bool BuildMessage(const std::vector<KcpContainerRecord>& records, bool more,
                             std::vector<uint8_t>& message);
    static bool Decode(std::span<const uint8_t> value, std::vector<KcpContainerRecord>& records);
    static void ReadRecord(std::span<const uint8_t> record, KcpContainerRecord& out);
};

}  // namespace CfgAgent
