#include "l2/codec/VxlanMessage.h"

#include <algorithm>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

const char* VxlanMessage::TypeName(uint16_t type) {
    switch (type) {
        case VXLAN_MSG_INIT:
            return "Init";
        case VXLAN_MSG_CONFIGURE:
            return "Configure";
        case VXLAN_MSG_VNI_MEMBERSHIP:
            return "VNI membership change";
        case VXLAN_MSG_LINK_CHANGE:
            return "Link change";
        case VXLAN_MSG_UPDATE:
            return "Update";
        case VXLAN_MSG_QUERY:
            return "Query";
        case VXLAN_MSG_NOTIFICATION:
            return "Notification";
        case VXLAN_MSG_STATE_QUERY:
            return "State query";
        case VXLAN_MSG_STATE_REPORT:
            return "State report";
        case VXLAN_MSG_SESSION_CONTROL:
            return "L2 Mapping Session control";
        case VXLAN_MSG_ROUTING_DOMAIN_MEMBERSHIP:
            return "Routing domain membership change";
        case VXLAN_MSG_INSTANCE_CHANGE:
            return "Instance change";
        case VXLAN_MSG_GLOBAL_REPLICATION:
            return "Global replication change";
        case VXLAN_MSG_TEP_STATE:
            return "TEP state";
        case VXLAN_MSG_CONTROLLER_IP:
            return "Controller IP Update";
        default:
            return nullptr;
    }
}

const char* VxlanMessage::DataTypeName(uint16_t type) {
    switch (type) {
        case VXLAN_DATATYPE_IPv4:
            return "VXLAN_DATATYPE_IPv4";
        case VXLAN_DATATYPE_IPv6:
            return "VXLAN_DATATYPE_IPv6";
        case VXLAN_DATATYPE_VMMAC:
            return "VXLAN_DATATYPE_VMMAC";
        case VXLAN_DATATYPE_VTEP_MBR:
            return "VXLAN_DATATYPE_VTEP_MBR";
        case VXLAN_DATATYPE_ARPv4:
            return "VXLAN_DATATYPE_ARPv4";
        case VXLAN_DATATYPE_NDv6:
            return "VXLAN_DATATYPE_NDv6";
        case VXLAN_DATATYPE_VIF:
            return "VXLAN_DATATYPE_VIF";
        case VXLAN_DATATYPE_ROUTING_DOMAIN_VTEP_MBR:
            return "VXLAN_DATATYPE_ROUTING_DOMAIN_VTEP_MBR";
        case VXLAN_DATATYPE_ROUTING_DOMAIN_LIST:
            return "VXLAN_DATATYPE_ROUTING_DOMAIN_LIST";
        case VXLAN_DATATYPE_BFD_SESSION:
            return "VXLAN_DATATYPE_BFD_SESSION";
        case VXLAN_DATATYPE_VTEP_GROUP:
            return "VXLAN_DATATYPE_VTEP_GROUP";
        case VXLAN_DATATYPE_LS_VTEP_GROUP:
            return "VXLAN_DATATYPE_LS_VTEP_GROUP";
        case VXLAN_DATATYPE_RD_VTEP_GROUP:
            return "VXLAN_DATATYPE_RD_VTEP_GROUP";
        default:
            return nullptr;
    }
}

std::optional<Tlv> VxlanMessage::Header(std::span<const uint8_t> bytes) {
    return Tlv::At(bytes, 0);
}

std::string VxlanMessage::Expect(std::span<const uint8_t> bytes, uint16_t type) {
    auto header = Header(bytes);
    if (!header) {
        return "message of " + std::to_string(bytes.size()) +
               " bytes does not hold the length its header claims";
    }
    if (header->Type() != type) {
        return "message type " + std::to_string(header->Type()) + " is not " +
               std::to_string(type);
    }
    if (header->Length() != bytes.size()) {
        return "length field " + std::to_string(header->Length()) + " does not match the " +
               std::to_string(bytes.size()) + " bytes framed";
    }
    return {};
}

std::string VxlanMessage::ExpectFixed(std::span<const uint8_t> bytes, uint16_t type,
                                      size_t length) {
    std::string reason = Expect(bytes, type);
    if (reason.empty() && bytes.size() != length) {
        reason = std::string(TypeName(type)) + " is " + std::to_string(length) + " bytes, not " +
                 std::to_string(bytes.size());
    }
    return reason;
}

std::string VxlanMessage::Row(std::span<const uint8_t> bytes, std::vector<Tlv>& row) {
    row.clear();
    auto header = Header(bytes);
    if (!header) {
        return "message header does not hold";
    }
    const auto proper = bytes.first(header->Length());
    size_t offset = kRowOffset;
    for (auto tlv = Tlv::At(proper, offset); tlv; tlv = tlv->Next(proper)) {
        row.push_back(*tlv);
        offset = tlv->End();
    }
    if (offset < proper.size()) {
        return "TLV at offset " + std::to_string(offset) + " overruns the message of " +
               std::to_string(proper.size()) + " bytes";
    }
    return {};
}

bool VxlanMessage::Allocate(std::vector<uint8_t>& message, uint16_t type, size_t length) {
    if (length < Tlv::kHeaderSize || length > Tlv::kMaxLength) {
        return false;
    }
    message.assign(length, 0);
    return Tlv::WriteHeader(message.data(), type, length);
}

bool VxlanMessage::Wrap(uint16_t type, const std::vector<std::vector<uint8_t>>& row,
                        std::vector<uint8_t>& message) {
    size_t length = kRowOffset;
    for (const auto& tlv : row) {
        length += tlv.size();
    }
    if (!Allocate(message, type, length)) {
        return false;
    }
    auto at = message.begin() + kRowOffset;
    for (const auto& tlv : row) {
        at = std::copy(tlv.begin(), tlv.end(), at);
    }
    return true;
}

}  // namespace CfgAgent
