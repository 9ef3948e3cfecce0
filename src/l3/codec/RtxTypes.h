#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace CfgAgent {

// The codes and sizes of the control protocol between the agent and the
// kernel's distributed router module.

enum RtxMessageType : uint16_t {
    RTX_MSG_INIT = 1,
    RTX_MSG_CONFIGURE = 2,
    RTX_MSG_LINK_CHANGE = 3,
    RTX_MSG_UPDATE = 4,
    RTX_MSG_QUERY = 5,
    RTX_MSG_FLUSH = 6,
    RTX_MSG_ERROR = 7,
    RTX_MSG_INSTANCE_LIST = 8,
    RTX_MSG_INSTANCE_MARKER = 11,
    RTX_MSG_FULL_SYNC_END = 12,
    RTX_MSG_BRIDGE_MARKER = 13,
};

enum RtxEntryType : uint16_t {
    RTX_ENTRY_INSTANCE_REPORT = 3,
    RTX_ENTRY_LIF = 4,
    RTX_ENTRY_ROUTE = 5,
    RTX_ENTRY_FLUSH = 6,
    RTX_ENTRY_GLOBAL = 26,
    RTX_ENTRY_DAD_REPORT = 28,
};

enum RtxInstanceOperation : uint16_t {
    RTX_INSTANCE_ADD = 1,
    RTX_INSTANCE_DELETE = 2,
};

enum RtxFlushCommand : uint8_t {
    RTX_FLUSH_ALL_FIB = 1,
    RTX_FLUSH_LIF = 2,
};

// The family byte: IPv6 is 24, not the socket layer's 10.
constexpr uint8_t RTX_FAMILY_IPV4 = 2;
constexpr uint8_t RTX_FAMILY_IPV6 = 24;

// An UPDATE carries entries up to this many bytes, its header included.
constexpr size_t RTX_MAX_UPDATE = 4095;
constexpr size_t RTX_NAME_LEN = 64;
// A full sync request for this router ID asks for every router.
constexpr uint32_t RTX_ALL_ROUTERS = 0xFFFFFFFF;

// IPv4 takes the first 4 bytes, in network order.
using RtxIp = std::array<uint8_t, 16>;

}  // namespace CfgAgent
