#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dplink/BigEndian.h"
#include "dplink/Tlv.h"

namespace CfgAgent {

// A data TLV made of a fixed head and a row of fixed-size entries, which is
// most of them. Offsets given here count from the start of the TLV, as the
// kernel's layouts do.
class VxlanEntryRow {
public:
    // A zeroed TLV holding the head (`head` bytes from offset 0, header
    // included) and `count` entries, header written. False past 65535 bytes.
    static bool Begin(std::vector<uint8_t>& tlv, uint16_t type, size_t head, size_t entry,
                      size_t count);
    // Where the entries of a TLV built or read with this head start.
    static uint8_t* Entries(std::vector<uint8_t>& tlv, size_t head) { return tlv.data() + head; }

    // The number of entries of `data`, strictly: the value must hold the head
    // and then whole entries only. Empty when so; otherwise why not.
    static std::string Count(const Tlv& data, size_t head, size_t entry, size_t& count);
    // Of a type whose first `removed` entries are removals.
    static std::string CheckRemoved(const Tlv& data, size_t removed, size_t count);
    // The TLV's byte at `offset` counted from its start; the value must hold it.
    static const uint8_t* At(const Tlv& data, size_t offset) {
        return data.Value().data() + (offset - Tlv::kHeaderSize);
    }
    // A name for reasons: the data type's, or its number.
    static std::string Name(uint16_t type);
    // Why `data` is not of `type`, for a reader that takes one type only.
    static std::string NotOfType(const Tlv& data, uint16_t type);

    // Removals first, then additions, each written by `write(at, entry)`.
    template <typename Entry, typename Write>
    static bool Fill(std::vector<uint8_t>& tlv, uint16_t type, size_t head, size_t entry,
                     const std::vector<Entry>& removed, const std::vector<Entry>& added,
                     Write write) {
        if (!Begin(tlv, type, head, entry, removed.size() + added.size())) {
            return false;
        }
        uint8_t* at = tlv.data() + head;
        for (const auto* list : {&removed, &added}) {
            for (const Entry& one : *list) {
                write(at, one);
                at += entry;
            }
        }
        return true;
    }
    // The `count` entries of a checked TLV, the first `removedCount` of them
    // into `removed`, each read by `read(at)`.
    template <typename Entry, typename Read>
    static void Split(const Tlv& data, size_t head, size_t entry, size_t count,
                      size_t removedCount, std::vector<Entry>& removed,
                      std::vector<Entry>& added, Read read) {
        removed.clear();
        added.clear();
        const uint8_t* at = At(data, head);
        for (size_t i = 0; i < count; ++i, at += entry) {
            (i < removedCount ? removed : added).push_back(read(at));
        }
    }

    // The counted updates: SwitchID at 4, the VNI at 8 where the update has
    // one, the number of removals at `removedAt`, then removals and additions.
    template <typename Update, typename Write>
    static bool BuildCounted(std::vector<uint8_t>& tlv, uint16_t type, size_t head, size_t entry,
                             size_t removedAt, const Update& update, Write write) {
        if (!Fill(tlv, type, head, entry, update.removed, update.added, write)) {
            return false;
        }
        BigEndian::Put32(tlv.data() + kSwitchIdAt, update.switchId);
        if constexpr (requires { update.vni; }) {
            BigEndian::Put32(tlv.data() + kVniAt, update.vni);
        }
        BigEndian::Put16(tlv.data() + removedAt, static_cast<uint16_t>(update.removed.size()));
        return true;
    }
    // The reader of the same; the caller has checked the type.
    template <typename Update, typename Read>
    static std::string ReadCounted(const Tlv& data, size_t head, size_t entry, size_t removedAt,
                                   Update& update, Read read) {
        size_t count = 0;
        std::string reason = Count(data, head, entry, count);
        if (!reason.empty()) {
            return reason;
        }
        const size_t removed = BigEndian::Get16(At(data, removedAt));
        reason = CheckRemoved(data, removed, count);
        if (!reason.empty()) {
            return reason;
        }
        update.switchId = BigEndian::Get32(At(data, kSwitchIdAt));
        if constexpr (requires { update.vni; }) {
            update.vni = BigEndian::Get32(At(data, kVniAt));
        }
        Split(data, head, entry, count, removed, update.removed, update.added, read);
        return {};
    }

private:
    static constexpr size_t kSwitchIdAt = 4;
    static constexpr size_t kVniAt = 8;
};

}  // namespace CfgAgent
