#include "l2/codec/VxlanGroupCodec.h"

#include "dplink/BigEndian.h"
#include "l2/codec/VxlanEntryCodec.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kLabel = 4;
constexpr size_t kDelete = 8;
constexpr size_t kValueCount = 10;
constexpr size_t kValues = 12;
// Within the block that follows the values.
constexpr size_t kKind = 4;
constexpr size_t kPolicy = 5;
constexpr size_t kEntryCount = 8;

struct Room {
    size_t capacity;
    size_t entry;
};

Room RoomOf(uint8_t kind) {
    if (kind == VXLAN_GROUP_KIND_VTEP) {
        return {VXLAN_GROUP_MAX_VTEPS, VxlanEntryCodec::kVtepEntrySize};
    }
    return {VXLAN_GROUP_MAX_MEMBERS, VxlanEntryCodec::kGroupMemberSize};
}

}  // namespace

bool VxlanGroupCodec::Build(const VxlanGroup& group, std::vector<uint8_t>& tlv) {
    const Room room = RoomOf(group.kind);
    const bool vteps = group.kind == VXLAN_GROUP_KIND_VTEP;
    const size_t entries = vteps ? group.vteps.size() : group.members.size();
    if (!group.deleted &&
        (entries > room.capacity || (vteps ? !group.members.empty() : !group.vteps.empty()) ||
         group.values.size() > (Tlv::kMaxLength - kValues) / 4)) {
        return false;
    }
    const size_t values = group.deleted ? 0 : group.values.size();
    const size_t length =
        group.deleted ? kDeleteLength
                      : kValues + 4 * values + kBlockHead + room.capacity * room.entry;
    if (length > Tlv::kMaxLength) {
        return false;
    }
    tlv.assign(length, 0);
    Tlv::WriteHeader(tlv.data(), VXLAN_DATATYPE_VTEP_GROUP, length);
    BigEndian::Put32(tlv.data() + kLabel, group.label);
    BigEndian::Put16(tlv.data() + kDelete, group.deleted ? 1 : 0);
    BigEndian::Put16(tlv.data() + kValueCount, static_cast<uint16_t>(values));
    if (group.deleted) {
        return true;
    }
    uint8_t* at = tlv.data() + kValues;
    for (uint32_t value : group.values) {
        BigEndian::Put32(at, value);
        at += 4;
    }
    at[kKind] = group.kind;
    at[kPolicy] = group.policy[0];
    at[kPolicy + 1] = group.policy[1];
    at[kEntryCount] = static_cast<uint8_t>(entries);
    at += kBlockHead;
    for (const VxlanVtepEntry& entry : group.vteps) {
        VxlanEntryCodec::WriteVtep(at, entry);
        at += room.entry;
    }
    for (const VxlanGroupMember& entry : group.members) {
        VxlanEntryCodec::WriteGroupMember(at, entry);
        at += room.entry;
    }
    return true;
}

std::string VxlanGroupCodec::Read(const Tlv& data, VxlanGroup& group) {
    if (data.Type() != VXLAN_DATATYPE_VTEP_GROUP) {
        return "data type " + std::to_string(data.Type()) + " is not VXLAN_DATATYPE_VTEP_GROUP";
    }
    if (data.Length() < kDeleteLength) {
        return "VXLAN_DATATYPE_VTEP_GROUP of " + std::to_string(data.Length()) +
               " bytes cannot hold its 12-byte head";
    }
    const uint16_t deleteFlag = BigEndian::Get16(VxlanEntryRow::At(data, kDelete));
    if (deleteFlag > 1) {
        return "VXLAN_DATATYPE_VTEP_GROUP delete flag " + std::to_string(deleteFlag) +
               " is neither 0 nor 1";
    }
    group = VxlanGroup{};
    group.label = BigEndian::Get32(VxlanEntryRow::At(data, kLabel));
    group.deleted = deleteFlag == 1;
    if (group.deleted) {
        return data.Length() == kDeleteLength
                   ? std::string()
                   : "VXLAN_DATATYPE_VTEP_GROUP delete of " + std::to_string(data.Length()) +
                         " bytes, not 12";
    }
    const size_t values = BigEndian::Get16(VxlanEntryRow::At(data, kValueCount));
    const size_t block = kValues + 4 * values;
    if (data.Length() < block + kBlockHead) {
        return "VXLAN_DATATYPE_VTEP_GROUP of " + std::to_string(data.Length()) +
               " bytes cannot hold " + std::to_string(values) + " values and its block head";
    }
    const uint8_t* head = VxlanEntryRow::At(data, block);
    group.kind = head[kKind];
    group.policy = {head[kPolicy], head[kPolicy + 1]};
    const size_t entries = head[kEntryCount];
    const Room room = RoomOf(group.kind);
    const size_t length = block + kBlockHead + room.capacity * room.entry;
    if (data.Length() != length) {
        return "VXLAN_DATATYPE_VTEP_GROUP of kind " + std::to_string(group.kind) + " is " +
               std::to_string(length) + " bytes, not " + std::to_string(data.Length());
    }
    if (entries > room.capacity) {
        return "VXLAN_DATATYPE_VTEP_GROUP of kind " + std::to_string(group.kind) + " holds " +
               std::to_string(entries) + " entries, more than " + std::to_string(room.capacity);
    }
    for (size_t i = 0; i < values; ++i) {
        group.values.push_back(BigEndian::Get32(VxlanEntryRow::At(data, kValues + 4 * i)));
    }
    const uint8_t* at = head + kBlockHead;
    for (size_t i = 0; i < entries; ++i, at += room.entry) {
        if (group.kind == VXLAN_GROUP_KIND_VTEP) {
            group.vteps.push_back(VxlanEntryCodec::ReadVtep(at));
        } else {
            group.members.push_back(VxlanEntryCodec::ReadGroupMember(at));
        }
    }
    return {};
}

}  // namespace CfgAgent
