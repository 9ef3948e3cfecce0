#include "l2/codec/VxlanRdListCodec.h"

#include <algorithm>

#include "dplink/BigEndian.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kSwitchId = 4;
constexpr size_t kFlag = 8;
constexpr size_t kEntry = 16;

}  // namespace

bool VxlanRdListCodec::Build(const VxlanRdList& update, std::vector<uint8_t>& tlv) {
    const std::vector<VxlanUuid> none;
    if (!VxlanEntryRow::Fill(tlv, VXLAN_DATATYPE_ROUTING_DOMAIN_LIST, kHead, kEntry, none,
                             update.routingDomains, [](uint8_t* at, const VxlanUuid& domain) {
                                 std::copy(domain.begin(), domain.end(), at);
                             })) {
        return false;
    }
    BigEndian::Put32(tlv.data() + kSwitchId, update.switchId);
    tlv[kFlag] = update.flag;
    return true;
}

std::string VxlanRdListCodec::Read(const Tlv& data, VxlanRdList& update) {
    if (data.Type() != VXLAN_DATATYPE_ROUTING_DOMAIN_LIST) {
        return "data type " + std::to_string(data.Type()) +
               " is not VXLAN_DATATYPE_ROUTING_DOMAIN_LIST";
    }
    size_t count = 0;
    std::string reason = VxlanEntryRow::Count(data, kHead, kEntry, count);
    if (!reason.empty()) {
        return reason;
    }
    update.switchId = BigEndian::Get32(VxlanEntryRow::At(data, kSwitchId));
    update.flag = *VxlanEntryRow::At(data, kFlag);
    std::vector<VxlanUuid> none;
    VxlanEntryRow::Split(data, kHead, kEntry, count, 0, none, update.routingDomains,
                         [](const uint8_t* at) {
                             VxlanUuid domain;
                             std::copy_n(at, domain.size(), domain.begin());
                             return domain;
                         });
    return {};
}

}  // namespace CfgAgent
