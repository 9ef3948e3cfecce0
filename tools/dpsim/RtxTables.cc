#include "RtxTables.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "AddressText.h"
#include "dplink/BigEndian.h"
#include "l3/codec/RtxControlCodec.h"
#include "l3/codec/RtxEntryCodec.h"
#include "l3/codec/RtxLifCodec.h"
#include "l3/codec/RtxRouteCodec.h"
#include "l3/codec/RtxTableCodec.h"
#include "l3/codec/RtxTypes.h"

namespace Dpsim {

using namespace CfgAgent;

// The changes of one message, applied only once every entry checked out.
struct RtxTables::Pending {
    std::vector<std::function<void()>> changes;
};

namespace {

constexpr uint8_t kHardFlush = 0;

std::string IpText(bool ipv6, const RtxIp& ip) { return AddressText::Ip(!ipv6, ip); }

bool SameHop(const RtxNextHop& a, const RtxNextHop& b) { return a.type == b.type && a.address == b.address; }

bool IsEndMarkerEntry(std::span<const uint8_t> entry) {
    if (entry.size() != 12) {
        return false;
    }
    for (size_t i = 4; i < entry.size(); ++i) {
        if (entry[i] != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

RtxTables::Router* RtxTables::Find(uint32_t rtxId) {
    auto it = _routers.find(rtxId);
    return it != _routers.end() ? &it->second : nullptr;
}

std::string RtxTables::Apply(std::span<const uint8_t> message) {
    if (message.size() < 4 || BigEndian::Get16(message.data() + 2) != message.size()) {
        return "not one whole message";
    }
    switch (BigEndian::Get16(message.data())) {
        case RTX_MSG_UPDATE:
            return ApplyUpdate(message);
        case RTX_MSG_INSTANCE_LIST: {
            RtxInstance instance;
            std::string reason = RtxControlCodec::ReadInstanceList(message, instance);
            if (reason.empty()) {
                ApplyInstance(instance);
            }
            return reason;
        }
        case RTX_MSG_FLUSH:
            return ApplyFlush(message);
        case RTX_MSG_INSTANCE_MARKER:
        case RTX_MSG_BRIDGE_MARKER:
            return ApplyMarker(message);
        case RTX_MSG_FULL_SYNC_END:
            return message.size() == 4 ? std::string() : "a full sync end of " + std::to_string(message.size());
        case RTX_MSG_INIT:
        case RTX_MSG_CONFIGURE:
        case RTX_MSG_LINK_CHANGE:
        case RTX_MSG_QUERY:
        case RTX_MSG_ERROR:
            // The module ignores what the agent never sends.
            return {};
        default:
            return "unknown message type " + std::to_string(BigEndian::Get16(message.data()));
    }
}

void RtxTables::ApplyInstance(const RtxInstance& instance) {
    if (instance.operation == RTX_INSTANCE_DELETE) {
        _routers.erase(instance.rtxId);
        return;
    }
    _routers[instance.rtxId].instance = instance;
    if (_instanceSync) {
        _instanceSync->insert(instance.rtxId);
    }
}

std::string RtxTables::ApplyFlush(std::span<const uint8_t> message) {
    uint32_t rtxId = 0;
    uint8_t command = 0;
    uint8_t flushType = 0;
    std::string reason = RtxControlCodec::ReadFlush(message, rtxId, command, flushType);
    if (!reason.empty()) {
        return reason;
    }
    Router* router = Find(rtxId);
    if (router == nullptr) {
        return "flush of router " + std::to_string(rtxId) + ", which does not exist";
    }
    if (command == RTX_FLUSH_ALL_FIB) {
        if (flushType == kHardFlush) {
            router->routes.clear();
        }
        for (const auto& [key, hops] : router->routes) {
            router->staleRoutes.insert(key);
        }
    } else if (command == RTX_FLUSH_LIF) {
        if (flushType == kHardFlush) {
            router->lifs.clear();
        }
        for (const auto& [name, lif] : router->lifs) {
            router->staleLifs.insert(name);
        }
    } else {
        return "flush command " + std::to_string(command);
    }
    return {};
}

std::string RtxTables::ApplyMarker(std::span<const uint8_t> message) {
    uint16_t type = 0;
    uint8_t phase = 0;
    std::string reason = RtxControlCodec::ReadMarker(message, type, phase);
    if (!reason.empty()) {
        return reason;
    }
    if (type == RTX_MSG_INSTANCE_MARKER) {
        if (phase == 0) {
            _instanceSync.emplace();
        } else if (_instanceSync) {
            std::erase_if(_routers, [&](const auto& router) { return !_instanceSync->contains(router.first); });
            _instanceSync.reset();
        }
        return {};
    }
    if (phase == 0) {
        _bridgeSync.emplace();
    } else if (_bridgeSync) {
        std::erase_if(_bridges, [&](const auto& bridge) { return !_bridgeSync->contains(bridge.first); });
        _bridgeSync.reset();
    }
    return {};
}

std::string RtxTables::ApplyUpdate(std::span<const uint8_t> message) {
    Pending pending;
    size_t at = 4;
    while (at < message.size()) {
        if (message.size() - at < 4) {
            return "a truncated entry header at " + std::to_string(at);
        }
        const uint16_t length = BigEndian::Get16(message.data() + at + 2);
        if (length < 4 || length > message.size() - at) {
            return "an entry of length " + std::to_string(length) + " at " + std::to_string(at);
        }
        std::string reason = CheckEntry(message.subspan(at, length), pending);
        if (!reason.empty()) {
            return "entry at " + std::to_string(at) + ": " + reason;
        }
        at += length;
    }
    for (const auto& change : pending.changes) {
        change();
    }
    return {};
}

std::string RtxTables::CheckEntry(std::span<const uint8_t> entry, Pending& pending) {
    const uint16_t type = BigEndian::Get16(entry.data());
    auto known = [this](uint32_t rtxId) {
        return Has(rtxId) ? std::string() : "router " + std::to_string(rtxId) + " does not exist";
    };
    auto& changes = pending.changes;
    if ((type == RTX_ENTRY_LIF || type == RTX_ENTRY_ROUTE) && IsEndMarkerEntry(entry)) {
        changes.push_back([this, type] {
            for (auto& [rtxId, router] : _routers) {
                if (type == RTX_ENTRY_LIF) {
                    for (const std::string& name : std::exchange(router.staleLifs, {})) {
                        router.lifs.erase(name);
                    }
                } else {
                    for (const RouteKey& key : std::exchange(router.staleRoutes, {})) {
                        router.routes.erase(key);
                    }
                }
            }
        });
        return {};
    }
    switch (type) {
        case RTX_ENTRY_LIF: {
            RtxLif lif;
            bool removed = false;
            std::string reason = RtxLifCodec::Read(entry, lif, removed);
            if (reason.empty()) {
                reason = known(lif.rtxId);
            }
            changes.push_back([this, lif, removed] {
                Router& router = _routers[lif.rtxId];
                router.staleLifs.erase(lif.name);
                if (removed) {
                    router.lifs.erase(lif.name);
                    router.arp.erase(lif.name);
                    router.dad.erase(lif.name);
                } else {
                    router.lifs[lif.name] = lif;
                }
            });
            return reason;
        }
        case RTX_ENTRY_ROUTE: {
            RtxRoute route;
            bool removed = false;
            std::string reason = RtxRouteCodec::Read(entry, route, removed);
            if (reason.empty()) {
                reason = known(route.rtxId);
            }
            changes.push_back([this, route, removed] {
                Router& router = _routers[route.rtxId];
                const RouteKey key{route.ipv6, route.destination, route.prefixLength};
                router.staleRoutes.erase(key);
                if (removed) {
                    router.routes.erase(key);
                } else {
                    router.routes[key] = route.nextHops;
                }
            });
            return reason;
        }
        case 20: {
            RtxRoute route;
            std::vector<RtxNextHop> taken;
            std::string reason = RtxRouteCodec::ReadNextHopUpdate(entry, route, taken);
            if (reason.empty()) {
                reason = known(route.rtxId);
            }
            changes.push_back([this, route, taken] {
                std::vector<RtxNextHop>& hops =
                    _routers[route.rtxId].routes[RouteKey{route.ipv6, route.destination, route.prefixLength}];
                std::erase_if(hops, [&](const RtxNextHop& hop) {
                    return std::any_of(taken.begin(), taken.end(), [&](const RtxNextHop& t) { return SameHop(hop, t); });
                });
                hops.insert(hops.end(), route.nextHops.begin(), route.nextHops.end());
            });
            return reason;
        }
        case 25: {
            RtxArpTable table;
            std::string reason = RtxTableCodec::ReadArpTable(entry, table);
            if (reason.empty()) {
                reason = known(table.rtxId);
            }
            changes.push_back([this, table] {
                auto& arp = _routers[table.rtxId].arp[table.lifName];
                for (const RtxArpEntry& gone : table.removed) {
                    arp.erase({gone.ipv6, gone.ip});
                }
                for (const RtxArpEntry& added : table.added) {
                    arp[{added.ipv6, added.ip}] = added.mac;
                }
            });
            return reason;
        }
        case 18: {
            uint32_t rtxId = 0;
            std::vector<RtxTunable> tunables;
            std::string reason = RtxTableCodec::ReadTunables(entry, rtxId, tunables);
            if (reason.empty()) {
                reason = known(rtxId);
            }
            changes.push_back([this, rtxId, tunables] {
                for (const RtxTunable& tunable : tunables) {
                    _routers[rtxId].tunables[tunable.name] = tunable.value;
                }
            });
            return reason;
        }
        case RTX_ENTRY_GLOBAL: {
            RtxGlobal global;
            std::string reason = RtxEntryCodec::ReadGlobal(entry, global);
            changes.push_back([this, global] { _global = global; });
            return reason;
        }
        case 27: {
            uint32_t rtxId = 0;
            std::string lifName;
            std::vector<RtxDadStatus> states;
            std::string reason = RtxTableCodec::ReadDadStatus(entry, rtxId, lifName, states);
            if (reason.empty()) {
                reason = known(rtxId);
            }
            changes.push_back([this, rtxId, lifName, states] { _routers[rtxId].dad[lifName] = states; });
            return reason;
        }
        case 29: {
            RtxMulticast multicast;
            std::string reason = RtxTableCodec::ReadMulticast(entry, multicast);
            if (reason.empty()) {
                reason = known(multicast.rtxId);
            }
            changes.push_back([this, multicast] { _routers[multicast.rtxId].multicast = multicast; });
            return reason;
        }
        case 30: {
            RtxPrefixList list;
            std::string reason = RtxTableCodec::ReadPrefixList(entry, list);
            changes.push_back([this, list] { _prefixLists[list.name] = list; });
            return reason;
        }
        case 31: {
            uint32_t rtxId = 0;
            std::vector<uint32_t> hops;
            std::string reason = RtxTableCodec::ReadMulticastRoute(entry, rtxId, hops);
            if (reason.empty()) {
                reason = known(rtxId);
            }
            changes.push_back([this, rtxId, hops] { _routers[rtxId].multicastRoute = hops; });
            return reason;
        }
        case 32:
        case 33: {
            RtxBridgeEndpoint endpoint;
            bool removed = false;
            std::string reason = RtxTableCodec::ReadBridge(entry, endpoint, removed);
            changes.push_back([this, endpoint, removed] {
                const auto key = std::make_pair(endpoint.lifName, endpoint.switchUuid);
                if (removed) {
                    _bridges.erase(key);
                    return;
                }
                _bridges[key] = endpoint;
                if (_bridgeSync) {
                    _bridgeSync->insert(key);
                }
            });
            return reason;
        }
        case RTX_ENTRY_INSTANCE_REPORT:
        case RTX_ENTRY_DAD_REPORT:
            return "entry type " + std::to_string(type) + " is sent by the kernel only";
        default:
            return "unknown entry type " + std::to_string(type);
    }
}

size_t RtxTables::RouteCount() const {
    size_t count = 0;
    for (const auto& [rtxId, router] : _routers) {
        count += router.routes.size();
    }
    return count;
}

size_t RtxTables::LifCount() const {
    size_t count = 0;
    for (const auto& [rtxId, router] : _routers) {
        count += router.lifs.size();
    }
    return count;
}

void RtxTables::Dump(cJSON* out) const {
    cJSON* routers = cJSON_AddObjectToObject(out, "routers");
    for (const auto& [rtxId, router] : _routers) {
        cJSON* one = cJSON_AddObjectToObject(routers, std::to_string(rtxId).c_str());
        cJSON_AddStringToObject(one, "name", router.instance.name.c_str());
        cJSON_AddNumberToObject(one, "dadMode", router.instance.dadMode);
        cJSON* lifs = cJSON_AddArrayToObject(one, "lifs");
        for (const auto& [name, lif] : router.lifs) {
            cJSON* entry = cJSON_CreateObject();
            cJSON_AddStringToObject(entry, "name", name.c_str());
            cJSON_AddNumberToObject(entry, "lifId", lif.lifId);
            cJSON_AddNumberToObject(entry, "flags", lif.flags);
            cJSON* ips = cJSON_AddArrayToObject(entry, "ips");
            for (const RtxLifIp& ip : lif.ips) {
                cJSON_AddItemToArray(ips, cJSON_CreateString(IpText(ip.ipv6, ip.address).c_str()));
            }
            cJSON_AddItemToArray(lifs, entry);
        }
        cJSON* routes = cJSON_AddArrayToObject(one, "routes");
        for (const auto& [key, hops] : router.routes) {
            cJSON* entry = cJSON_CreateObject();
            const auto& [ipv6, destination, prefixLength] = key;
            cJSON_AddStringToObject(entry, "destination",
                                    (IpText(ipv6, destination) + "/" + std::to_string(prefixLength)).c_str());
            cJSON* list = cJSON_AddArrayToObject(entry, "nextHops");
            for (const RtxNextHop& hop : hops) {
                const std::string text = IpText(ipv6, hop.address) + (hop.egress.empty() ? "" : "@" + hop.egress);
                cJSON_AddItemToArray(list, cJSON_CreateString(text.c_str()));
            }
            cJSON_AddItemToArray(routes, entry);
        }
        cJSON* arp = cJSON_AddObjectToObject(one, "arp");
        for (const auto& [lif, table] : router.arp) {
            cJSON* list = cJSON_AddObjectToObject(arp, lif.c_str());
            for (const auto& [key, mac] : table) {
                cJSON_AddStringToObject(list, IpText(key.first, key.second).c_str(), AddressText::Mac(mac).c_str());
            }
        }
        cJSON* dad = cJSON_AddObjectToObject(one, "dad");
        for (const auto& [lif, states] : router.dad) {
            cJSON* list = cJSON_AddArrayToObject(dad, lif.c_str());
            for (const RtxDadStatus& state : states) {
                cJSON* entry = cJSON_CreateObject();
                cJSON_AddStringToObject(entry, "ip", IpText(true, state.ip).c_str());
                cJSON_AddNumberToObject(entry, "state", state.state);
                cJSON_AddItemToArray(list, entry);
            }
        }
        cJSON* tunables = cJSON_AddObjectToObject(one, "tunables");
        for (const auto& [name, value] : router.tunables) {
            cJSON_AddNumberToObject(tunables, name.c_str(), value);
        }
        cJSON_AddNumberToObject(one, "multicastNextHops", static_cast<double>(router.multicastRoute.size()));
    }
    if (_global) {
        cJSON* global = cJSON_AddObjectToObject(out, "global");
        cJSON_AddNumberToObject(global, "mtu", _global->mtu);
        cJSON_AddNumberToObject(global, "arpLimit", _global->arpLimit);
        cJSON_AddNumberToObject(global, "ecmp", _global->ecmp);
    }
    cJSON* lists = cJSON_AddObjectToObject(out, "prefixLists");
    for (const auto& [name, list] : _prefixLists) {
        cJSON_AddNumberToObject(lists, name.c_str(), static_cast<double>(list.entries.size()));
    }
    cJSON* bridges = cJSON_AddArrayToObject(out, "bridgeEndpoints");
    for (const auto& [key, endpoint] : _bridges) {
        cJSON* entry = cJSON_CreateObject();
        cJSON_AddStringToObject(entry, "lif", endpoint.lifName.c_str());
        cJSON_AddStringToObject(entry, "name", endpoint.name.c_str());
        cJSON_AddNumberToObject(entry, "vlan", endpoint.vlan);
        cJSON_AddItemToArray(bridges, entry);
    }
}

}  // namespace Dpsim
