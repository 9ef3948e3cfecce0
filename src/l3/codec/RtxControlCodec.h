#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "l3/codec/RtxInstance.h"

namespace CfgAgent {

// The messages that are not entries of an UPDATE. Readers are strict: the
// bytes must be one whole message of the type, of exactly its length; they
// return empty when so, otherwise why not.
class RtxControlCodec {
public:
    static constexpr size_t kInstanceListLength = 85;
    static constexpr size_t kInstanceEntrySize = 77;
    static constexpr size_t kFlushLength = 14;
    static constexpr size_t kMarkerLength = 5;
    static constexpr size_t kEndMarkerLength = 16;

    // `RTXInsAddPB2TLV`: the agent always lists exactly one instance.
    static std::vector<uint8_t> BuildInstanceList(const RtxInstance& instance);
    static std::string ReadInstanceList(std::span<const uint8_t> bytes, RtxInstance& instance);

    // A soft flush of one router.
    static std::vector<uint8_t> BuildFlush(uint32_t rtxId, uint8_t command);
    static std::string ReadFlush(std::span<const uint8_t> bytes, uint32_t& rtxId, uint8_t& command,
                                 uint8_t& flushType);

    // Type 11 (instance) or 13 (bridge endpoint), phase 0 at the start and 1 at the end.
    static std::vector<uint8_t> BuildMarker(uint16_t type, uint8_t phase);
    static std::string ReadMarker(std::span<const uint8_t> bytes, uint16_t& type, uint8_t& phase);
    static std::vector<uint8_t> BuildFullSyncEnd();

    // The 16-byte UPDATE that closes a LIF (entry type 4) or route (5) full sync.
    static std::vector<uint8_t> BuildEndMarker(uint16_t entryType);
    static bool IsEndMarker(std::span<const uint8_t> bytes, uint16_t& entryType);
};

}  // namespace CfgAgent
