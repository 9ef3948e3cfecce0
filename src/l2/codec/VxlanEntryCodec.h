#pragma once

#include <cstddef>
#include <cstdint>

#include "l2/codec/VxlanBfdEntry.h"
#include "l2/codec/VxlanGroupMember.h"
#include "l2/codec/VxlanMacEntry.h"
#include "l2/codec/VxlanVtepEntry.h"

namespace CfgAgent {

// The fixed entries shared by several data types. Writers expect a zeroed
// entry, so that padding goes out as zero; readers expect a whole one.
class VxlanEntryCodec {
public:
    static constexpr size_t kMacEntrySize = 40;
    static constexpr size_t kVtepEntrySize = 57;
    static constexpr size_t kBfdEntrySize = 57;
    static constexpr size_t kGroupMemberSize = 36;

    static void WriteMac(uint8_t* at, const VxlanMacEntry& entry);
    static VxlanMacEntry ReadMac(const uint8_t* at);
    static void WriteVtep(uint8_t* at, const VxlanVtepEntry& entry);
    static VxlanVtepEntry ReadVtep(const uint8_t* at);
    static void WriteBfd(uint8_t* at, const VxlanBfdEntry& entry);
    static VxlanBfdEntry ReadBfd(const uint8_t* at);
    static void WriteGroupMember(uint8_t* at, const VxlanGroupMember& entry);
    static VxlanGroupMember ReadGroupMember(const uint8_t* at);

    // The address types travel in the host's byte order, unlike all else.
    static void PutHost32(uint8_t* at, uint32_t value);
    static uint32_t GetHost32(const uint8_t* at);
};

}  // namespace CfgAgent
