// Family E: objects whose lists the caches hold entry by entry.

#include <utility>

#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_overlay_op.pb.h"
#include "loftdb_routing.pb.h"
#include "loftdb_routing_op.pb.h"
#include "store/Decoder.h"
#include "store/DecoderFamilies.h"

namespace CfgAgent {

namespace lb = halden::zef::loftdb;
using namespace DecoderDetail;

namespace {

constexpr const char* kSizeMismatch =
    "Decoder: %1, msg size not match, op msg index %2 monitor update msg: %3";
constexpr const char* kOldSizeMismatch =
    "Decoder: %1, old msg size not match, op msg index %2 old msg index %3, monitor update msg: %4";

// One overlay list. Removals go to the front of all records, so that the
// table meets them ahead of the additions of the same update.
struct OverlaySink {
    uint32_t objectType;
    const std::string& key;
    uint32_t propertyType;
    const char* recordName;
    const char* listName;
    const MonitorUpdateMsg& update;
    LoftDBUpdateList& records;

    template <class Elem>
    void Removed(const Elem& elem, bool toFront) {
        CFG_LOG(LL_DEBUG, "Decoder: generate %1 DELETE msg: %2", recordName, elem.ShortDebugString());
        LoftDBUpdateMsg record = Record(objectType, key, OP_DELETE, propertyType, elem.SerializeAsString());
        if (toFront) {
            records.push_front(std::move(record));
        } else {
            records.push_back(std::move(record));
        }
    }
    template <class Elem>
    void Added(const Elem& elem) {
        CFG_LOG(LL_DEBUG, "Decoder: generate %1 UPDATE msg: %2", recordName, elem.ShortDebugString());
        records.push_back(Record(objectType, key, OP_UPDATE, propertyType, elem.SerializeAsString()));
    }
    void SizeMismatch(int i) {
        CFG_LOG(LL_ERROR, kSizeMismatch, listName, i, update.ShortDebugString()).Tag("errorCode:LCP00028");
    }
    void OldSizeMismatch(int i, int j) {
        CFG_LOG(LL_ERROR, kOldSizeMismatch, listName, i, j, update.ShortDebugString())
            .Tag("errorCode:LCP00028");
    }
};

// A next hop counts only with an address, as a blackhole or as a static
// route. Its learned attributes go, so that the value is its identity and a
// later removal matches it byte for byte.
bool EntryValue(const lb::FibNextHopMsg& hop, std::string& value) {
    if (!hop.has_ip() && !hop.has_blackhole() &&
        !(hop.has_route_type() && hop.route_type() == lb::FIB_ROUTE_TYPE_STATIC)) {
        CFG_LOG(LL_DEBUG, "Decoder: Fib next hop msg has no IP/blackhole/static route: %1",
                hop.ShortDebugString());
        return false;
    }
    lb::FibNextHopMsg identity = hop;
    identity.clear_admin_distance();
    identity.clear_metric();
    identity.clear_tag();
    value = identity.SerializeAsString();
    return true;
}

bool EntryValue(const lb::ArpEntryMsg& entry, std::string& value) {
    value = entry.SerializeAsString();
    return true;
}

// One routing list: additions and removals in the order of the op list.
struct RoutingSink {
    uint32_t objectType;
    const std::string& key;
    uint32_t propertyType;
    const char* listName;
    const MonitorUpdateMsg& update;
    LoftDBUpdateList& records;

    template <class Elem>
    void Removed(const Elem& elem, bool) {
        std::string value;
        if (EntryValue(elem, value)) {
            records.push_back(Record(objectType, key, OP_REMOVE, propertyType, std::move(value)));
        }
    }
    template <class Elem>
    void Added(const Elem& elem) {
        std::string value;
        if (EntryValue(elem, value)) {
            records.push_back(Record(objectType, key, OP_ADD, propertyType, std::move(value)));
        }
    }
    void SizeMismatch(int i) {
        CFG_LOG(LL_ERROR, kSizeMismatch, listName, i, update.ShortDebugString()).Tag("errorCode:LCP00028");
    }
    void OldSizeMismatch(int i, int j) {
        CFG_LOG(LL_ERROR, kOldSizeMismatch, listName, i, j, update.ShortDebugString())
            .Tag("errorCode:LCP00028");
    }
};

// The key operation of an overlay object. Returns true when the object is
// gone: its removal covers its entries.
template <class Msg, class OpMsg>
bool OverlayKey(const Parsed<Msg, OpMsg>& p, uint32_t objectType, const char* setLine,
                const char* clearLine, LoftDBUpdateList& records) {
    if (!p.op.has_id()) {
        return false;
    }
    const uint32_t self = p.op.id().self();
    if (self == PB_OP_SET) {
        CFG_LOG(LL_DEBUG, setLine, UuidToString(p.body.id()));
        records.emplace_back(objectType, p.key, OP_UPDATE, std::string(), std::string());
    } else if (self == PB_OP_CLEAR) {
        CFG_LOG(LL_DEBUG, clearLine, UuidToString(p.body.id()));
        records.emplace_back(objectType, p.key, OP_DELETE, std::string(), std::string());
        return true;
    }
    return false;
}

// A single-valued field of a route or ARP table: the old value leaves, the
// new one comes.
template <class Value>
void SingleValue(uint32_t self, const Value* former, const Value* current, uint32_t objectType,
                 const std::string& key, uint32_t propertyType, const char* clearWithoutOld,
                 const char* setWithoutValue, const MonitorUpdateMsg& update,
                 LoftDBUpdateList& records) {
    if (self == PB_OP_CLEAR) {
        if (former == nullptr) {
            CFG_LOG(LL_ERROR, clearWithoutOld, update.ShortDebugString()).Tag("errorCode:LCP00028");
            return;
        }
        records.push_back(Record(objectType, key, OP_REMOVE, propertyType, former->SerializeAsString()));
    } else if (self == PB_OP_SET) {
        if (former != nullptr) {
            records.push_back(Record(objectType, key, OP_REMOVE, propertyType, former->SerializeAsString()));
        }
        if (current == nullptr) {
            CFG_LOG(LL_ERROR, setWithoutValue, update.ShortDebugString()).Tag("errorCode:LCP00028");
            return;
        }
        records.push_back(Record(objectType, key, OP_ADD, propertyType, current->SerializeAsString()));
    }
}

}  // namespace

LoftDBUpdateList Decoder::DecodeLogSwitchFib(const Update& update) {
    LoftDBUpdateList records;
    Parsed<lb::LogSwitchFibMsg, lb::LogSwitchFibOpMsg> p;
    if (!Parse(update, "LogSwitchFibMsg", p)) {
        return records;
    }
    const std::string id = UuidToString(p.body.id());
    CFG_LOG(LL_INFO, "Decoder: Received LOG_SWITCH_FIB VTEP msg %1: %2", id, p.body.ShortDebugString());
    CFG_LOG(LL_INFO, "Decoder: Received LOG_SWITCH_FIB VTEP OP msg %1: %2", id, p.op.ShortDebugString());
    CFG_LOG(LL_INFO, "Decoder: Received LOG_SWITCH_FIB VTEP old msg %1: %2", id, p.old.ShortDebugString());
    if (OverlayKey(p, LOG_SWITCH_FIB, "Decoder: Received SET operation for logical switch ID %1",
                   "Decoder: Received CLEAR operation for logical switch ID %1", records)) {
        return records;
    }
    auto sink = [&](uint32_t propertyType, const char* recordName, const char* listName) {
        return OverlaySink{LOG_SWITCH_FIB, p.key, propertyType, recordName, listName, update, records};
    };
    OverlaySink vteps = sink(L2_VTEP, "L2_VTEP", "Logical switch vtep");
    WalkEntries(p.op.vteps(), p.body.vteps(), p.old.vteps(), vteps);
    OverlaySink labels = sink(L2_VTEP_GROUP_LABEL, "L2_VTEP_GROUP_LABEL", "Logical switch vtep group label");
    WalkEntries(p.op.vtep_group_labels(), p.body.vtep_group_labels(), p.old.vtep_group_labels(), labels);
    OverlaySink ips = sink(L2_VM_IP, "L2_VM_IP", "Logical switch ip");
    WalkEntries(p.op.ips(), p.body.ips(), p.old.ips(), ips);
    OverlaySink macs = sink(L2_VM_MAC, "L2_VM_MAC", "Logical switch mac");
    WalkEntries(p.op.macs(), p.body.macs(), p.old.macs(), macs);
    return records;
}

LoftDBUpdateList Decoder::DecodeRoutingDomainFib(const Update& update) {
    LoftDBUpdateList records;
    Parsed<lb::RoutingDomainFibMsg, lb::RoutingDomainFibOpMsg> p;
    if (!Parse(update, "RoutingDomainFibMsg", p)) {
        return records;
    }
    CFG_LOG(LL_INFO, "Decoder: Received ROUTING_DOMAIN_FIB msg %1: %2", UuidToString(p.body.id()),
            p.body.ShortDebugString());
    CFG_LOG(LL_INFO, "Decoder: Received ROUTING_DOMAIN_FIB OP msg: %1", p.op.ShortDebugString());
    CFG_LOG(LL_INFO, "Decoder: Received ROUTING_DOMAIN_FIB old msg: %1", p.old.ShortDebugString());
    if (OverlayKey(p, ROUTING_DOMAIN_FIB, "Decoder: Received SET operation for routing domain ID %1",
                   "Decoder: Received CLEAR operation for routing domain ID %1", records)) {
        return records;
    }
    OverlaySink vteps{ROUTING_DOMAIN_FIB, p.key, L2_VTEP, "L2_VTEP", "Routing domain vtep", update, records};
    WalkEntries(p.op.vteps(), p.body.vteps(), p.old.vteps(), vteps);
    OverlaySink labels{ROUTING_DOMAIN_FIB, p.key, L2_VTEP_GROUP_LABEL, "L2_VTEP_GROUP_LABEL",
                       "Routing domain vtep group label", update, records};
    WalkEntries(p.op.vtep_group_labels(), p.body.vtep_group_labels(), p.old.vtep_group_labels(), labels);
    return records;
}

LoftDBUpdateList Decoder::DecodeFib(const Update& update) {
    LoftDBUpdateList records;
    Parsed<lb::FibMsg, lb::FibOpMsg> p;
    if (!Parse(update, "FibMsg", p)) {
        return records;
    }
    CFG_LOG(LL_INFO, "Decoder: Received FIB msg: %1, op msg: %2, old msg: %3", p.body.ShortDebugString(),
            p.op.ShortDebugString(), p.old.ShortDebugString());
    if (p.op.has_log_router_id()) {
        SingleValue(p.op.log_router_id().self(),
                    p.hasOld && p.old.has_log_router_id() ? &p.old.log_router_id() : nullptr,
                    p.body.has_log_router_id() ? &p.body.log_router_id() : nullptr, FIB, p.key,
                    L3_FIB_ROUTER_ID, "Decoder: FIB router ID, clear has no old value, monitor update msg: %1",
                    "Decoder: FIB router ID, set has no value, monitor update msg: %1", update, records);
    }
    if (p.op.has_prefix()) {
        SingleValue(p.op.prefix().self(), p.hasOld && p.old.has_prefix() ? &p.old.prefix() : nullptr,
                    p.body.has_prefix() ? &p.body.prefix() : nullptr, FIB, p.key, L3_FIB_IP_PREFIX,
                    "Decoder: FIB prefix, clear has no old value, monitor update msg: %1",
                    "Decoder: FIB prefix, set has no value, monitor update msg: %1", update, records);
    }
    RoutingSink hops{FIB, p.key, L3_FIB_NEXT_HOP, "FIB next hop", update, records};
    WalkEntries(p.op.next_hops(), p.body.next_hops(), p.old.next_hops(), hops);
    return records;
}

LoftDBUpdateList Decoder::DecodeArpTableConfig(const Update& update) {
    LoftDBUpdateList records;
    Parsed<lb::ArpTableConfigMsg, lb::ArpTableConfigOpMsg> p;
    if (!Parse(update, "ArpTableConfigMsg", p)) {
        return records;
    }
    CFG_LOG(LL_INFO, "Decoder: Received ARP_TABLE_CONFIG msg: %1, op msg: %2, old msg: %3",
            p.body.ShortDebugString(), p.op.ShortDebugString(), p.old.ShortDebugString());
    if (p.op.has_log_router_port_id()) {
        SingleValue(p.op.log_router_port_id().self(),
                    p.hasOld && p.old.has_log_router_port_id() ? &p.old.log_router_port_id() : nullptr,
                    p.body.has_log_router_port_id() ? &p.body.log_router_port_id() : nullptr,
                    ARP_TABLE_CONFIG, p.key, L3_ARP_ROUTER_PORT_ID,
                    "Decoder: ARP_TABLE_CONFIG router port ID, clear has no old value, monitor update msg: %1",
                    "Decoder: ARP_TABLE_CONFIG router port ID, set has no value, monitor update msg: %1",
                    update, records);
    }
    RoutingSink entries{ARP_TABLE_CONFIG, p.key, L3_ARP_ENTRY, "ARP_TABLE_CONFIG entry", update, records};
    WalkEntries(p.op.entries(), p.body.entries(), p.old.entries(), entries);
    return records;
}

}  // namespace CfgAgent
