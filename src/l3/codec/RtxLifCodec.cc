#include "l3/codec/RtxLifCodec.h"

#include "dplink/Tlv.h"
#include "l3/codec/RtxAppender.h"
#include "l3/codec/RtxCursor.h"

namespace CfgAgent {

namespace {

constexpr size_t kDvsLen = 48;
constexpr size_t kDomainLen = 255;

uint8_t Family(bool ipv6) { return ipv6 ? RTX_FAMILY_IPV6 : RTX_FAMILY_IPV4; }

void PutIp(RtxAppender& out, const RtxLifIp& ip) { out.U8(Family(ip.ipv6)).U32(ip.mask).Raw(ip.address); }

bool ReadIp(RtxCursor& in, RtxLifIp& ip) {
    uint8_t family = 0;
    if (!in.U8(family) || !in.U32(ip.mask) || !in.Raw(ip.address.data(), ip.address.size())) {
        return false;
    }
    ip.ipv6 = family == RTX_FAMILY_IPV6;
    return family == RTX_FAMILY_IPV4 || family == RTX_FAMILY_IPV6;
}

void PutNdra(RtxAppender& out, const RtxNdra& ndra) {
    out.U8(ndra.managed);
    for (uint32_t value : ndra.values) {
        out.U32(value);
    }
    out.U8(static_cast<uint8_t>(ndra.domains.size()))
        .U8(static_cast<uint8_t>(ndra.dnsServers.size()))
        .U8(ndra.flags)
        .U8(static_cast<uint8_t>(ndra.routes.size()))
        .U8(ndra.profileValue);
    for (const RtxNdraDomain& domain : ndra.domains) {
        out.Text(domain.name.substr(0, kDomainLen - 1), kDomainLen).U32(domain.lifetime);
    }
    for (const RtxNdraDns& dns : ndra.dnsServers) {
        out.Raw(dns.address).U32(dns.lifetime);
    }
    for (const RtxNdraRoute& route : ndra.routes) {
        out.U8(0).U32(route.prefixLength).Raw(route.address).U32(route.lifetime).U8(route.preference);
    }
}

bool ReadNdra(RtxCursor& in, RtxNdra& ndra) {
    uint8_t domains = 0;
    uint8_t dns = 0;
    uint8_t routes = 0;
    bool ok = in.U8(ndra.managed);
    for (uint32_t& value : ndra.values) {
        ok = ok && in.U32(value);
    }
    ok = ok && in.U8(domains) && in.U8(dns) && in.U8(ndra.flags) && in.U8(routes) && in.U8(ndra.profileValue);
    for (uint8_t i = 0; ok && i < domains; ++i) {
        RtxNdraDomain domain;
        ok = in.Text(domain.name, kDomainLen) && in.U32(domain.lifetime);
        ndra.domains.push_back(domain);
    }
    for (uint8_t i = 0; ok && i < dns; ++i) {
        RtxNdraDns server;
        ok = in.Raw(server.address.data(), server.address.size()) && in.U32(server.lifetime);
        ndra.dnsServers.push_back(server);
    }
    for (uint8_t i = 0; ok && i < routes; ++i) {
        RtxNdraRoute route;
        ok = in.Skip(1) && in.U32(route.prefixLength) && in.Raw(route.address.data(), route.address.size()) &&
             in.U32(route.lifetime) && in.U8(route.preference);
        ndra.routes.push_back(route);
    }
    return ok;
}

uint16_t Flags(const RtxLif& lif) {
    uint16_t flags = static_cast<uint16_t>(lif.flags & ~(RtxLifCodec::kDhcpRelay | RtxLifCodec::kNdra |
                                                         RtxLifCodec::kNdraSubnets)) |
                     RtxLifCodec::kAlways;
    flags |= lif.dhcpServers.empty() ? 0 : RtxLifCodec::kDhcpRelay;
    flags |= lif.ndra ? RtxLifCodec::kNdra : 0;
    flags |= lif.ndraSubnets.empty() ? 0 : RtxLifCodec::kNdraSubnets;
    return flags;
}

}  // namespace

bool RtxLifCodec::BuildAdd(const RtxLif& lif, std::vector<uint8_t>& entry) {
    entry.clear();
    RtxAppender out(entry);
    out.U32(0).U32(lif.rtxId).U8(1).U8(0).U16(0);
    out.Text(lif.name, RTX_NAME_LEN).Text(lif.dvsUuid, kDvsLen);
    out.U8(lif.lifType).U8(static_cast<uint8_t>(lif.ips.size())).U16(Flags(lif));
    out.U32(lif.lifId).U32(lif.mtu).U32(0).Raw(lif.mac).U8(lif.urpfMode).U8(0).U32(lif.replication);
    out.U16(static_cast<uint16_t>(lif.policyGroups.size())).U32(lif.ipSubnets);
    out.U32(static_cast<uint32_t>(lif.ndraSubnets.size()));
    for (const RtxLifIp& ip : lif.ips) {
        PutIp(out, ip);
    }
    if (!lif.dhcpServers.empty()) {
        out.U8(static_cast<uint8_t>(lif.dhcpServers.size())).U8(0).U8(0).U8(0);
        for (const RtxDhcpServer& server : lif.dhcpServers) {
            out.U8(Family(server.ipv6)).Raw(server.address);
        }
    }
    if (lif.ndra) {
        PutNdra(out, *lif.ndra);
    }
    for (const RtxPolicyGroup& group : lif.policyGroups) {
        out.U8(group.type).U16(static_cast<uint16_t>(group.pairs.size()));
        for (const RtxPolicyPair& pair : group.pairs) {
            out.U32(pair.prefixListIndex).U8(pair.nextHopType).Raw(pair.nextHop);
        }
    }
    for (const RtxNdraSubnet& subnet : lif.ndraSubnets) {
        out.U8(static_cast<uint8_t>(subnet.addresses.size())).U32(subnet.first).U32(subnet.second);
        for (const RtxLifIp& ip : subnet.addresses) {
            PutIp(out, ip);
        }
    }
    return Tlv::WriteHeader(entry.data(), RTX_ENTRY_LIF, entry.size());
}

std::vector<uint8_t> RtxLifCodec::BuildDelete(uint32_t rtxId, const std::string& name) {
    std::vector<uint8_t> entry;
    RtxAppender out(entry);
    out.U32(0).U32(rtxId).U8(0).U8(1).U16(0).Text(name, RTX_NAME_LEN);
    entry.resize(kDeleteLength, 0);
    Tlv::WriteHeader(entry.data(), RTX_ENTRY_LIF, kDeleteLength);
    return entry;
}

std::string RtxLifCodec::Read(std::span<const uint8_t> entry, RtxLif& lif, bool& removed) {
    uint16_t type = 0;
    uint16_t length = 0;
    uint8_t added = 0;
    uint8_t removedCount = 0;
    RtxCursor in(entry);
    if (!in.U16(type) || !in.U16(length) || type != RTX_ENTRY_LIF || length != entry.size()) {
        return "not a whole LIF entry";
    }
    lif = RtxLif{};
    if (!in.U32(lif.rtxId) || !in.U8(added) || !in.U8(removedCount) || !in.Skip(2) ||
        added + removedCount != 1) {
        return "a LIF entry holds one LIF";
    }
    removed = removedCount == 1;
    if (removed) {
        in.Text(lif.name, RTX_NAME_LEN);
        return entry.size() == kDeleteLength ? std::string() : "a LIF delete of " + std::to_string(entry.size());
    }
    uint8_t ips = 0;
    uint16_t groups = 0;
    uint32_t ndraSubnets = 0;
    bool ok = in.Text(lif.name, RTX_NAME_LEN) && in.Text(lif.dvsUuid, kDvsLen) && in.U8(lif.lifType) &&
              in.U8(ips) && in.U16(lif.flags) && in.U32(lif.lifId) && in.U32(lif.mtu) && in.Skip(4) &&
              in.Raw(lif.mac.data(), lif.mac.size()) && in.U8(lif.urpfMode) && in.Skip(1) &&
              in.U32(lif.replication) && in.U16(groups) && in.U32(lif.ipSubnets) && in.U32(ndraSubnets);
    for (uint8_t i = 0; ok && i < ips; ++i) {
        lif.ips.emplace_back();
        ok = ReadIp(in, lif.ips.back());
    }
    uint8_t servers = 0;
    if (ok && (lif.flags & kDhcpRelay) != 0) {
        // The flag stands for a relay: a block without servers is no relay.
        ok = in.U8(servers) && servers > 0 && in.Skip(3);
        for (uint8_t i = 0; ok && i < servers; ++i) {
            uint8_t family = 0;
            RtxDhcpServer server;
            ok = in.U8(family) && in.Raw(server.address.data(), server.address.size());
            server.ipv6 = family == RTX_FAMILY_IPV6;
            lif.dhcpServers.push_back(server);
        }
    }
    if (ok && (lif.flags & kNdra) != 0) {
        lif.ndra.emplace();
        ok = ReadNdra(in, *lif.ndra);
    }
    for (uint16_t g = 0; ok && g < groups; ++g) {
        RtxPolicyGroup group;
        uint16_t pairs = 0;
        ok = in.U8(group.type) && in.U16(pairs);
        for (uint16_t p = 0; ok && p < pairs; ++p) {
            RtxPolicyPair pair;
            ok = in.U32(pair.prefixListIndex) && in.U8(pair.nextHopType) &&
                 in.Raw(pair.nextHop.data(), pair.nextHop.size());
            group.pairs.push_back(pair);
        }
        lif.policyGroups.push_back(group);
    }
    const bool subnetBlocks = (lif.flags & kNdraSubnets) != 0;
    for (uint32_t s = 0; ok && subnetBlocks && s < ndraSubnets; ++s) {
        RtxNdraSubnet subnet;
        uint8_t count = 0;
        ok = in.U8(count) && in.U32(subnet.first) && in.U32(subnet.second);
        for (uint8_t i = 0; ok && i < count; ++i) {
            subnet.addresses.emplace_back();
            ok = ReadIp(in, subnet.addresses.back());
        }
        lif.ndraSubnets.push_back(subnet);
    }
    if (!ok) {
        return "the LIF's blocks pass its length or hold a bad family";
    }
    if (!in.AtEnd()) {
        return "bytes after the LIF's last block";
    }
    return {};
}

}  // namespace CfgAgent
