#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <variant>
#include <vector>

#include "l2/codec/VxlanIpUpdate.h"
#include "l2/codec/VxlanMacUpdate.h"
#include "l2/codec/VxlanRdVtepUpdate.h"
#include "l2/codec/VxlanVtepUpdate.h"

namespace CfgAgent {

// A row of Update data TLVs built entry by entry. Entries of one kind for
// one VNI or domain that follow each other share a TLV, as long as the
// kernel, which applies a TLV's removals before its additions, still applies
// them in the order they came; and as long as the message stays within the
// length the session configured.
class L2TlvBatch {
public:
    // The session's max message length, less the Update's own header.
    static constexpr size_t kMaxTlv = 4085 - 4;

    // Each returns the position of the TLV that took the entry.
    size_t AddMac(uint32_t switchId, uint32_t vni, const VxlanMacEntry& entry, bool removed);
    size_t AddIp(bool ipv6, uint32_t switchId, uint32_t vni, const VxlanIpMac& entry, bool removed);
    size_t AddVtep(uint32_t switchId, uint32_t vni, const VxlanVtepEntry& entry, bool removed);
    size_t AddRdVtep(const VxlanUuid& domain, uint32_t switchId, uint8_t global,
                     const VxlanVtepEntry& entry, bool removed);
    // A TLV built elsewhere, standing alone.
    size_t AddTlv(std::vector<uint8_t> tlv);
    // A MAC entry in a TLV of its own, placed before the TLV at `position`.
    void InsertMacBefore(size_t position, uint32_t switchId, uint32_t vni, const VxlanMacEntry& entry,
                         bool removed);

    bool Empty() const { return _items.empty(); }
    size_t Size() const { return _items.size(); }
    // The row cut into Update messages of at most `maxLength` bytes, each
    // handed to `take` as soon as it is full, so that a large batch is never
    // held as bytes whole.
    void ForEachMessage(size_t maxLength, const std::function<void(std::vector<uint8_t>&&)>& take) const;
    std::vector<std::vector<uint8_t>> Messages(size_t maxLength = kMaxTlv + 4) const;

private:
    using Item = std::variant<VxlanMacUpdate, VxlanIpUpdate, VxlanVtepUpdate, VxlanRdVtepUpdate,
                              std::vector<uint8_t>>;

    static bool Build(const Item& item, std::vector<uint8_t>& tlv);
    template <typename Update, typename Entry>
    size_t Add(Update key, const Entry& entry, bool removed, size_t head, size_t entrySize);

    std::vector<Item> _items;
};

}  // namespace CfgAgent
