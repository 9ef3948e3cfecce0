#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "l3/codec/RtxRoute.h"

namespace CfgAgent {

// Route update entries (type 5): one route added with its next hops, or one
// removed. Two of an added route's size fields are one byte and keep only
// the low byte; the entry's length stays exact and is what counts.
class RtxRouteCodec {
public:
    static constexpr size_t kHopV4 = 70;
    static constexpr size_t kHopV6 = 82;

    static size_t AddedLength(bool ipv6, size_t hops) { return (ipv6 ? 39 : 27) + hops * (ipv6 ? kHopV6 : kHopV4); }
    static size_t RemovedLength(bool ipv6) { return ipv6 ? 32 : 20; }
    static size_t NextHopUpdateLength(bool ipv6, size_t hops) {
        return (ipv6 ? 36 : 24) + hops * (ipv6 ? kHopV6 : kHopV4);
    }

    // `RTXRouteAddPB2TLV`; false past 65535 bytes.
    static bool BuildAdd(const RtxRoute& route, std::vector<uint8_t>& entry);
    // `RTXRouteDelPB2TLV`: the destination alone.
    static std::vector<uint8_t> BuildDelete(const RtxRoute& route);
    // `RTXRouteNHUpdatePB2TLV` (entry 20): the route's `nextHops` added and
    // `removed` taken off; removed ones carry their type and address alone.
    static bool BuildNextHopUpdate(const RtxRoute& route, const std::vector<RtxNextHop>& removed,
                                   std::vector<uint8_t>& entry);
    static std::string ReadNextHopUpdate(std::span<const uint8_t> entry, RtxRoute& route,
                                         std::vector<RtxNextHop>& removed);
    // A whole route entry; `removed` tells which kind. Empty when it reads,
    // otherwise why not.
    static std::string Read(std::span<const uint8_t> entry, RtxRoute& route, bool& removed);
};

}  // namespace CfgAgent
