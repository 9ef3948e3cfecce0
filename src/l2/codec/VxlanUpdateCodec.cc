#include "l2/codec/VxlanUpdateCodec.h"

#include "l2/codec/VxlanMessage.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

bool VxlanUpdateCodec::Build(const std::vector<std::vector<uint8_t>>& row,
                             std::vector<uint8_t>& message) {
    return VxlanMessage::Wrap(VXLAN_MSG_UPDATE, row, message);
}

bool VxlanUpdateCodec::Pack(const std::vector<std::vector<uint8_t>>& row, size_t maxLength,
                            std::vector<std::vector<uint8_t>>& messages) {
    messages.clear();
    std::vector<std::vector<uint8_t>> part;
    size_t length = VxlanMessage::kRowOffset;
    const auto flush = [&]() {
        messages.emplace_back();
        const bool built = Build(part, messages.back());
        part.clear();
        length = VxlanMessage::kRowOffset;
        return built;
    };
    for (const auto& tlv : row) {
        if (VxlanMessage::kRowOffset + tlv.size() > maxLength) {
            return false;
        }
        if (length + tlv.size() > maxLength && !flush()) {
            return false;
        }
        part.push_back(tlv);
        length += tlv.size();
    }
    return part.empty() || flush();
}

std::string VxlanUpdateCodec::Read(std::span<const uint8_t> bytes, std::vector<Tlv>& row) {
    row.clear();
    std::string reason = VxlanMessage::Expect(bytes, VXLAN_MSG_UPDATE);
    return reason.empty() ? VxlanMessage::Row(bytes, row) : reason;
}

}  // namespace CfgAgent
