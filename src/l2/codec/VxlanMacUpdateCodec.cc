#include "l2/codec/VxlanMacUpdateCodec.h"

#include "l2/codec/VxlanEntryCodec.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kRemoved = 12;
constexpr size_t kEntry = VxlanEntryCodec::kMacEntrySize;

}  // namespace

bool VxlanMacUpdateCodec::Build(const VxlanMacUpdate& update, std::vector<uint8_t>& tlv) {
    return VxlanEntryRow::BuildCounted(tlv, VXLAN_DATATYPE_VMMAC, kHead, kEntry, kRemoved, update,
                                       VxlanEntryCodec::WriteMac);
}

std::string VxlanMacUpdateCodec::Read(const Tlv& data, VxlanMacUpdate& update) {
    if (data.Type() != VXLAN_DATATYPE_VMMAC) {
        return VxlanEntryRow::NotOfType(data, VXLAN_DATATYPE_VMMAC);
    }
    return VxlanEntryRow::ReadCounted(data, kHead, kEntry, kRemoved, update,
                                      VxlanEntryCodec::ReadMac);
}

}  // namespace CfgAgent
