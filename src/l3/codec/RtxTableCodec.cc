#include "l3/codec/RtxTableCodec.h"

#include <algorithm>

#include "dplink/Tlv.h"
#include "l3/codec/RtxAppender.h"
#include "l3/codec/RtxCursor.h"

namespace CfgAgent {

namespace {

constexpr size_t kBridgeNameLen = 64;
constexpr size_t kRouterNameLen = 48;
constexpr uint32_t kVniType = 2;
constexpr uint16_t kGuestVlanEnabled = 1;

uint8_t Family(bool ipv6) { return ipv6 ? RTX_FAMILY_IPV6 : RTX_FAMILY_IPV4; }

// The entry's type and length go in last, once its length is known.
bool Finish(std::vector<uint8_t>& entry, uint16_t type) { return Tlv::WriteHeader(entry.data(), type, entry.size()); }

// A cursor past the header of a whole entry of `type`; an empty reason when so.
std::string Open(std::span<const uint8_t> entry, uint16_t type, RtxCursor& in) {
    uint16_t readType = 0;
    uint16_t length = 0;
    if (!in.U16(readType) || !in.U16(length) || readType != type || length != entry.size()) {
        return "not a whole entry of type " + std::to_string(type);
    }
    return {};
}

std::string Close(const RtxCursor& in) {
    return !in.Ok() ? "the entry's counts pass its length" : !in.AtEnd() ? "bytes after the last entry" : "";
}

void PutArp(RtxAppender& out, const RtxArpEntry& arp, bool withMac) {
    out.U8(Family(arp.ipv6)).Raw(arp.ip);
    const MacBytes none{};
    out.Raw(withMac ? arp.mac : none);
}

bool ReadArp(RtxCursor& in, RtxArpEntry& arp) {
    uint8_t family = 0;
    const bool ok = in.U8(family) && in.Raw(arp.ip.data(), arp.ip.size()) && in.Raw(arp.mac.data(), arp.mac.size());
    arp.ipv6 = family == RTX_FAMILY_IPV6;
    return ok;
}

}  // namespace

bool RtxTableCodec::BuildArpTable(const RtxArpTable& table, std::vector<uint8_t>& entry) {
    entry.clear();
    RtxAppender out(entry);
    out.U32(0).U32(table.rtxId).Text(table.lifName, RTX_NAME_LEN);
    out.U16(static_cast<uint16_t>(table.removed.size())).U16(static_cast<uint16_t>(table.added.size()));
    for (const RtxArpEntry& arp : table.removed) {
        PutArp(out, arp, false);
    }
    for (const RtxArpEntry& arp : table.added) {
        PutArp(out, arp, true);
    }
    return Finish(entry, 25);
}

std::string RtxTableCodec::ReadArpTable(std::span<const uint8_t> entry, RtxArpTable& table) {
    RtxCursor in(entry);
    std::string reason = Open(entry, 25, in);
    if (!reason.empty()) {
        return reason;
    }
    table = RtxArpTable{};
    uint16_t removed = 0;
    uint16_t added = 0;
    bool ok = in.U32(table.rtxId) && in.Text(table.lifName, RTX_NAME_LEN) && in.U16(removed) && in.U16(added);
    for (uint32_t i = 0; ok && i < static_cast<uint32_t>(removed) + added; ++i) {
        RtxArpEntry arp;
        ok = ReadArp(in, arp);
        (i < removed ? table.removed : table.added).push_back(arp);
    }
    return Close(in);
}

bool RtxTableCodec::BuildTunables(uint32_t rtxId, std::vector<RtxTunable> tunables, std::vector<uint8_t>& entry) {
    std::sort(tunables.begin(), tunables.end(),
              [](const RtxTunable& a, const RtxTunable& b) { return a.name < b.name; });
    entry.clear();
    RtxAppender out(entry);
    out.U32(0).U32(rtxId);
    for (const RtxTunable& tunable : tunables) {
        out.Text(tunable.name.substr(0, RTX_NAME_LEN - 1), RTX_NAME_LEN).U32(tunable.value);
    }
    return Finish(entry, 18);
}

std::string RtxTableCodec::ReadTunables(std::span<const uint8_t> entry, uint32_t& rtxId,
                                        std::vector<RtxTunable>& tunables) {
    RtxCursor in(entry);
    std::string reason = Open(entry, 18, in);
    if (!reason.empty()) {
        return reason;
    }
    if ((entry.size() - 8) % 68 != 0) {
        return "tunables of " + std::to_string(entry.size()) + " bytes";
    }
    tunables.clear();
    in.U32(rtxId);
    while (in.Ok() && !in.AtEnd()) {
        RtxTunable tunable;
        in.Text(tunable.name, RTX_NAME_LEN);
        in.U32(tunable.value);
        tunables.push_back(tunable);
    }
    return Close(in);
}

bool RtxTableCodec::BuildDadStatus(uint32_t rtxId, const std::string& lifName,
                                   const std::vector<RtxDadStatus>& states, std::vector<uint8_t>& entry) {
    entry.clear();
    RtxAppender out(entry);
    out.U32(0).U32(rtxId).Text(lifName, RTX_NAME_LEN).U8(static_cast<uint8_t>(states.size()));
    for (const RtxDadStatus& state : states) {
        out.Raw(state.ip).U8(state.state).Text(state.version, RTX_NAME_LEN);
    }
    return Finish(entry, 27);
}

std::string RtxTableCodec::ReadDadStatus(std::span<const uint8_t> entry, uint32_t& rtxId, std::string& lifName,
                                         std::vector<RtxDadStatus>& states) {
    RtxCursor in(entry);
    std::string reason = Open(entry, 27, in);
    if (!reason.empty()) {
        return reason;
    }
    uint8_t count = 0;
    bool ok = in.U32(rtxId) && in.Text(lifName, RTX_NAME_LEN) && in.U8(count);
    states.clear();
    for (uint8_t i = 0; ok && i < count; ++i) {
        RtxDadStatus state;
        ok = in.Raw(state.ip.data(), state.ip.size()) && in.U8(state.state) && in.Text(state.version, RTX_NAME_LEN);
        states.push_back(state);
    }
    return Close(in);
}

bool RtxTableCodec::BuildPrefixList(const RtxPrefixList& list, std::vector<uint8_t>& entry) {
    entry.clear();
    RtxAppender out(entry);
    out.U32(0).Text(list.name, RTX_NAME_LEN).U32(list.index).U16(static_cast<uint16_t>(list.entries.size()));
    for (const RtxPrefixEntry& line : list.entries) {
        out.U8(line.action).U8(Family(line.ipv6)).U8(line.prefixLength).Raw(line.address);
    }
    return Finish(entry, 30);
}

std::string RtxTableCodec::ReadPrefixList(std::span<const uint8_t> entry, RtxPrefixList& list) {
    RtxCursor in(entry);
    std::string reason = Open(entry, 30, in);
    if (!reason.empty()) {
        return reason;
    }
    list = RtxPrefixList{};
    uint16_t count = 0;
    bool ok = in.Text(list.name, RTX_NAME_LEN) && in.U32(list.index) && in.U16(count);
    for (uint16_t i = 0; ok && i < count; ++i) {
        RtxPrefixEntry line;
        uint8_t family = 0;
        ok = in.U8(line.action) && in.U8(family) && in.U8(line.prefixLength) &&
             in.Raw(line.address.data(), line.address.size());
        line.ipv6 = family == RTX_FAMILY_IPV6;
        list.entries.push_back(line);
    }
    return Close(in);
}

std::vector<uint8_t> RtxTableCodec::BuildMulticast(const RtxMulticast& multicast) {
    std::vector<uint8_t> entry;
    RtxAppender out(entry);
    out.U32(0).Text(multicast.routerName.substr(0, kRouterNameLen - 1), kRouterNameLen).U32(multicast.rtxId);
    out.U8(multicast.enabled).U32(multicast.groupStart).U8(multicast.groupPrefixLength);
    out.U16(multicast.querierInterval).U16(multicast.maxResponseTime).U16(multicast.lastMemberInterval);
    out.U16(multicast.robustness);
    Finish(entry, 29);
    return entry;
}

std::string RtxTableCodec::ReadMulticast(std::span<const uint8_t> entry, RtxMulticast& multicast) {
    RtxCursor in(entry);
    std::string reason = Open(entry, 29, in);
    if (!reason.empty()) {
        return reason;
    }
    in.Text(multicast.routerName, kRouterNameLen);
    in.U32(multicast.rtxId);
    in.U8(multicast.enabled);
    in.U32(multicast.groupStart);
    in.U8(multicast.groupPrefixLength);
    in.U16(multicast.querierInterval);
    in.U16(multicast.maxResponseTime);
    in.U16(multicast.lastMemberInterval);
    in.U16(multicast.robustness);
    return Close(in);
}

bool RtxTableCodec::BuildMulticastRoute(uint32_t rtxId, const std::vector<uint32_t>& nextHops,
                                        std::vector<uint8_t>& entry) {
    entry.clear();
    RtxAppender out(entry);
    out.U32(0).U32(rtxId).U16(static_cast<uint16_t>(nextHops.size())).U8(2);
    for (uint32_t hop : nextHops) {
        out.U32(hop);
    }
    return Finish(entry, 31);
}

std::string RtxTableCodec::ReadMulticastRoute(std::span<const uint8_t> entry, uint32_t& rtxId,
                                              std::vector<uint32_t>& nextHops) {
    RtxCursor in(entry);
    std::string reason = Open(entry, 31, in);
    if (!reason.empty()) {
        return reason;
    }
    uint16_t count = 0;
    uint8_t two = 0;
    bool ok = in.U32(rtxId) && in.U16(count) && in.U8(two);
    nextHops.assign(count, 0);
    for (uint32_t& hop : nextHops) {
        ok = ok && in.U32(hop);
    }
    return Close(in);
}

std::vector<uint8_t> RtxTableCodec::BuildBridgeAdd(const RtxBridgeEndpoint& endpoint) {
    std::vector<uint8_t> entry;
    RtxAppender out(entry);
    out.U32(0).Text(endpoint.lifName, kBridgeNameLen).Text(endpoint.switchUuid, kBridgeNameLen);
    out.Text(endpoint.name, kBridgeNameLen).Text(endpoint.clusterUuid, kBridgeNameLen);
    out.Text(endpoint.dvsUuid, kBridgeNameLen).U16(endpoint.vlan).U32(kVniType).U32(endpoint.vni);
    out.U16(kGuestVlanEnabled).U16(0);
    Finish(entry, 32);
    return entry;
}

std::vector<uint8_t> RtxTableCodec::BuildBridgeDelete(const RtxBridgeEndpoint& endpoint) {
    std::vector<uint8_t> entry;
    RtxAppender out(entry);
    out.U32(0).Text(endpoint.lifName, kBridgeNameLen).Text(endpoint.switchUuid, kBridgeNameLen);
    Finish(entry, 33);
    return entry;
}

std::string RtxTableCodec::ReadBridge(std::span<const uint8_t> entry, RtxBridgeEndpoint& endpoint, bool& removed) {
    removed = entry.size() >= 2 && entry[1] == 33;
    RtxCursor in(entry);
    std::string reason = Open(entry, removed ? 33 : 32, in);
    if (!reason.empty()) {
        return reason;
    }
    endpoint = RtxBridgeEndpoint{};
    in.Text(endpoint.lifName, kBridgeNameLen);
    in.Text(endpoint.switchUuid, kBridgeNameLen);
    if (!removed) {
        uint32_t vniType = 0;
        uint16_t guest = 0;
        uint16_t ha = 0;
        in.Text(endpoint.name, kBridgeNameLen);
        in.Text(endpoint.clusterUuid, kBridgeNameLen);
        in.Text(endpoint.dvsUuid, kBridgeNameLen);
        in.U16(endpoint.vlan);
        in.U32(vniType);
        in.U32(endpoint.vni);
        in.U16(guest);
        in.U16(ha);
    }
    return Close(in);
}

}  // namespace CfgAgent
