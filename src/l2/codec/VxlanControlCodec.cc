#include "l2/codec/VxlanControlCodec.h"

#include <algorithm>

#include "dplink/BigEndian.h"
#include "l2/codec/VxlanMessage.h"
#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kSwitchId = 4;

namespace session {
constexpr size_t kDataType = 4;
constexpr size_t kDataLength = 6;
constexpr size_t kControl = 8;
constexpr size_t kSessionId = 9;
constexpr uint16_t kDataLengthValue = 9;
}  // namespace session

namespace membership {
constexpr size_t kVni = 8;
constexpr size_t kOperation = 12;
}  // namespace membership

namespace domain {
constexpr size_t kOperation = 8;
constexpr size_t kRoutingDomain = 9;
constexpr size_t kGlobal = 25;
}  // namespace domain

namespace controller {
constexpr size_t kVni = 8;
constexpr size_t kAddressType = 12;
constexpr size_t kIpv4 = 16;
constexpr size_t kIpv6 = 20;
}  // namespace controller

constexpr size_t kFlag = 8;
constexpr size_t kErrCode = 4;
constexpr size_t kErrSubCode = 6;

std::vector<uint8_t> Fixed(uint16_t type, size_t length) {
    std::vector<uint8_t> message;
    VxlanMessage::Allocate(message, type, length);
    return message;
}

std::vector<uint8_t> SwitchFlag(uint16_t type, const VxlanSwitchFlag& change) {
    auto message = Fixed(type, VxlanControlCodec::kSwitchFlagLength);
    BigEndian::Put32(message.data() + kSwitchId, change.switchId);
    message[kFlag] = change.value;
    return message;
}

std::string ReadSwitchFlag(std::span<const uint8_t> bytes, uint16_t type,
                           VxlanSwitchFlag& change) {
    std::string reason =
        VxlanMessage::ExpectFixed(bytes, type, VxlanControlCodec::kSwitchFlagLength);
    if (reason.empty()) {
        change.switchId = BigEndian::Get32(bytes.data() + kSwitchId);
        change.value = bytes[kFlag];
    }
    return reason;
}

}  // namespace

std::vector<uint8_t> VxlanControlCodec::BuildSession(const VxlanSession& control) {
    auto message = Fixed(VXLAN_MSG_SESSION_CONTROL, kSessionLength);
    BigEndian::Put16(message.data() + session::kDataType, VXLAN_SESSION_DATATYPE);
    BigEndian::Put16(message.data() + session::kDataLength, session::kDataLengthValue);
    message[session::kControl] = control.controlType;
    BigEndian::Put32(message.data() + session::kSessionId, control.sessionId);
    return message;
}

std::string VxlanControlCodec::ReadSession(std::span<const uint8_t> bytes,
                                           VxlanSession& control) {
    std::string reason = VxlanMessage::ExpectFixed(bytes, VXLAN_MSG_SESSION_CONTROL, kSessionLength);
    if (!reason.empty()) {
        return reason;
    }
    const uint16_t dataType = BigEndian::Get16(bytes.data() + session::kDataType);
    if (dataType != VXLAN_SESSION_DATATYPE) {
        return "unsupported session control data type " + std::to_string(dataType);
    }
    const uint16_t dataLength = BigEndian::Get16(bytes.data() + session::kDataLength);
    if (dataLength != session::kDataLengthValue) {
        return "session control data length " + std::to_string(dataLength) + ", not 9";
    }
    control.controlType = bytes[session::kControl];
    control.sessionId = BigEndian::Get32(bytes.data() + session::kSessionId);
    return {};
}

const char* VxlanControlCodec::SessionName(uint8_t controlType) {
    switch (controlType) {
        case VXLAN_SESSION_OPEN:
            return "Session Open";
        case VXLAN_SESSION_OPEN_ACK:
            return "Session Open ACK";
        case VXLAN_SESSION_FULL_SYNC_END:
            return "Session Full Sync End";
        case VXLAN_SESSION_CLOSE:
            return "Session Close";
        default:
            return nullptr;
    }
}

std::vector<uint8_t> VxlanControlCodec::BuildVniMembership(const VxlanVniMembership& change) {
    auto message = Fixed(VXLAN_MSG_VNI_MEMBERSHIP, kVniMembershipLength);
    BigEndian::Put32(message.data() + kSwitchId, change.switchId);
    BigEndian::Put32(message.data() + membership::kVni, change.vni);
    message[membership::kOperation] = change.operation;
    return message;
}

std::string VxlanControlCodec::ReadVniMembership(std::span<const uint8_t> bytes,
                                                 VxlanVniMembership& change) {
    std::string reason =
        VxlanMessage::ExpectFixed(bytes, VXLAN_MSG_VNI_MEMBERSHIP, kVniMembershipLength);
    if (reason.empty()) {
        change.switchId = BigEndian::Get32(bytes.data() + kSwitchId);
        change.vni = BigEndian::Get32(bytes.data() + membership::kVni);
        change.operation = bytes[membership::kOperation];
    }
    return reason;
}

bool VxlanControlCodec::BuildLinkChange(const VxlanLinkChange& change,
                                        std::vector<uint8_t>& message) {
    if (change.entries.size() > (Tlv::kMaxLength - kLinkChangeHead) / kLinkEntrySize ||
        !VxlanMessage::Allocate(message, VXLAN_MSG_LINK_CHANGE,
                                kLinkChangeHead + kLinkEntrySize * change.entries.size())) {
        return false;
    }
    BigEndian::Put32(message.data() + kSwitchId, change.switchId);
    message[kFlag] = change.operation;
    uint8_t* at = message.data() + kLinkChangeHead;
    for (const VxlanLinkChange::Entry& entry : change.entries) {
        BigEndian::Put32(at, entry.vni);
        at[4] = entry.mcastProxy;
        at[5] = entry.arpProxy;
        at += kLinkEntrySize;
    }
    return true;
}

std::string VxlanControlCodec::ReadLinkChange(std::span<const uint8_t> bytes,
                                              VxlanLinkChange& change) {
    std::string reason = VxlanMessage::Expect(bytes, VXLAN_MSG_LINK_CHANGE);
    if (!reason.empty()) {
        return reason;
    }
    if (bytes.size() < kLinkChangeHead || (bytes.size() - kLinkChangeHead) % kLinkEntrySize != 0) {
        return "Link change of " + std::to_string(bytes.size()) +
               " bytes is not 9 and whole 6-byte entries";
    }
    change.switchId = BigEndian::Get32(bytes.data() + kSwitchId);
    change.operation = bytes[kFlag];
    change.entries.clear();
    for (size_t at = kLinkChangeHead; at < bytes.size(); at += kLinkEntrySize) {
        change.entries.push_back({BigEndian::Get32(bytes.data() + at), bytes[at + 4], bytes[at + 5]});
    }
    return {};
}

std::vector<uint8_t> VxlanControlCodec::BuildRdMembership(const VxlanRdMembership& change) {
    auto message = Fixed(VXLAN_MSG_ROUTING_DOMAIN_MEMBERSHIP, kRdMembershipLength);
    BigEndian::Put32(message.data() + kSwitchId, change.switchId);
    message[domain::kOperation] = change.operation;
    std::copy(change.routingDomain.begin(), change.routingDomain.end(),
              message.begin() + domain::kRoutingDomain);
    message[domain::kGlobal] = change.global;
    return message;
}

std::string VxlanControlCodec::ReadRdMembership(std::span<const uint8_t> bytes,
                                                VxlanRdMembership& change) {
    std::string reason = VxlanMessage::ExpectFixed(bytes, VXLAN_MSG_ROUTING_DOMAIN_MEMBERSHIP,
                                                   kRdMembershipLength);
    if (reason.empty()) {
        change.switchId = BigEndian::Get32(bytes.data() + kSwitchId);
        change.operation = bytes[domain::kOperation];
        std::copy_n(bytes.begin() + domain::kRoutingDomain, change.routingDomain.size(),
                    change.routingDomain.begin());
        change.global = bytes[domain::kGlobal];
    }
    return reason;
}

std::vector<uint8_t> VxlanControlCodec::BuildControllerIp(const VxlanControllerIp& update) {
    auto message = Fixed(VXLAN_MSG_CONTROLLER_IP, kControllerIpLength);
    BigEndian::Put32(message.data() + kSwitchId, update.switchId);
    BigEndian::Put32(message.data() + controller::kVni, update.vni);
    BigEndian::Put32(message.data() + controller::kAddressType, update.addressType);
    BigEndian::Put32(message.data() + controller::kIpv4, update.ipv4);
    std::copy(update.ipv6.begin(), update.ipv6.end(), message.begin() + controller::kIpv6);
    return message;
}

std::string VxlanControlCodec::ReadControllerIp(std::span<const uint8_t> bytes,
                                                VxlanControllerIp& update) {
    std::string reason =
        VxlanMessage::ExpectFixed(bytes, VXLAN_MSG_CONTROLLER_IP, kControllerIpLength);
    if (reason.empty()) {
        update.switchId = BigEndian::Get32(bytes.data() + kSwitchId);
        update.vni = BigEndian::Get32(bytes.data() + controller::kVni);
        update.addressType = BigEndian::Get32(bytes.data() + controller::kAddressType);
        update.ipv4 = BigEndian::Get32(bytes.data() + controller::kIpv4);
        std::copy_n(bytes.begin() + controller::kIpv6, update.ipv6.size(), update.ipv6.begin());
    }
    return reason;
}

std::vector<uint8_t> VxlanControlCodec::BuildInstanceChange(const VxlanSwitchFlag& change) {
    return SwitchFlag(VXLAN_MSG_INSTANCE_CHANGE, change);
}

std::string VxlanControlCodec::ReadInstanceChange(std::span<const uint8_t> bytes,
                                                  VxlanSwitchFlag& change) {
    return ReadSwitchFlag(bytes, VXLAN_MSG_INSTANCE_CHANGE, change);
}

std::vector<uint8_t> VxlanControlCodec::BuildGlobalReplication(const VxlanSwitchFlag& change) {
    return SwitchFlag(VXLAN_MSG_GLOBAL_REPLICATION, change);
}

std::string VxlanControlCodec::ReadGlobalReplication(std::span<const uint8_t> bytes,
                                                     VxlanSwitchFlag& change) {
    return ReadSwitchFlag(bytes, VXLAN_MSG_GLOBAL_REPLICATION, change);
}

std::vector<uint8_t> VxlanControlCodec::BuildNotification(const VxlanNotification& notification) {
    auto message = Fixed(VXLAN_MSG_NOTIFICATION, kNotificationLength);
    BigEndian::Put16(message.data() + kErrCode, notification.errCode);
    BigEndian::Put16(message.data() + kErrSubCode, notification.errSubCode);
    return message;
}

std::string VxlanControlCodec::ReadNotification(std::span<const uint8_t> bytes,
                                                VxlanNotification& notification) {
    std::string reason =
        VxlanMessage::ExpectFixed(bytes, VXLAN_MSG_NOTIFICATION, kNotificationLength);
    if (reason.empty()) {
        notification.errCode = BigEndian::Get16(bytes.data() + kErrCode);
        notification.errSubCode = BigEndian::Get16(bytes.data() + kErrSubCode);
    }
    return reason;
}

std::vector<uint8_t> VxlanControlCodec::BuildStateQuery() {
    auto message = Fixed(VXLAN_MSG_STATE_QUERY, kStateQueryLength);
    Tlv::WriteHeader(message.data() + VxlanMessage::kRowOffset, VXLAN_OUT_OF_SYNC,
                     Tlv::kHeaderSize);
    return message;
}

std::string VxlanControlCodec::ReadStateQuery(std::span<const uint8_t> bytes) {
    std::string reason = VxlanMessage::Expect(bytes, VXLAN_MSG_STATE_QUERY);
    std::vector<Tlv> row;
    if (reason.empty()) {
        reason = VxlanMessage::Row(bytes, row);
    }
    for (const Tlv& data : row) {
        if (!reason.empty()) {
            break;
        }
        if (data.Type() != VXLAN_OUT_OF_SYNC) {
            reason = "unsupported state query data type " + std::to_string(data.Type());
        } else if (data.ValueLength() != 0) {
            reason = "unsupported state query data length " + std::to_string(data.Length());
        }
    }
    return reason;
}

std::vector<uint8_t> VxlanControlCodec::BuildStateReport(bool outOfSync) {
    auto message = Fixed(VXLAN_MSG_STATE_REPORT, kStateReportLength);
    Tlv::WriteHeader(message.data() + VxlanMessage::kRowOffset, VXLAN_OUT_OF_SYNC,
                     Tlv::kHeaderSize + 1);
    message[kStateReportLength - 1] = outOfSync ? 1 : 0;
    return message;
}

std::string VxlanControlCodec::ReadStateReport(std::span<const uint8_t> bytes, bool& outOfSync) {
    std::string reason = VxlanMessage::Expect(bytes, VXLAN_MSG_STATE_REPORT);
    std::vector<Tlv> row;
    if (reason.empty()) {
        reason = VxlanMessage::Row(bytes, row);
    }
    if (reason.empty() && row.empty()) {
        reason = "State report without an OutOfSync Report";
    }
    for (const Tlv& data : row) {
        if (!reason.empty()) {
            break;
        }
        if (data.Type() != VXLAN_OUT_OF_SYNC) {
            reason = "unsupported state report data type " + std::to_string(data.Type());
        } else if (data.ValueLength() != 1) {
            reason = "unsupported state report data length " + std::to_string(data.Length());
        } else {
            outOfSync = data.Value()[0] != 0;
        }
    }
    return reason;
}

}  // namespace CfgAgent
