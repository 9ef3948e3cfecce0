#include "l2/app/L2TlvBatch.h"

#include "l2/codec/VxlanIpUpdateCodec.h"
#include "l2/codec/VxlanMacUpdateCodec.h"
#include "l2/codec/VxlanMessage.h"
#include "l2/codec/VxlanRdVtepUpdateCodec.h"
#include "l2/codec/VxlanUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"

namespace CfgAgent {

namespace {

constexpr size_t kMacEntry = 40;
constexpr size_t kVtepEntry = 57;

template <typename Update>
bool SameTarget(const Update& a, const Update& b) {
    if constexpr (requires { a.routingDomain; }) {
        return a.routingDomain == b.routingDomain && a.switchId == b.switchId && a.global == b.global;
    } else if constexpr (requires { a.ipv6; }) {
        return a.ipv6 == b.ipv6 && a.switchId == b.switchId && a.vni == b.vni;
    } else {
        return a.switchId == b.switchId && a.vni == b.vni;
    }
}

bool BuildTlv(const VxlanMacUpdate& update, std::vector<uint8_t>& tlv) {
    return VxlanMacUpdateCodec::Build(update, tlv);
}
bool BuildTlv(const VxlanIpUpdate& update, std::vector<uint8_t>& tlv) {
    return VxlanIpUpdateCodec::Build(update, tlv);
}
bool BuildTlv(const VxlanVtepUpdate& update, std::vector<uint8_t>& tlv) {
    return VxlanVtepUpdateCodec::Build(update, tlv);
}
bool BuildTlv(const VxlanRdVtepUpdate& update, std::vector<uint8_t>& tlv) {
    return VxlanRdVtepUpdateCodec::Build(update, tlv);
}
bool BuildTlv(const std::vector<uint8_t>& built, std::vector<uint8_t>& tlv) {
    tlv = built;
    return true;
}

}  // namespace

template <typename Update, typename Entry>
size_t L2TlvBatch::Add(Update key, const Entry& entry, bool removed, size_t head, size_t entrySize) {
    if (!_items.empty()) {
        if (auto* last = std::get_if<Update>(&_items.back())) {
            const size_t count = last->removed.size() + last->added.size();
            // A removal after an addition would be applied before it.
            const bool inOrder = !removed || last->added.empty();
            if (SameTarget(*last, key) && inOrder && head + (count + 1) * entrySize <= kMaxTlv) {
                (removed ? last->removed : last->added).push_back(entry);
                return _items.size() - 1;
            }
        }
    }
    (removed ? key.removed : key.added).push_back(entry);
    _items.emplace_back(std::move(key));
    return _items.size() - 1;
}

size_t L2TlvBatch::AddMac(uint32_t switchId, uint32_t vni, const VxlanMacEntry& entry, bool removed) {
    return Add(VxlanMacUpdate{switchId, vni, {}, {}}, entry, removed, VxlanMacUpdateCodec::kHead,
               kMacEntry);
}

size_t L2TlvBatch::AddIp(bool ipv6, uint32_t switchId, uint32_t vni, const VxlanIpMac& entry,
                         bool removed) {
    return Add(VxlanIpUpdate{ipv6, switchId, vni, {}, {}}, entry, removed, VxlanIpUpdateCodec::kHead,
               ipv6 ? VxlanIpUpdateCodec::kEntryV6 : VxlanIpUpdateCodec::kEntryV4);
}

size_t L2TlvBatch::AddVtep(uint32_t switchId, uint32_t vni, const VxlanVtepEntry& entry, bool removed) {
    return Add(VxlanVtepUpdate{switchId, vni, {}, {}}, entry, removed, VxlanVtepUpdateCodec::kHead,
               kVtepEntry);
}

size_t L2TlvBatch::AddRdVtep(const VxlanUuid& domain, uint32_t switchId, uint8_t global,
                             const VxlanVtepEntry& entry, bool removed) {
    return Add(VxlanRdVtepUpdate{domain, switchId, global, {}, {}}, entry, removed,
               VxlanRdVtepUpdateCodec::kHead, kVtepEntry);
}

size_t L2TlvBatch::AddTlv(std::vector<uint8_t> tlv) {
    _items.emplace_back(std::move(tlv));
    return _items.size() - 1;
}

void L2TlvBatch::InsertMacBefore(size_t position, uint32_t switchId, uint32_t vni,
                                 const VxlanMacEntry& entry, bool removed) {
    VxlanMacUpdate update{switchId, vni, {}, {}};
    (removed ? update.removed : update.added).push_back(entry);
    _items.emplace(_items.begin() + static_cast<std::ptrdiff_t>(position), std::move(update));
}

bool L2TlvBatch::Build(const Item& item, std::vector<uint8_t>& tlv) {
    return std::visit([&tlv](const auto& update) { return BuildTlv(update, tlv); }, item);
}

void L2TlvBatch::ForEachMessage(size_t maxLength,
                                const std::function<void(std::vector<uint8_t>&&)>& take) const {
    std::vector<std::vector<uint8_t>> row;
    size_t length = VxlanMessage::kRowOffset;
    auto flush = [&] {
        std::vector<uint8_t> message;
        if (!row.empty() && VxlanUpdateCodec::Build(row, message)) {
            take(std::move(message));
        }
        row.clear();
        length = VxlanMessage::kRowOffset;
    };
    for (const Item& item : _items) {
        std::vector<uint8_t> tlv;
        if (!Build(item, tlv) || VxlanMessage::kRowOffset + tlv.size() > maxLength) {
            continue;
        }
        if (length + tlv.size() > maxLength) {
            flush();
        }
        length += tlv.size();
        row.push_back(std::move(tlv));
    }
    flush();
}

std::vector<std::vector<uint8_t>> L2TlvBatch::Messages(size_t maxLength) const {
    std::vector<std::vector<uint8_t>> messages;
    ForEachMessage(maxLength, [&messages](std::vector<uint8_t>&& message) { messages.push_back(std::move(message)); });
    return messages;
}

}  // namespace CfgAgent
