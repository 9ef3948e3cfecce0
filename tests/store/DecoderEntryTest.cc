// Objects read entry by entry: the overlay tables of switches and routing
// domains, routes and ARP tables.

#include <gtest/gtest.h>

#include "DecoderTestSupport.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_overlay_op.pb.h"
#include "loftdb_routing.pb.h"
#include "loftdb_routing_op.pb.h"
#include "store/Decoder.h"

namespace StoreTest {
namespace {

using CfgAgent::Decoder;
using namespace CfgAgent;

lb::LogSwitchVtepEntryMsg Vtep(uint32_t label, uint32_t ip) {
    lb::LogSwitchVtepEntryMsg vtep;
    vtep.mutable_vtep_label()->set_label(label);
    vtep.set_vtep_ip(ip);
    return vtep;
}

lb::LogSwitchFibMsg SwitchFib() {
    lb::LogSwitchFibMsg fib;
    *fib.mutable_id() = Uuid(1);
    return fib;
}

// The monitor statement of the switch tables: every list entry by entry.
std::string SwitchFibSelect() {
    lb::LogSwitchFibOpMsg select;
    select.mutable_id()->set_self(lb::SELECT);
    select.add_vteps()->set_self(lb::SELECT);
    select.add_ips()->set_self(lb::SELECT);
    select.add_macs()->set_self(lb::SELECT);
    select.add_vtep_group_labels()->set_self(lb::SELECT);
    return select.SerializeAsString();
}

std::string RouteSelect() {
    lb::FibOpMsg select;
    select.mutable_id()->set_self(lb::SELECT);
    select.mutable_prefix()->set_self(lb::SELECT);
    select.add_next_hops()->set_self(lb::SELECT);
    return select.SerializeAsString();
}

LoftDBUpdateMsg Entry(uint32_t operation, uint32_t property, const google::protobuf::Message& value,
                      uint32_t objectType = LOG_SWITCH_FIB, uint64_t id = 1) {
    return LoftDBUpdateMsg(objectType, Key(id), operation, property, value.SerializeAsString());
}

TEST(DecoderEntryTest, NewSwitchTableGivesTheObjectThenEveryList) {
    lb::LogSwitchFibMsg fib = SwitchFib();
    *fib.add_vteps() = Vtep(10, 0x0a000001);
    *fib.add_vteps() = Vtep(11, 0x0a000002);
    fib.add_vtep_group_labels()->set_label(0x40001);
    fib.add_ips()->mutable_ip()->set_ipv4(0xc0a80001);
    fib.add_macs()->set_mac(0x001122334455);
    LogCapture log;

    auto records = AsVector(Decoder::DecodeLogSwitchFib(Change(LOG_SWITCH_FIB, nullptr, &fib, SwitchFibSelect())));

    ASSERT_EQ(records.size(), 6u);
    EXPECT_EQ(records[0], LoftDBUpdateMsg(LOG_SWITCH_FIB, Key(1), OP_UPDATE, std::string(), std::string()));
    EXPECT_EQ(records[1], Entry(OP_UPDATE, L2_VTEP, fib.vteps(0)));
    EXPECT_EQ(records[2], Entry(OP_UPDATE, L2_VTEP, fib.vteps(1)));
    EXPECT_EQ(records[3], Entry(OP_UPDATE, L2_VTEP_GROUP_LABEL, fib.vtep_group_labels(0)));
    EXPECT_EQ(records[4], Entry(OP_UPDATE, L2_VM_IP, fib.ips(0)));
    EXPECT_EQ(records[5], Entry(OP_UPDATE, L2_VM_MAC, fib.macs(0)));
    EXPECT_TRUE(log.Has("Decoder: Received SET operation for logical switch ID 00000000-0000-0001-0000-000000001111"));
    EXPECT_TRUE(log.Has("Decoder: generate L2_VM_MAC UPDATE msg: "));
}

TEST(DecoderEntryTest, ChangedEntriesPutTheirDeletesFirst) {
    lb::LogSwitchFibMsg before = SwitchFib();
    *before.add_vteps() = Vtep(10, 1);
    *before.add_vteps() = Vtep(11, 1);
    lb::LogSwitchFibMsg after = SwitchFib();
    *after.add_vteps() = Vtep(10, 2);
    *after.add_vteps() = Vtep(12, 1);

    auto records = AsVector(Decoder::DecodeLogSwitchFib(Change(LOG_SWITCH_FIB, &before, &after, SwitchFibSelect())));

    // Label 11 went, label 10 changed, label 12 came.
    ASSERT_EQ(records.size(), 4u);
    EXPECT_EQ(records[0], Entry(OP_DELETE, L2_VTEP, Vtep(10, 1)));
    EXPECT_EQ(records[1], Entry(OP_DELETE, L2_VTEP, Vtep(11, 1)));
    EXPECT_EQ(records[2], Entry(OP_UPDATE, L2_VTEP, Vtep(10, 2)));
    EXPECT_EQ(records[3], Entry(OP_UPDATE, L2_VTEP, Vtep(12, 1)));
}

TEST(DecoderEntryTest, RemoveAfterInsertStandsBeforeIt) {
    lb::LogSwitchFibMsg body = SwitchFib();
    *body.add_vteps() = Vtep(10, 1);
    *body.add_vteps() = Vtep(11, 1);
    lb::LogSwitchFibOpMsg op;
    op.set_self(lb::SET);
    op.add_vteps()->set_self(lb::INSERT);
    op.add_vteps()->set_self(lb::REMOVE);
    lb::MonitorUpdateMsg update;
    update.set_object_type(LOG_SWITCH_FIB);
    update.set_object_body(body.SerializeAsString());
    update.set_op_body(op.SerializeAsString());

    auto records = AsVector(Decoder::DecodeLogSwitchFib(update));

    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0], Entry(OP_DELETE, L2_VTEP, Vtep(11, 1)));
    EXPECT_EQ(records[1], Entry(OP_UPDATE, L2_VTEP, Vtep(10, 1)));
}

TEST(DecoderEntryTest, DeletedSwitchTableIsOneRecord) {
    lb::LogSwitchFibMsg fib = SwitchFib();
    *fib.add_vteps() = Vtep(10, 1);
    fib.add_macs()->set_mac(7);
    lb::MonitorUpdateMsg update = Change(LOG_SWITCH_FIB, &fib, nullptr, SwitchFibSelect());
    // Even with every entry cleared beside the key, the key decides.
    lb::LogSwitchFibOpMsg op = ParseAs<lb::LogSwitchFibOpMsg>(update.op_body());
    op.add_vteps()->set_self(lb::CLEAR);
    update.set_op_body(op.SerializeAsString());

    auto records = AsVector(Decoder::DecodeLogSwitchFib(update));

    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0], LoftDBUpdateMsg(LOG_SWITCH_FIB, Key(1), OP_DELETE, std::string(), std::string()));
}

TEST(DecoderEntryTest, ListNotSelectedIsReplacedWhole) {
    lb::LogSwitchFibMsg before = SwitchFib();
    *before.add_vteps() = Vtep(10, 1);
    *before.add_vteps() = Vtep(11, 1);
    lb::LogSwitchFibMsg after = SwitchFib();
    *after.add_vteps() = Vtep(11, 1);
    *after.add_vteps() = Vtep(12, 1);

    auto records = AsVector(Decoder::DecodeLogSwitchFib(Change(LOG_SWITCH_FIB, &before, &after)));

    ASSERT_EQ(records.size(), 4u);
    EXPECT_EQ(records[0], Entry(OP_DELETE, L2_VTEP, Vtep(10, 1)));
    EXPECT_EQ(records[1], Entry(OP_DELETE, L2_VTEP, Vtep(11, 1)));
    EXPECT_EQ(records[2], Entry(OP_UPDATE, L2_VTEP, Vtep(11, 1)));
    EXPECT_EQ(records[3], Entry(OP_UPDATE, L2_VTEP, Vtep(12, 1)));

}

TEST(DecoderEntryTest, SizeErrorEndsThatListOnly) {
    lb::LogSwitchFibMsg body = SwitchFib();
    *body.add_vteps() = Vtep(10, 1);
    body.add_ips()->mutable_ip()->set_ipv4(5);
    body.add_macs()->set_mac(6);
    lb::LogSwitchFibOpMsg op;
    op.set_self(lb::SET);
    for (int i = 0; i < 3; ++i) {
        op.add_vteps()->set_self(lb::INSERT);
    }
    op.add_ips()->set_self(lb::UPDATE);  // with no former entry to match
    op.add_macs()->set_self(lb::APPEND);
    lb::MonitorUpdateMsg update;
    update.set_object_type(LOG_SWITCH_FIB);
    update.set_object_body(body.SerializeAsString());
    update.set_op_body(op.SerializeAsString());
    LogCapture log;

    auto records = AsVector(Decoder::DecodeLogSwitchFib(update));

    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0], Entry(OP_UPDATE, L2_VTEP, body.vteps(0)));
    EXPECT_EQ(records[1], Entry(OP_UPDATE, L2_VM_MAC, body.macs(0)));
    EXPECT_TRUE(log.Has("Decoder: Logical switch vtep, msg size not match, op msg index 1 monitor update msg: "));
    EXPECT_FALSE(log.Has("op msg index 2 monitor update msg")) << "the rest of the list is skipped";
    EXPECT_TRUE(log.Has(
        "Decoder: Logical switch ip, old msg size not match, op msg index 0 old msg index 0, monitor update msg: "));
}

TEST(DecoderEntryTest, RoutingDomainTableHasItsOwnErrorText) {
    lb::RoutingDomainFibMsg fib;
    *fib.mutable_id() = Uuid(2);
    *fib.add_vteps() = Vtep(10, 1);
    lb::RoutingDomainFibOpMsg op;
    op.mutable_id()->set_self(lb::SET);
    op.add_vteps()->set_self(lb::INSERT);
    op.add_vteps()->set_self(lb::INSERT);
    lb::MonitorUpdateMsg update;
    update.set_object_body(fib.SerializeAsString());
    update.set_op_body(op.SerializeAsString());
    LogCapture log;

    auto records = AsVector(Decoder::DecodeRoutingDomainFib(update));

    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0], LoftDBUpdateMsg(ROUTING_DOMAIN_FIB, Key(2), OP_UPDATE, std::string(), std::string()));
    EXPECT_EQ(records[1], Entry(OP_UPDATE, L2_VTEP, fib.vteps(0), ROUTING_DOMAIN_FIB, 2));
    EXPECT_TRUE(log.Has("Decoder: Routing domain vtep, msg size not match, op msg index 1 monitor update msg: "));
}

lb::FibNextHopMsg Hop(uint32_t ip) {
    lb::FibNextHopMsg hop;
    hop.mutable_ip()->set_ipv4(ip);
    hop.set_egress_interface("lrp-1");
    hop.set_admin_distance(1);
    hop.set_metric(20);
    hop.set_tag(300);
    return hop;
}

lb::FibMsg Route() {
    lb::FibMsg route;
    *route.mutable_id() = Uuid(3);
    *route.mutable_log_router_id() = Uuid(4);
    route.mutable_prefix()->mutable_ip_address()->set_ipv4(0x0a000000);
    route.mutable_prefix()->set_prefix_length(8);
    return route;
}

// What the check keeps of a next hop: its identity.
lb::FibNextHopMsg Identity(lb::FibNextHopMsg hop) {
    hop.clear_admin_distance();
    hop.clear_metric();
    hop.clear_tag();
    return hop;
}

TEST(DecoderEntryTest, RouteKeepsOnlyNextHopsItCanTellApart) {
    lb::FibMsg route = Route();
    *route.add_next_hops() = Hop(0x0a000001);
    lb::FibNextHopMsg nothing;
    nothing.set_metric(5);
    *route.add_next_hops() = nothing;
    lb::FibNextHopMsg blackhole;
    blackhole.set_blackhole(true);
    *route.add_next_hops() = blackhole;
    lb::FibNextHopMsg staticRoute;
    staticRoute.set_route_type(lb::FIB_ROUTE_TYPE_STATIC);
    staticRoute.set_tag(9);
    *route.add_next_hops() = staticRoute;
    lb::MonitorUpdateMsg update = Change(FIB, nullptr, &route, RouteSelect());
    *update.mutable_span_context() = Span();
    LogCapture log;

    auto records = AsVector(Decoder::DecodeFib(update));

    ASSERT_EQ(records.size(), 5u);
    EXPECT_EQ(records[0], Entry(OP_ADD, L3_FIB_ROUTER_ID, route.log_router_id(), FIB, 3));
    EXPECT_EQ(records[1], Entry(OP_ADD, L3_FIB_IP_PREFIX, route.prefix(), FIB, 3));
    EXPECT_EQ(records[2], Entry(OP_ADD, L3_FIB_NEXT_HOP, Identity(Hop(0x0a000001)), FIB, 3));
    EXPECT_EQ(records[3], Entry(OP_ADD, L3_FIB_NEXT_HOP, blackhole, FIB, 3));
    EXPECT_EQ(records[4], Entry(OP_ADD, L3_FIB_NEXT_HOP, Identity(staticRoute), FIB, 3));
    EXPECT_EQ(ParseAs<lb::FibNextHopMsg>(records[2].propertyValue).egress_interface(), "lrp-1");
    EXPECT_TRUE(log.Has("Decoder: Fib next hop msg has no IP/blackhole/static route: "));
}

TEST(DecoderEntryTest, RouteChangesRemoveTheOldValueFirst) {
    lb::FibMsg before = Route();
    *before.add_next_hops() = Hop(1);
    *before.add_next_hops() = Hop(2);
    lb::FibMsg after = Route();
    *after.mutable_log_router_id() = Uuid(5);
    lb::FibNextHopMsg relearned = Hop(1);
    relearned.set_metric(99);
    *after.add_next_hops() = relearned;

    auto records = AsVector(Decoder::DecodeFib(Change(FIB, &before, &after, RouteSelect())));

    ASSERT_EQ(records.size(), 5u);
    EXPECT_EQ(records[0], Entry(OP_REMOVE, L3_FIB_ROUTER_ID, Uuid(4), FIB, 3));
    EXPECT_EQ(records[1], Entry(OP_ADD, L3_FIB_ROUTER_ID, Uuid(5), FIB, 3));
    EXPECT_EQ(records[2], Entry(OP_REMOVE, L3_FIB_NEXT_HOP, Identity(Hop(2)), FIB, 3));
    // A next hop that only learned another metric removes and adds the same value.
    EXPECT_EQ(records[3], Entry(OP_REMOVE, L3_FIB_NEXT_HOP, Identity(Hop(1)), FIB, 3));
    EXPECT_EQ(records[4], Entry(OP_ADD, L3_FIB_NEXT_HOP, Identity(Hop(1)), FIB, 3));
}

TEST(DecoderEntryTest, RouteFieldWithoutValueIsAnError) {
    lb::FibMsg route = Route();
    route.clear_log_router_id();
    lb::FibOpMsg op;
    op.set_self(lb::SET);
    op.mutable_log_router_id()->set_self(lb::CLEAR);
    op.mutable_prefix()->set_self(lb::SET);
    lb::MonitorUpdateMsg update;
    update.set_object_type(FIB);
    update.set_object_body(route.SerializeAsString());
    update.set_op_body(op.SerializeAsString());
    LogCapture log;

    auto records = AsVector(Decoder::DecodeFib(update));

    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].propertyType, L3_FIB_IP_PREFIX);
    EXPECT_TRUE(log.Has("Decoder: FIB router ID, clear has no old value, monitor update msg: "));
}

TEST(DecoderEntryTest, ArpTableEntriesComeAndGo) {
    lb::ArpTableConfigMsg before;
    *before.mutable_id() = Uuid(6);
    *before.mutable_log_router_port_id() = Uuid(7);
    auto* entry = before.add_entries();
    entry->mutable_ip()->set_ipv4(1);
    entry->set_mac(0xaa);
    lb::ArpTableConfigOpMsg select;
    select.mutable_log_router_port_id()->set_self(lb::SELECT);
    select.add_entries()->set_self(lb::SELECT);

    auto records = AsVector(
        Decoder::DecodeArpTableConfig(Change(ARP_TABLE_CONFIG, nullptr, &before, select.SerializeAsString())));
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0], Entry(OP_ADD, L3_ARP_ROUTER_PORT_ID, Uuid(7), ARP_TABLE_CONFIG, 6));
    EXPECT_EQ(records[1], Entry(OP_ADD, L3_ARP_ENTRY, before.entries(0), ARP_TABLE_CONFIG, 6));

    lb::ArpTableConfigMsg after = before;
    after.clear_entries();
    records = AsVector(
        Decoder::DecodeArpTableConfig(Change(ARP_TABLE_CONFIG, &before, &after, select.SerializeAsString())));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0], Entry(OP_REMOVE, L3_ARP_ENTRY, before.entries(0), ARP_TABLE_CONFIG, 6));
}

}  // namespace
}  // namespace StoreTest
