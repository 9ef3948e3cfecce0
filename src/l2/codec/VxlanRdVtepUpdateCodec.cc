#include "l2/codec/VxlanRdVtepUpdateCodec.h"

#include <algorithm>

#include "dplink/BigEndian.h"
#include "l2/codec/VxlanEntryCodec.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kRoutingDomain = 4;
constexpr size_t kSwitchId = 20;
constexpr size_t kGlobal = 24;
constexpr size_t kRemoved = 25;
constexpr size_t kEntry = VxlanEntryCodec::kVtepEntrySize;

}  // namespace

bool VxlanRdVtepUpdateCodec::Build(const VxlanRdVtepUpdate& update, std::vector<uint8_t>& tlv) {
    if (!VxlanEntryRow::Fill(tlv, VXLAN_DATATYPE_ROUTING_DOMAIN_VTEP_MBR, kHead, kEntry,
                             update.removed, update.added, VxlanEntryCodec::WriteVtep)) {
        return false;
    }
    std::copy(update.routingDomain.begin(), update.routingDomain.end(),
              tlv.data() + kRoutingDomain);
    BigEndian::Put32(tlv.data() + kSwitchId, update.switchId);
    tlv[kGlobal] = update.global;
    BigEndian::Put16(tlv.data() + kRemoved, static_cast<uint16_t>(update.removed.size()));
    return true;
}

std::string VxlanRdVtepUpdateCodec::Read(const Tlv& data, VxlanRdVtepUpdate& update) {
    if (data.Type() != VXLAN_DATATYPE_ROUTING_DOMAIN_VTEP_MBR) {
        return "data type " + std::to_string(data.Type()) +
               " is not VXLAN_DATATYPE_ROUTING_DOMAIN_VTEP_MBR";
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
    const uint8_t* domain = VxlanEntryRow::At(data, kRoutingDomain);
    std::copy_n(domain, update.routingDomain.size(), update.routingDomain.begin());
    update.switchId = BigEndian::Get32(VxlanEntryRow::At(data, kSwitchId));
    update.global = *VxlanEntryRow::At(data, kGlobal);
    VxlanEntryRow::Split(data, kHead, kEntry, count, removed, update.removed, update.added,
                         VxlanEntryCodec::ReadVtep);
    return {};
}

}  // namespace CfgAgent
