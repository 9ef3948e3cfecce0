#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "l3/codec/RtxArpTable.h"
#include "l3/codec/RtxBridgeEndpoint.h"
#include "l3/codec/RtxDadStatus.h"
#include "l3/codec/RtxMulticast.h"
#include "l3/codec/RtxPrefixList.h"
#include "l3/codec/RtxTunable.h"

namespace CfgAgent {

// The list and fixed entries of a router beside its LIFs and routes: ARP
// tables, tunables, DAD states, prefix lists, multicast and bridge
// endpoints. Readers take one whole entry and return why they refuse it.
class RtxTableCodec {
public:
    static constexpr size_t kMulticastLength = 70;
    static constexpr size_t kBridgeAddLength = 338;
    static constexpr size_t kBridgeDeleteLength = 132;

    // `RTXArpTableUpdatePB2TLV` and `RTXArpUpdatePB2TLV`.
    static bool BuildArpTable(const RtxArpTable& table, std::vector<uint8_t>& entry);
    static std::string ReadArpTable(std::span<const uint8_t> entry, RtxArpTable& table);
    // `RTXArpLimitAddPB2TLV`: sorted by name.
    static bool BuildTunables(uint32_t rtxId, std::vector<RtxTunable> tunables, std::vector<uint8_t>& entry);
    static std::string ReadTunables(std::span<const uint8_t> entry, uint32_t& rtxId, std::vector<RtxTunable>& tunables);
    // `RTXDadStatusUpdatePB2TLV`.
    static bool BuildDadStatus(uint32_t rtxId, const std::string& lifName, const std::vector<RtxDadStatus>& states,
                               std::vector<uint8_t>& entry);
    static std::string ReadDadStatus(std::span<const uint8_t> entry, uint32_t& rtxId, std::string& lifName,
                                     std::vector<RtxDadStatus>& states);
    // `RTXPrefixListAddPB2TLV`.
    static bool BuildPrefixList(const RtxPrefixList& list, std::vector<uint8_t>& entry);
    static std::string ReadPrefixList(std::span<const uint8_t> entry, RtxPrefixList& list);
    static std::vector<uint8_t> BuildMulticast(const RtxMulticast& multicast);
    static std::string ReadMulticast(std::span<const uint8_t> entry, RtxMulticast& multicast);
    // `RTXMulticastRouteAddPB2TLV`: no next hop removes the router's route.
    static bool BuildMulticastRoute(uint32_t rtxId, const std::vector<uint32_t>& nextHops, std::vector<uint8_t>& entry);
    static std::string ReadMulticastRoute(std::span<const uint8_t> entry, uint32_t& rtxId, std::vector<uint32_t>& nextHops);
    // `RTXBridgeEndpointAddPB2TLV` and `RTXBridgeEndpointDelPB2TLV`.
    static std::vector<uint8_t> BuildBridgeAdd(const RtxBridgeEndpoint& endpoint);
    static std::vector<uint8_t> BuildBridgeDelete(const RtxBridgeEndpoint& endpoint);
    // Either kind; `removed` tells which.
    static std::string ReadBridge(std::span<const uint8_t> entry, RtxBridgeEndpoint& endpoint, bool& removed);
};

}  // namespace CfgAgent
