#include "l2/codec/VxlanMacUpdateCodec.h"

#include "dplink/BigEndian.h"
#include "l2/codec/VxlanEntryCodec.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kSwitchId = 4;
constexpr size_t kVni = 8;
constexpr size_t kRemoved = 12;
constexpr size_t kEntry = VxlanEntryCodec::kMacEntrySize;

}  // namespace

bool VxlanMacUpdateCodec::Build(const VxlanMacUpdate& update, std::vector<uint8_t>& tlv) {
    if (!VxlanEntryRow::Fill(tlv, VXLAN_DATATYPE_VMMAC, kHead, kEntry, update.removed,
                             update.added, VxlanEntryCodec::WriteMac)) {
        return false;
    }
    BigEndian::Put32(tlv.data() + kSwitchId, update.switchId);
    BigEndian::Put32(tlv.data() + kVni, update.vni);
    BigEndian::Put16(tlv.data() + kRemoved, static_cast<uint16_t>(update.removed.size()));
    return true;
}

std::string VxlanMacUpdateCodec::Read(const Tlv& data, VxlanMacUpdate& update) {
    if (data.Type() != VXLAN_DATATYPE_VMMAC) {
        return "data type " + std::to_string(data.Type()) + " is not VXLAN_DATATYPE_VMMAC";
    }
    size_t count = 0;
    std::string reason = VxlanEntryRow::Count(data, kHead, kEntry, count);
    if (!reason.empty()) {
        return reason;
    }
    const size_t removed = BigEndian::Get16(VxlanEntryRow::At(data, kRemoved));
    reason = VxlanEntryRow::CheckRemoved(data, removed, count);
    if (!reason.empty()) {
        return reason;
    }
    update.switchId = BigEndian::Get32(VxlanEntryRow::At(data, kSwitchId));
    update.vni = BigEndian::Get32(VxlanEntryRow::At(data, kVni));
    VxlanEntryRow::Split(data, kHead, kEntry, count, removed, update.removed, update.added,
                         VxlanEntryCodec::ReadMac);
    return {};
}

}  // namespace CfgAgent
