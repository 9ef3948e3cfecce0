#include "l2/codec/VxlanBfdUpdateCodec.h"

#include "dplink/BigEndian.h"
#include "l2/codec/VxlanEntryCodec.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kSwitchId = 4;
constexpr size_t kRemoved = 8;
constexpr size_t kEntry = VxlanEntryCodec::kBfdEntrySize;

}  // namespace

bool VxlanBfdUpdateCodec::Build(const VxlanBfdUpdate& update, std::vector<uint8_t>& tlv) {
    if (!VxlanEntryRow::Fill(tlv, VXLAN_DATATYPE_BFD_SESSION, kHead, kEntry, update.removed,
                             update.added, VxlanEntryCodec::WriteBfd)) {
        return false;
    }
    BigEndian::Put32(tlv.data() + kSwitchId, update.switchId);
    BigEndian::Put16(tlv.data() + kRemoved, static_cast<uint16_t>(update.removed.size()));
    return true;
}

std::string VxlanBfdUpdateCodec::Read(const Tlv& data, VxlanBfdUpdate& update) {
    if (data.Type() != VXLAN_DATATYPE_BFD_SESSION) {
        return "data type " + std::to_string(data.Type()) + " is not VXLAN_DATATYPE_BFD_SESSION";
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
    VxlanEntryRow::Split(data, kHead, kEntry, count, removed, update.removed, update.added,
                         VxlanEntryCodec::ReadBfd);
    return {};
}

}  // namespace CfgAgent
