#include "l2/codec/VxlanVifUpdateCodec.h"

#include "dplink/FixedText.h"
#include "l2/codec/VxlanEntryRow.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kStatus = 4;

}  // namespace

bool VxlanVifUpdateCodec::Build(const VxlanVifUpdate& update, std::vector<uint8_t>& tlv) {
    const std::vector<std::string> none;
    if (!VxlanEntryRow::Fill(tlv, VXLAN_DATATYPE_VIF, kHead, VXLAN_VIF_ID_LEN, none,
                             update.vifIds, [](uint8_t* at, const std::string& vifId) {
                                 FixedText::Write(at, VXLAN_VIF_ID_LEN, vifId);
                             })) {
        return false;
    }
    tlv[kStatus] = update.status;
    return true;
}

std::string VxlanVifUpdateCodec::Read(const Tlv& data, VxlanVifUpdate& update) {
    if (data.Type() != VXLAN_DATATYPE_VIF) {
        return "data type " + std::to_string(data.Type()) + " is not VXLAN_DATATYPE_VIF";
    }
    size_t count = 0;
    std::string reason = VxlanEntryRow::Count(data, kHead, VXLAN_VIF_ID_LEN, count);
    if (!reason.empty()) {
        return reason;
    }
    update.status = *VxlanEntryRow::At(data, kStatus);
    std::vector<std::string> none;
    VxlanEntryRow::Split(data, kHead, VXLAN_VIF_ID_LEN, count, 0, none, update.vifIds,
                         [](const uint8_t* at) { return FixedText::Read(at, VXLAN_VIF_ID_LEN); });
    return {};
}

}  // namespace CfgAgent
