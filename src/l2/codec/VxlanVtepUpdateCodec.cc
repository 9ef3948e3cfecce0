#include "l2/codec/VxlanVtepUpdateCodec.h"

#include "l2/codec/VxlanEntryCodec.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kRemoved = 12;
constexpr size_t kEntry = VxlanEntryCodec::kVtepEntrySize;

}  // namespace

bool VxlanVtepUpdateCodec::Build(const VxlanVtepUpdate& update, std::vector<uint8_t>& tlv) {
    return VxlanEntryRow::BuildCounted(tlv, VXLAN_DATATYPE_VTEP_MBR, kHead, kEntry, kRemoved, update,
                                       VxlanEntryCodec::WriteVtep);
}

std::string VxlanVtepUpdateCodec::Read(const Tlv& data, VxlanVtepUpdate& update) {
    if (data.Type() != VXLAN_DATATYPE_VTEP_MBR) {
        return VxlanEntryRow::NotOfType(data, VXLAN_DATATYPE_VTEP_MBR);
    }
    return VxlanEntryRow::ReadCounted(data, kHead, kEntry, kRemoved, update,
                                      VxlanEntryCodec::ReadVtep);
}

}  // namespace CfgAgent
