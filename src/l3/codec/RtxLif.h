#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "dplink/MacNumber.h"
#include "l3/codec/RtxTypes.h"

namespace CfgAgent {

// An address of a LIF: for IPv4 the mask is the netmask, for IPv6 the
// prefix length as a number.
struct RtxLifIp {
    bool ipv6 = false;
    uint32_t mask = 0;
    RtxIp address{};
    bool operator==(const RtxLifIp&) const = default;
};

struct RtxDhcpServer {
    bool ipv6 = false;
    RtxIp address{};
    bool operator==(const RtxDhcpServer&) const = default;
};

struct RtxNdraDomain {
    std::string name;  // at most 254 characters
    uint32_t lifetime = 0;
    bool operator==(const RtxNdraDomain&) const = default;
};

struct RtxNdraDns {
    RtxIp address{};
    uint32_t lifetime = 0;
    bool operator==(const RtxNdraDns&) const = default;
};

struct RtxNdraRoute {
    uint32_t prefixLength = 0;
    RtxIp address{};
    uint32_t lifetime = 0;
    uint8_t preference = 0;
    bool operator==(const RtxNdraRoute&) const = default;
};

// Router advertisement of the LIF: seven profile values, the first the
// preferred lifetime of a prefix, and its lists.
struct RtxNdra {
    uint8_t managed = 0;
    std::array<uint32_t, 7> values{};
    uint8_t flags = 0;
    uint8_t profileValue = 0;
    std::vector<RtxNdraDomain> domains;
    std::vector<RtxNdraDns> dnsServers;
    std::vector<RtxNdraRoute> routes;
    bool operator==(const RtxNdra&) const = default;
};

struct RtxPolicyPair {
    uint32_t prefixListIndex = 0;
    uint8_t nextHopType = 0;  // 1 MAC, 2 IPv4
    RtxIp nextHop{};
    bool operator==(const RtxPolicyPair&) const = default;
};

struct RtxPolicyGroup {
    uint8_t type = 0;
    std::vector<RtxPolicyPair> pairs;
    bool operator==(const RtxPolicyGroup&) const = default;
};

struct RtxNdraSubnet {
    uint32_t first = 0;
    uint32_t second = 0;
    std::vector<RtxLifIp> addresses;  // IPv6
    bool operator==(const RtxNdraSubnet&) const = default;
};

// One logical interface of a router. The presence bits of the DHCP relay,
// NDRA and NDRA subnet blocks and the always-set 0x0200 follow the content;
// `flags` carries the link type and the other bits.
struct RtxLif {
    uint32_t rtxId = 0;
    std::string name;
    std::string dvsUuid;
    uint8_t lifType = 0;
    uint16_t flags = 0;
    uint32_t lifId = 0;
    uint32_t mtu = 0;
    MacBytes mac{};
    uint8_t urpfMode = 0;
    uint32_t replication = 0;
    uint32_t ipSubnets = 0;
    std::vector<RtxLifIp> ips;
    std::vector<RtxDhcpServer> dhcpServers;
    std::optional<RtxNdra> ndra;
    std::vector<RtxPolicyGroup> policyGroups;
    std::vector<RtxNdraSubnet> ndraSubnets;
    bool operator==(const RtxLif&) const = default;
};

}  // namespace CfgAgent
