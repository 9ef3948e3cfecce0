#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "dplink/MacNumber.h"

namespace CfgAgent {

// The codes and field widths of the port control protocol (KCP) between the
// agent and the kernel's switching module.

enum KcpMessageType : uint16_t {
    KCP_MSG_INIT = 1,
    KCP_MSG_UPDATE = 2,
    KCP_MSG_NOTIFICATION = 3,
    KCP_MSG_QUERY = 4,
    KCP_MSG_SESSION_CONTROL = 5,
};

// Bit 7 of an Update's flag byte: more messages of the same sequence follow.
constexpr uint8_t KCP_UPDATE_MORE = 0x80;

enum KcpOperation : uint8_t {
    KCP_OP_UPDATE = 1,
    KCP_OP_DELETE = 2,
    KCP_OP_FULL_SYNC = 3,
};

enum KcpInitDataType : uint16_t {
    KCP_INIT_MAX_MSG_LEN = 1,
};

enum KcpQueryDataType : uint16_t {
    KCP_QUERY_DP_STATUS = 1,
};

enum KcpSessionDataType : uint16_t {
    KCP_VIF_SESSION_CONTROL = 1,
};

enum KcpSessionControlType : uint8_t {
    KCP_SESSION_OPEN = 1,
    KCP_SESSION_OPEN_ACK = 2,
    KCP_SESSION_FULL_SYNC_END = 3,
    KCP_SESSION_CLOSE = 4,
};

// The only session control value that is not zero outside Session Open.
constexpr uint16_t KCP_SESSION_MAX_MSG_LEN = 10240;

enum KcpNotificationType : uint16_t {
    KCP_NOTIFY_DP_STATUS = 1,
    KCP_NOTIFY_PORT_PROPERTY_OUT_OF_SYNC = 2,
    KCP_NOTIFY_TAKNIC_PROPERTY_OUT_OF_SYNC = 3,
    KCP_NOTIFY_PORT_CONTAINER_FULL_SYNC = 4,
};

// Any DP status other than this one means Sync.
constexpr uint8_t KCP_DP_OUT_OF_SYNC = 1;

enum KcpSyncType : uint16_t {
    KCP_SYNC_PORT_PROPERTIES = 1,
    KCP_SYNC_PORT_CONTAINER_LIST = 2,
    KCP_SYNC_BOTH = 3,
};

enum KcpUpdateDataType : uint16_t {
    KCP_VIF_UPDATE = 1,
    KCP_PORT_PROPERTY_UPDATE = 2,
    KCP_PORT_LIST_UPDATE = 3,
    KCP_TAKNIC_PROPERTY_UPDATE = 4,
    KCP_TAKNIC_LIST_UPDATE = 5,
    KCP_HDS_PROPERTY_UPDATE = 6,
    KCP_CONTAINER_UPDATE = 7,
    KCP_CONTAINER_LIST_UPDATE = 8,
    KCP_PORT_CONTAINER_LIST_UPDATE = 9,
    KCP_HDS_LIST_UPDATE = 10,
    KCP_UPLINK_UPDATE = 11,
};

enum KcpVifType : uint8_t {
    KCP_VIF_VNIC = 1,
    KCP_VIF_TAKNIC = 2,
    KCP_VIF_CONTAINER = 3,
    KCP_VIF_CRXPORT = 4,
    KCP_VIF_SRIOV = 5,
    KCP_VIF_DVPGPORT = 6,
};

enum KcpVifPropertyType : uint16_t {
    KCP_VIF_STATUS = 1,
    KCP_VIF_MAC = 2,
    KCP_VIF_DISCOVERED_BINDINGS = 3,
};

enum KcpVifStatus : uint8_t {
    KCP_VIF_CONNECT = 1,
    KCP_VIF_DISCONNECT = 2,
};

// Widths of the fixed text fields.
constexpr size_t KCP_VIF_ID_LEN = 48;
constexpr size_t KCP_SWITCH_ID_LEN = 64;
constexpr size_t KCP_TAKNIC_NAME_LEN = 16;
constexpr size_t KCP_HDS_ID_LEN = 64;
constexpr size_t KCP_CLIENT_NAME_LEN = 20;
constexpr size_t KCP_ALIAS_LEN = 81;

using KcpMac = MacBytes;
// IPv4 takes the first 4 bytes, in network order.
using KcpIp = std::array<uint8_t, 16>;

}  // namespace CfgAgent
