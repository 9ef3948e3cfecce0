#include "l3/codec/RtxRouteCodec.h"

#include <algorithm>

#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"
#include "dplink/Tlv.h"

namespace CfgAgent {

namespace {

constexpr size_t kRouteAt = 12;
constexpr uint8_t kNextHopBlock = 3;
constexpr uint16_t kNextHopEntry = 20;

size_t AddressSize(bool ipv6) { return ipv6 ? 16 : 4; }
uint8_t Family(bool ipv6) { return ipv6 ? RTX_FAMILY_IPV6 : RTX_FAMILY_IPV4; }

void PutHead(uint8_t* at, uint32_t rtxId, uint16_t removed, uint16_t added) {
    BigEndian::Put32(at + 4, rtxId);
    BigEndian::Put16(at + 8, removed);
    BigEndian::Put16(at + 10, added);
}

uint8_t* PutHop(uint8_t* at, const RtxNextHop& hop, bool ipv6) {
    at[0] = hop.type;
    FixedText::Write(at + 1, RTX_NAME_LEN, hop.egress.substr(0, RTX_NAME_LEN - 1));
    at[65] = static_cast<uint8_t>(AddressSize(ipv6));
    std::copy_n(hop.address.begin(), AddressSize(ipv6), at + 66);
    return at + 66 + AddressSize(ipv6);
}

}  // namespace

bool RtxRouteCodec::BuildAdd(const RtxRoute& route, std::vector<uint8_t>& entry) {
    const size_t length = AddedLength(route.ipv6, route.nextHops.size());
    if (length > Tlv::kMaxLength) {
        return false;
    }
    entry.assign(length, 0);
    uint8_t* at = entry.data();
    Tlv::WriteHeader(at, RTX_ENTRY_ROUTE, length);
    PutHead(at, route.rtxId, 0, 1);
    at[12] = static_cast<uint8_t>(length - kRouteAt);
    at[13] = 1;
    at[14] = Family(route.ipv6);
    at[15] = 1;
    at[18] = route.prefixLength;
    std::copy_n(route.destination.begin(), AddressSize(route.ipv6), at + 19);
    uint8_t* block = at + 19 + AddressSize(route.ipv6);
    const size_t hopSize = route.ipv6 ? kHopV6 : kHopV4;
    block[0] = kNextHopBlock;
    block[1] = static_cast<uint8_t>(4 + route.nextHops.size() * hopSize);
    block[3] = static_cast<uint8_t>(route.nextHops.size());
    uint8_t* hop = block + 4;
    for (const RtxNextHop& next : route.nextHops) {
        hop = PutHop(hop, next, route.ipv6);
    }
    return true;
}

std::vector<uint8_t> RtxRouteCodec::BuildDelete(const RtxRoute& route) {
    const size_t length = RemovedLength(route.ipv6);
    std::vector<uint8_t> entry(length, 0);
    uint8_t* at = entry.data();
    Tlv::WriteHeader(at, RTX_ENTRY_ROUTE, length);
    PutHead(at, route.rtxId, 1, 0);
    at[12] = route.ipv6 ? 20 : 8;
    at[13] = Family(route.ipv6);
    at[14] = 1;
    at[15] = route.prefixLength;
    std::copy_n(route.destination.begin(), AddressSize(route.ipv6), at + 16);
    return entry;
}

bool RtxRouteCodec::BuildNextHopUpdate(const RtxRoute& route, const std::vector<RtxNextHop>& removed,
                                       std::vector<uint8_t>& entry) {
    const size_t length = NextHopUpdateLength(route.ipv6, route.nextHops.size() + removed.size());
    if (length > Tlv::kMaxLength || route.nextHops.size() > 255 || removed.size() > 255) {
        return false;
    }
    entry.assign(length, 0);
    uint8_t* at = entry.data();
    Tlv::WriteHeader(at, kNextHopEntry, length);
    PutHead(at, route.rtxId, 1, 0);
    at[12] = static_cast<uint8_t>(length - kRouteAt);
    at[13] = Family(route.ipv6);
    at[14] = 1;
    at[15] = route.prefixLength;
    at[16] = static_cast<uint8_t>(route.nextHops.size());
    at[17] = static_cast<uint8_t>(removed.size());
    std::copy_n(route.destination.begin(), AddressSize(route.ipv6), at + 20);
    uint8_t* hop = at + 20 + AddressSize(route.ipv6);
    for (const RtxNextHop& next : route.nextHops) {
        hop = PutHop(hop, next, route.ipv6);
    }
    for (RtxNextHop next : removed) {
        next.egress.clear();
        hop = PutHop(hop, next, route.ipv6);
    }
    return true;
}

std::string RtxRouteCodec::ReadNextHopUpdate(std::span<const uint8_t> entry, RtxRoute& route,
                                             std::vector<RtxNextHop>& removed) {
    if (entry.size() < 24 || BigEndian::Get16(entry.data()) != kNextHopEntry ||
        BigEndian::Get16(entry.data() + 2) != entry.size()) {
        return "not a whole next hop entry";
    }
    const uint8_t* at = entry.data();
    if (at[13] != RTX_FAMILY_IPV4 && at[13] != RTX_FAMILY_IPV6) {
        return "family " + std::to_string(at[13]);
    }
    route = RtxRoute{};
    route.rtxId = BigEndian::Get32(at + 4);
    route.ipv6 = at[13] == RTX_FAMILY_IPV6;
    route.prefixLength = at[15];
    const size_t added = at[16];
    const size_t taken = at[17];
    if (entry.size() != NextHopUpdateLength(route.ipv6, added + taken)) {
        return std::to_string(added + taken) + " next hops in " + std::to_string(entry.size()) + " bytes";
    }
    const size_t address = AddressSize(route.ipv6);
    std::copy_n(at + 20, address, route.destination.begin());
    removed.clear();
    const uint8_t* hop = at + 20 + address;
    for (size_t i = 0; i < added + taken; ++i, hop += route.ipv6 ? kHopV6 : kHopV4) {
        RtxNextHop next;
        next.type = hop[0];
        next.egress = FixedText::Read(hop + 1, RTX_NAME_LEN);
        std::copy_n(hop + 66, address, next.address.begin());
        (i < added ? route.nextHops : removed).push_back(next);
    }
    return {};
}

std::string RtxRouteCodec::Read(std::span<const uint8_t> entry, RtxRoute& route, bool& removed) {
    if (entry.size() < 16 || BigEndian::Get16(entry.data()) != RTX_ENTRY_ROUTE ||
        BigEndian::Get16(entry.data() + 2) != entry.size()) {
        return "not a whole route entry";
    }
    const uint8_t* at = entry.data();
    const uint16_t removedCount = BigEndian::Get16(at + 8);
    const uint16_t addedCount = BigEndian::Get16(at + 10);
    if (removedCount + addedCount != 1) {
        return "removed " + std::to_string(removedCount) + " and added " + std::to_string(addedCount) +
               ": one route an entry";
    }
    route = RtxRoute{};
    route.rtxId = BigEndian::Get32(at + 4);
    removed = removedCount == 1;
    const uint8_t family = at[removed ? 13 : 14];
    if (family != RTX_FAMILY_IPV4 && family != RTX_FAMILY_IPV6) {
        return "family " + std::to_string(family);
    }
    route.ipv6 = family == RTX_FAMILY_IPV6;
    const size_t address = AddressSize(route.ipv6);
    if (removed) {
        if (entry.size() != RemovedLength(route.ipv6)) {
            return "a removed route of " + std::to_string(entry.size()) + " bytes";
        }
        route.prefixLength = at[15];
        std::copy_n(at + 16, address, route.destination.begin());
        return {};
    }
    if (entry.size() < AddedLength(route.ipv6, 0)) {
        return "an added route of " + std::to_string(entry.size()) + " bytes";
    }
    route.prefixLength = at[18];
    std::copy_n(at + 19, address, route.destination.begin());
    const uint8_t* block = at + 19 + address;
    const size_t hops = block[3];
    if (block[0] != kNextHopBlock || entry.size() != AddedLength(route.ipv6, hops)) {
        return std::to_string(hops) + " next hops in " + std::to_string(entry.size()) + " bytes";
    }
    const uint8_t* hop = block + 4;
    for (size_t i = 0; i < hops; ++i, hop += route.ipv6 ? kHopV6 : kHopV4) {
        if (hop[65] != address) {
            return "next hop " + std::to_string(i) + " of address size " + std::to_string(hop[65]);
        }
        RtxNextHop next;
        next.type = hop[0];
        next.egress = FixedText::Read(hop + 1, RTX_NAME_LEN);
        std::copy_n(hop + 66, address, next.address.begin());
        route.nextHops.push_back(next);
    }
    return {};
}

}  // namespace CfgAgent
