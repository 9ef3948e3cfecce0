#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "dplink/MacNumber.h"

namespace CfgAgent {

// The codes and field widths of the control protocol between the agent and
// the kernel's overlay L2 module.

enum VxlanMessageType : uint16_t {
    VXLAN_MSG_INIT = 1,
    VXLAN_MSG_CONFIGURE = 2,
    VXLAN_MSG_VNI_MEMBERSHIP = 3,
    VXLAN_MSG_LINK_CHANGE = 4,
    VXLAN_MSG_UPDATE = 5,
    VXLAN_MSG_QUERY = 6,
    VXLAN_MSG_NOTIFICATION = 7,
    VXLAN_MSG_STATE_QUERY = 11,
    VXLAN_MSG_STATE_REPORT = 12,
    VXLAN_MSG_SESSION_CONTROL = 13,
    VXLAN_MSG_ROUTING_DOMAIN_MEMBERSHIP = 14,
    VXLAN_MSG_INSTANCE_CHANGE = 15,
    VXLAN_MSG_GLOBAL_REPLICATION = 16,
    VXLAN_MSG_TEP_STATE = 17,
    VXLAN_MSG_CONTROLLER_IP = 1001,
};

enum VxlanConfigureItemType : uint16_t {
    VXLAN_CFG_MAX_MSG_LEN = 1,
    VXLAN_CFG_FREQ_PERIOD = 3,
    VXLAN_CFG_FREQ_QUERY = 4,
    VXLAN_CFG_FREQ_UPDATE = 5,
    VXLAN_CFG_BTE_AGEING = 6,
    VXLAN_CFG_ARP_AGEING = 7,
    VXLAN_CFG_BFD = 8,
    VXLAN_CFG_EVPN_BFD = 9,
    VXLAN_CFG_MCAST_PROXY = 257,
    VXLAN_CFG_ARP_PROXY = 258,
    VXLAN_CFG_ROUTING_DOMAIN = 259,
    VXLAN_CFG_MAC_LIMIT = 261,
};

enum VxlanDataType : uint16_t {
    VXLAN_DATATYPE_IPv4 = 2,
    VXLAN_DATATYPE_IPv6 = 3,
    VXLAN_DATATYPE_VMMAC = 4,
    VXLAN_DATATYPE_VTEP_MBR = 5,
    VXLAN_DATATYPE_ARPv4 = 6,
    VXLAN_DATATYPE_NDv6 = 7,
    VXLAN_DATATYPE_VIF = 8,
    VXLAN_DATATYPE_ROUTING_DOMAIN_VTEP_MBR = 9,
    VXLAN_DATATYPE_ROUTING_DOMAIN_LIST = 10,
    VXLAN_DATATYPE_BFD_SESSION = 11,
    VXLAN_DATATYPE_VTEP_GROUP = 12,
    VXLAN_DATATYPE_LS_VTEP_GROUP = 14,
    VXLAN_DATATYPE_RD_VTEP_GROUP = 15,
};

enum VxlanSessionControlType : uint8_t {
    VXLAN_SESSION_OPEN = 1,
    VXLAN_SESSION_OPEN_ACK = 2,
    VXLAN_SESSION_FULL_SYNC_END = 3,
    VXLAN_SESSION_CLOSE = 4,
};

// The one data type of a session control, of a state query and of a state report.
constexpr uint16_t VXLAN_SESSION_DATATYPE = 1;
constexpr uint16_t VXLAN_OUT_OF_SYNC = 1;

enum VxlanMembershipOperation : uint8_t {
    VXLAN_JOIN = 1,
    VXLAN_LEAVE = 2,
};

enum VxlanLinkOperation : uint8_t {
    VXLAN_LINK_UP = 0,
    VXLAN_LINK_DOWN = 1,
    VXLAN_LINK_SYNC_END = 2,
};

enum VxlanAddressType : uint32_t {
    VXLAN_ADDR_IPV4 = 1,
    VXLAN_ADDR_IPV6 = 2,
    VXLAN_ADDR_BOTH = 3,
};

enum VxlanEncapType : uint8_t {
    VXLAN_ENCAP_VXLAN = 0,
    VXLAN_ENCAP_VXSTT = 1,
    VXLAN_ENCAP_GENEVE = 2,
};

enum VxlanTepStateType : uint16_t {
    VXLAN_TEP_FAULT = 1,
    VXLAN_TEP_HA_ACTIVE = 2,
    VXLAN_TEP_HA_AUTO_RECOVERY = 3,
};

// A VTEP group of this kind holds whole VTEP entries; the others hold the
// shorter member entry.
constexpr uint8_t VXLAN_GROUP_KIND_VTEP = 3;
constexpr size_t VXLAN_GROUP_MAX_MEMBERS = 16;
constexpr size_t VXLAN_GROUP_MAX_VTEPS = 32;

constexpr size_t VXLAN_HDS_ID_LEN = 48;
constexpr size_t VXLAN_VIF_ID_LEN = 160;
constexpr size_t VXLAN_SWITCH_NAME_LEN = 81;
constexpr size_t VXLAN_TAKNIC_NAME_LEN = 16;

using VxlanMac = MacBytes;
// IPv4 takes the first 4 bytes, in network order.
using VxlanIp = std::array<uint8_t, 16>;
// A routing domain UUID in the byte order of its text form.
using VxlanUuid = std::array<uint8_t, 16>;

}  // namespace CfgAgent
