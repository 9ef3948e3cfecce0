#include "l2/codec/VxlanTepStateCodec.h"

#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"
#include "l2/codec/VxlanMessage.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

// In the value.
constexpr size_t kSwitchName = 0;
constexpr size_t kTaknicName = 81;
constexpr size_t kAction = 97;
constexpr size_t kTaknicState = 101;
constexpr size_t kIpv6 = 105;

}  // namespace

std::vector<uint8_t> VxlanTepStateCodec::Build(const VxlanTepState& state) {
    std::vector<uint8_t> message;
    VxlanMessage::Allocate(message, VXLAN_MSG_TEP_STATE, kMessageLength);
    uint8_t* data = message.data() + VxlanMessage::kRowOffset;
    Tlv::WriteHeader(data, state.dataType, Tlv::kHeaderSize + kValueSize);
    uint8_t* value = data + Tlv::kHeaderSize;
    FixedText::Write(value + kSwitchName, VXLAN_SWITCH_NAME_LEN, state.switchName);
    FixedText::Write(value + kTaknicName, VXLAN_TAKNIC_NAME_LEN, state.taknicName);
    BigEndian::Put32(value + kAction, state.action);
    BigEndian::Put32(value + kTaknicState, state.taknicState);
    value[kIpv6] = state.ipv6 ? 1 : 0;
    return message;
}

std::string VxlanTepStateCodec::Read(std::span<const uint8_t> bytes, VxlanTepState& state) {
    std::string reason = VxlanMessage::Expect(bytes, VXLAN_MSG_TEP_STATE);
    std::vector<Tlv> row;
    if (reason.empty()) {
        reason = VxlanMessage::Row(bytes, row);
    }
    if (!reason.empty()) {
        return reason;
    }
    if (row.size() != 1) {
        return "TEP state holds " + std::to_string(row.size()) + " data TLVs, not 1";
    }
    const Tlv& data = row.front();
    if (data.Type() < VXLAN_TEP_FAULT || data.Type() > VXLAN_TEP_HA_AUTO_RECOVERY) {
        return "unsupported TEP state data type " + std::to_string(data.Type());
    }
    if (data.ValueLength() < kValueSize) {
        return "TEP state value of " + std::to_string(data.ValueLength()) +
               " bytes is shorter than 106";
    }
    const uint8_t* value = data.Value().data();
    state.dataType = data.Type();
    state.switchName = FixedText::Read(value + kSwitchName, VXLAN_SWITCH_NAME_LEN);
    state.taknicName = FixedText::Read(value + kTaknicName, VXLAN_TAKNIC_NAME_LEN);
    state.action = BigEndian::Get32(value + kAction);
    state.taknicState = BigEndian::Get32(value + kTaknicState);
    state.ipv6 = value[kIpv6] != 0;
    return {};
}

}  // namespace CfgAgent
