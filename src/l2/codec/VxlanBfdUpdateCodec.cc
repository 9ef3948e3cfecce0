#include "l2/codec/VxlanBfdUpdateCodec.h"

#include "l2/codec/VxlanEntryCodec.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kRemoved = 8;
constexpr size_t kEntry = VxlanEntryCodec::kBfdEntrySize;

}  // namespace

bool VxlanBfdUpdateCodec::Build(const VxlanBfdUpdate& update, std::vector<uint8_t>& tlv) {
    return VxlanEntryRow::BuildCounted(tlv, VXLAN_DATATYPE_BFD_SESSION, kHead, kEntry, kRemoved, update,
                                       VxlanEntryCodec::WriteBfd);
}

std::string VxlanBfdUpdateCodec::Read(const Tlv& data, VxlanBfdUpdate& update) {
    if (data.Type() != VXLAN_DATATYPE_BFD_SESSION) {
        return VxlanEntryRow::NotOfType(data, VXLAN_DATATYPE_BFD_SESSION);
    }
    return VxlanEntryRow::ReadCounted(data, kHead, kEntry, kRemoved, update,
                                      VxlanEntryCodec::ReadBfd);
}

}  // namespace CfgAgent
