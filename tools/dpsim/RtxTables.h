#pragma once

#include <cjson/cJSON.h>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "l3/codec/RtxArpTable.h"
#include "l3/codec/RtxBridgeEndpoint.h"
#include "l3/codec/RtxDadStatus.h"
#include "l3/codec/RtxGlobal.h"
#include "l3/codec/RtxInstance.h"
#include "l3/codec/RtxLif.h"
#include "l3/codec/RtxMulticast.h"
#include "l3/codec/RtxPrefixList.h"
#include "l3/codec/RtxRoute.h"

namespace Dpsim {

// What the router module keeps: router instances with their LIFs, routes,
// ARP tables, DAD states, tunables and multicast, and the tables beside
// them. A message is checked whole before anything of it is applied, so a
// refused one changes nothing.
class RtxTables {
public:
    // A route by family, destination and prefix length.
    using RouteKey = std::tuple<bool, CfgAgent::RtxIp, uint8_t>;
    using ArpKey = std::pair<bool, CfgAgent::RtxIp>;

    struct Router {
        CfgAgent::RtxInstance instance;
        std::map<std::string, CfgAgent::RtxLif> lifs;
        std::map<RouteKey, std::vector<CfgAgent::RtxNextHop>> routes;
        std::map<std::string, std::map<ArpKey, CfgAgent::MacBytes>> arp;
        std::map<std::string, std::vector<CfgAgent::RtxDadStatus>> dad;
        std::map<std::string, uint32_t> tunables;
        std::optional<CfgAgent::RtxMulticast> multicast;
        std::vector<uint32_t> multicastRoute;
        // What a soft flush marked stale until the end marker: LIFs and routes
        // not sent again since.
        std::set<std::string> staleLifs;
        std::set<RouteKey> staleRoutes;
    };

    // One agent message. Empty when applied; otherwise why the module
    // refuses it, and nothing changed.
    std::string Apply(std::span<const uint8_t> message);

    const std::map<uint32_t, Router>& Routers() const { return _routers; }
    size_t RouteCount() const;
    size_t LifCount() const;
    void Dump(cJSON* out) const;

private:
    struct Pending;

    std::string ApplyUpdate(std::span<const uint8_t> message);
    // Checks one entry and adds its change to `pending`; why not when it fails.
    std::string CheckEntry(std::span<const uint8_t> entry, Pending& pending);
    void ApplyInstance(const CfgAgent::RtxInstance& instance);
    std::string ApplyFlush(std::span<const uint8_t> message);
    std::string ApplyMarker(std::span<const uint8_t> message);
    Router* Find(uint32_t rtxId);
    bool Has(uint32_t rtxId) const { return _routers.contains(rtxId); }

    std::map<uint32_t, Router> _routers;
    std::optional<CfgAgent::RtxGlobal> _global;
    std::map<std::string, CfgAgent::RtxPrefixList> _prefixLists;
    std::map<std::pair<std::string, std::string>, CfgAgent::RtxBridgeEndpoint> _bridges;
    // Between the markers of an instance full sync: the routers sent again.
    std::optional<std::set<uint32_t>> _instanceSync;
    std::optional<std::set<std::pair<std::string, std::string>>> _bridgeSync;
};

}  // namespace Dpsim
