#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "port/kcp/KcpRecordRow.h"
#include "port/kcp/KcpUplinkUpdate.h"

namespace CfgAgent {

// Uplink Updates, sent by the kernel: one operation byte, then fixed 213-byte
// records with no length of their own.
class KcpUplinkUpdateCodec {
public:
    static constexpr KcpRecordRow::Layout kRecords{1, 213, KcpRecordRow::Sizing::kFixed};

    static bool BuildMessage(const KcpUplinkUpdate& update, bool more,
                             std::vector<uint8_t>& message);
    // False when the value lacks its operation byte.
    static bool Decode(std::span<const uint8_t> value, KcpUplinkUpdate& update);
    static void ReadRecord(std::span<const uint8_t> record, KcpUplinkRecord& out);
};

}  // namespace CfgAgent
