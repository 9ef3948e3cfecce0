#include "l2/codec/VxlanGroupAssociationCodec.h"

#include <algorithm>

#include "dplink/BigEndian.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kSwitchId = 4;
// A switch's association.
constexpr size_t kVni = 8;
constexpr size_t kSwitchDelete = 12;
constexpr size_t kSwitchLabel = 14;
// A routing domain's.
constexpr size_t kRoutingDomain = 8;
constexpr size_t kDomainDelete = 24;
constexpr size_t kDomainLabel = 26;

}  // namespace

bool VxlanGroupAssociationCodec::Build(const VxlanGroupAssociation& association,
                                       std::vector<uint8_t>& tlv) {
    const bool domain = association.routingDomainSide;
    const size_t length = domain ? kRoutingDomainLength : kSwitchLength;
    tlv.assign(length, 0);
    Tlv::WriteHeader(tlv.data(), domain ? VXLAN_DATATYPE_RD_VTEP_GROUP : VXLAN_DATATYPE_LS_VTEP_GROUP,
                     length);
    BigEndian::Put32(tlv.data() + kSwitchId, association.switchId);
    if (domain) {
        std::copy(association.routingDomain.begin(), association.routingDomain.end(),
                  tlv.data() + kRoutingDomain);
    } else {
        BigEndian::Put32(tlv.data() + kVni, association.vni);
    }
    BigEndian::Put16(tlv.data() + (domain ? kDomainDelete : kSwitchDelete),
                     association.deleted ? 1 : 0);
    BigEndian::Put32(tlv.data() + (domain ? kDomainLabel : kSwitchLabel), association.label);
    return true;
}

std::string VxlanGroupAssociationCodec::Read(const Tlv& data,
                                             VxlanGroupAssociation& association) {
    const bool domain = data.Type() == VXLAN_DATATYPE_RD_VTEP_GROUP;
    if (!domain && data.Type() != VXLAN_DATATYPE_LS_VTEP_GROUP) {
        return "data type " + std::to_string(data.Type()) + " is not a VTEP group association";
    }
    const size_t length = domain ? kRoutingDomainLength : kSwitchLength;
    if (data.Length() != length) {
        return VxlanEntryRow::Name(data.Type()) + " is " + std::to_string(length) +
               " bytes, not " + std::to_string(data.Length());
    }
    const uint16_t deleteFlag =
        BigEndian::Get16(VxlanEntryRow::At(data, domain ? kDomainDelete : kSwitchDelete));
    if (deleteFlag > 1) {
        return VxlanEntryRow::Name(data.Type()) + " delete flag " + std::to_string(deleteFlag) +
               " is neither 0 nor 1";
    }
    association = VxlanGroupAssociation{};
    association.routingDomainSide = domain;
    association.switchId = BigEndian::Get32(VxlanEntryRow::At(data, kSwitchId));
    if (domain) {
        std::copy_n(VxlanEntryRow::At(data, kRoutingDomain), association.routingDomain.size(),
                    association.routingDomain.begin());
    } else {
        association.vni = BigEndian::Get32(VxlanEntryRow::At(data, kVni));
    }
    association.deleted = deleteFlag == 1;
    association.label =
        BigEndian::Get32(VxlanEntryRow::At(data, domain ? kDomainLabel : kSwitchLabel));
    return {};
}

}  // namespace CfgAgent
