// Objects read whole, with or without the former object, and the special
// cases among them: DA_VIF, group relations, barriers, BFD and the guest
// channel's global configuration.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>

#include "DecoderTestSupport.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "loftdb_cradle.pb.h"
#include "loftdb_firewall.pb.h"
#include "loftdb_lb.pb.h"
#include "loftdb_overlay.pb.h"
#include "loftdb_routing.pb.h"
#include "loftdb_routing_op.pb.h"
#include "loftdb_runtime.pb.h"
#include "loftdb_service_insertion.pb.h"
#include "loftdb_system.pb.h"
#include "store/Decoder.h"
#include "zef/loftdb/ObjectTypeTable.h"
#include "zef/loftdb/ObjectTypes.h"

namespace StoreTest {
namespace {

using CfgAgent::Decoder;
using namespace CfgAgent;
using DecodeFn = LoftDBUpdateList (*)(const lb::MonitorUpdateMsg&);

lb::LogRouterPortConfigMsg RouterPort(uint64_t id) {
    lb::LogRouterPortConfigMsg port;
    *port.mutable_id() = Uuid(id);
    port.set_mac(0x0a0b0c0d0e0f);
    return port;
}

TEST(DecoderWholeTest, SetCarriesTheBodyAndClearOnlyTheKey) {
    lb::LogRouterPortConfigMsg port = RouterPort(3);
    lb::MonitorUpdateMsg set = Change(LOG_ROUTER_PORT_CONFIG, nullptr, &port);
    *set.mutable_span_context() = Span();

    auto records = AsVector(Decoder::DecodeLogRouterPortConfig(set));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0], LoftDBUpdateMsg(LOG_ROUTER_PORT_CONFIG, Key(3), OP_UPDATE, INVALID_PROPERTY,
                                          set.object_body()));

    records = AsVector(Decoder::DecodeLogRouterPortConfig(Change(LOG_ROUTER_PORT_CONFIG, &port, nullptr)));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0], LoftDBUpdateMsg(LOG_ROUTER_PORT_CONFIG, Key(3), OP_DELETE, INVALID_PROPERTY, ""));

    lb::LogRouterPortConfigOpMsg insert;
    insert.set_self(lb::INSERT);
    set.set_op_body(insert.SerializeAsString());
    EXPECT_TRUE(Decoder::DecodeLogRouterPortConfig(set).empty());
}

TEST(DecoderWholeTest, SomeWholeObjectsSpeakThroughAProperty) {
    lb::LogRouterPortFibDadStateMsg status;
    *status.mutable_id() = Uuid(4);
    auto records = AsVector(Decoder::DecodeLogRouterPortFibDadState(
        Change(LOG_ROUTER_PORT_FIB_DAD_STATE, nullptr, &status)));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].propertyType, L3_DAD_STATUS);

    // A VTEP group is known by its label's text.
    lb::VtepGroupMsg group;
    group.set_id("262145");
    group.set_label(262145);
    LogCapture log;
    records = AsVector(Decoder::DecodeVtepGroup(Change(L2_VTEP_GROUP_OBJECT, nullptr, &group)));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].objectType, L2_VTEP_GROUP_OBJECT);
    EXPECT_EQ(records[0].objectId, "262145");
    EXPECT_EQ(records[0].propertyType, L2_VTEP_GROUP);
    EXPECT_TRUE(log.Has("Decoder: Received L2_VTEP_GROUP OP msg (Operation SET): "));
}

TEST(DecoderWholeTest, GlobalConfigCarriesTraceAndTenant) {
    lb::GlobalConfigMsg global;
    *global.mutable_id() = Uuid(9);
    global.mutable_tenant_context()->set_org("acme");
    lb::MonitorUpdateMsg update = Change(GLOBAL_CONFIG, nullptr, &global);
    *update.mutable_span_context() = Span();
    LogCapture log;

    auto records = AsVector(Decoder::DecodeGlobalConfig(update));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].traceInfo, Span().SerializeAsString());
    EXPECT_EQ(records[0].tenantContext, global.tenant_context().SerializeAsString());
    EXPECT_EQ(records[0].propertyValue, update.object_body());
    EXPECT_TRUE(log.Has("Decoder: Received GLOBAL_CONFIG msg Update"));
}

struct OldBodyCase {
    uint32_t objectType;
    DecodeFn decode;
    const char* message;
    std::function<std::unique_ptr<google::protobuf::Message>()> make;
};

template <class Msg>
std::function<std::unique_ptr<google::protobuf::Message>()> Maker() {
    return [] {
        auto msg = std::make_unique<Msg>();
        *msg->mutable_id() = Uuid(20);
        return msg;
    };
}

// Family O: a delete is only as good as the former object it carries.
TEST(DecoderWholeTest, DeleteNeedsTheFormerObject) {
    const std::vector<OldBodyCase> cases = {
        {RULE, &Decoder::DecodeDFWRule, "RuleMsg", Maker<lb::RuleMsg>()},
        {RULE_SECTION, &Decoder::DecodeDFWRuleSection, "RuleSectionMsg", Maker<lb::RuleSectionMsg>()},
        {CONTAINER, &Decoder::DecodeDFWContainer, "ContainerMsg", Maker<lb::ContainerMsg>()},
        {CONTEXT_PROFILE, &Decoder::DecodeDFWContextProfile, "ContextProfileMsg", Maker<lb::ContextProfileMsg>()},
        {IDS_SIGNATURES, &Decoder::DecodeIdsSignatures, "IdsSignaturesMsg", Maker<lb::IdsSignaturesMsg>()},
        {CONFIG_SPAN, &Decoder::DecodeDFWConfigSpan, "ConfigSpanMsg", Maker<lb::ConfigSpanMsg>()},
        {IP_REPUTATION_CONFIG, &Decoder::DecodeDFWIpReputationConfig, "IpReputationConfigMsg",
         Maker<lb::IpReputationConfigMsg>()},
        {ENTITY_GROUP_RELATION, &Decoder::DecodeEntityGroupRelationObject, "EntityGroupRelationMsg",
         Maker<lb::EntityGroupRelationMsg>()},
        {LB_SERVICE, &Decoder::DecodeLbService, "LbServiceMsg", Maker<lb::LbServiceMsg>()},
        {LB_VIRTUAL_SERVER, &Decoder::DecodeLbVirtualServer, "LbVirtualServerMsg", Maker<lb::LbVirtualServerMsg>()},
        {LB_POOL, &Decoder::DecodeLbPool, "LbPoolMsg", Maker<lb::LbPoolMsg>()},
        {LB_APPLICATION_PROFILE, &Decoder::DecodeLbApplicationProfile, "LbApplicationProfileMsg",
         Maker<lb::LbApplicationProfileMsg>()},
        {LB_PERSISTENCE_PROFILE, &Decoder::DecodeLbPersistenceProfile, "LbPersistenceProfileMsg",
         Maker<lb::LbPersistenceProfileMsg>()},
    };
    for (const OldBodyCase& c : cases) {
        auto object = c.make();
        lb::MonitorUpdateMsg set = Change(c.objectType, nullptr, object.get());
        *set.mutable_span_context() = Span();
        auto records = AsVector(c.decode(set));
        ASSERT_EQ(records.size(), 1u) << c.message;
        EXPECT_EQ(records[0].operation, OP_UPDATE);
        EXPECT_EQ(records[0].propertyValue, set.object_body());
        EXPECT_EQ(records[0].traceInfo, Span().SerializeAsString()) << c.message;

        lb::MonitorUpdateMsg clear = Change(c.objectType, object.get(), nullptr);
        records = AsVector(c.decode(clear));
        ASSERT_EQ(records.size(), 1u) << c.message;
        EXPECT_EQ(records[0], LoftDBUpdateMsg(c.objectType, Key(20), OP_DELETE, INVALID_PROPERTY,
                                              clear.old_object_body()));

        LogCapture log(LL_ERROR);
        EXPECT_TRUE(c.decode(BareDelete(c.objectType, object.get())).empty()) << c.message;
        EXPECT_TRUE(log.Has(std::string("Decoder: No old_object_body in CLEAR ") + c.message + "\n"))
            << log.Text();
    }
}

TEST(DecoderWholeTest, ServiceInsertionDeleteTakesWhatFormerObjectCame) {
    lb::SiServicePathMsg path;
    *path.mutable_id() = Uuid(30);
    path.set_service_path_id(77);
    lb::MonitorUpdateMsg withOld = Change(SI_SERVICE_PATH, &path, nullptr);
    auto records = AsVector(Decoder::DecodeSiServicePath(withOld));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].propertyValue, withOld.old_object_body());

    records = AsVector(Decoder::DecodeSiServicePath(BareDelete(SI_SERVICE_PATH, &path)));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].operation, OP_DELETE);
    EXPECT_TRUE(records[0].propertyValue.empty());
}

TEST(DecoderWholeTest, BarrierAndChannelConfigAreAlwaysUpdates) {
    lb::BarrierMsg barrier;
    *barrier.mutable_id() = Uuid(40);
    barrier.set_barrier_num(17);
    lb::MonitorUpdateMsg gone = Change(BARRIER, &barrier, nullptr);
    auto records = AsVector(Decoder::DecodeBarrier(gone));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0], LoftDBUpdateMsg(BARRIER, Key(40), OP_UPDATE, INVALID_PROPERTY, gone.object_body()));

    lb::CradleChannelGlobalConfigMsg channel;
    *channel.mutable_id() = Uuid(41);
    records = AsVector(Decoder::DecodeCradleGlobalConfig(Change(CRADLE_CHANNEL_GLOBAL_CONFIG, &channel, nullptr)));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].operation, OP_UPDATE);
}

TEST(DecoderWholeTest, BfdGlobalConfigOnlyOnSetKeyedEvenWithoutId) {
    lb::BfdGlobalConfigMsg bfd;
    bfd.set_enabled(true);
    lb::MonitorUpdateMsg set = Change(BFD_GLOBAL_CONFIG, nullptr, &bfd);
    auto records = AsVector(Decoder::DecodeBfdGlobalConfig(set));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0], LoftDBUpdateMsg(BFD_GLOBAL_CONFIG, lb::UuidMsg().SerializeAsString(), OP_UPDATE,
                                          INVALID_PROPERTY, set.object_body()));
    EXPECT_TRUE(Decoder::DecodeBfdGlobalConfig(Change(BFD_GLOBAL_CONFIG, &bfd, nullptr)).empty());
}

TEST(DecoderWholeTest, DaVifCarriesItsBindings) {
    lb::DaVifMsg vif;
    vif.set_id("vif-1");
    vif.set_kind(3);
    for (uint64_t mac : {0x001122334455ull, 0x001122334466ull}) {
        auto* binding = vif.add_bindings();
        binding->set_mac(mac);
        binding->mutable_ip_address()->set_ipv4(0x0a000001);
    }
    LogCapture log;
    auto records = AsVector(Decoder::DecodeDaVifMsg(Change(DA_VIF_OBJECT, nullptr, &vif)));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].objectType, DA_VIF_OBJECT);
    EXPECT_EQ(records[0].objectId, "vif-1");
    EXPECT_EQ(records[0].propertyType, DA_VIF);
    EXPECT_EQ(records[0].operation, OP_UPDATE);
    auto value = ParseAs<lb::DaVifMsg>(records[0].propertyValue);
    EXPECT_EQ(value.id(), "vif-1");
    EXPECT_EQ(value.bindings_size(), 2);
    EXPECT_TRUE(log.Has("Decoder: Received DA_VIF msg with bindings size 2"));

    lb::DaVifMsg bare;
    bare.set_id("vif-1");
    records = AsVector(Decoder::DecodeDaVifMsg(Change(DA_VIF_OBJECT, &vif, &bare)));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].operation, OP_DELETE);
    EXPECT_EQ(ParseAs<lb::DaVifMsg>(records[0].propertyValue).id(), "vif-1");
    EXPECT_TRUE(log.Has("Decoder: Received DA_VIF msg with no bindings"));

    records = AsVector(Decoder::DecodeDaVifMsg(Change(DA_VIF_OBJECT, &vif, nullptr)));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0], LoftDBUpdateMsg(DA_VIF_OBJECT, "vif-1", OP_DELETE, DA_VIF, ""));
    EXPECT_TRUE(log.Has("Decoder: Received DA_VIF msg with CLEAR op"));
}

lb::EntityGroupRelationMsg Relation(std::initializer_list<uint64_t> groups) {
    lb::EntityGroupRelationMsg relation;
    *relation.mutable_id() = Uuid(50);
    relation.set_entity_type(1);
    for (uint64_t group : groups) {
        *relation.add_group_ids() = Uuid(group);
    }
    return relation;
}

std::multiset<std::pair<uint32_t, std::string>> GroupRecords(const LoftDBUpdateList& records) {
    std::multiset<std::pair<uint32_t, std::string>> groups;
    for (const LoftDBUpdateMsg& record : records) {
        EXPECT_EQ(record.objectType, ENTITY_GROUP_RELATION);
        EXPECT_EQ(record.objectId, Key(50));
        EXPECT_EQ(record.propertyType, CONTINER_LOGICAL_SWITCH_PORT);
        groups.emplace(record.operation, record.propertyValue);
    }
    return groups;
}

TEST(DecoderWholeTest, GroupRelationGivesTheGroupsJoinedAndLeft) {
    lb::EntityGroupRelationMsg ab = Relation({0xa, 0xb});
    lb::EntityGroupRelationMsg bc = Relation({0xb, 0xc});

    EXPECT_EQ(GroupRecords(Decoder::DecodeEntityGroupRelation(Change(ENTITY_GROUP_RELATION, nullptr, &ab))),
              (std::multiset<std::pair<uint32_t, std::string>>{{OP_UPDATE, Key(0xa)}, {OP_UPDATE, Key(0xb)}}));

    auto moved = AsVector(Decoder::DecodeEntityGroupRelation(Change(ENTITY_GROUP_RELATION, &ab, &bc)));
    ASSERT_EQ(moved.size(), 2u);
    EXPECT_EQ(moved[0].operation, OP_DELETE) << "leaving comes first";
    EXPECT_EQ(moved[0].propertyValue, Key(0xa));
    EXPECT_EQ(moved[1].operation, OP_UPDATE);
    EXPECT_EQ(moved[1].propertyValue, Key(0xc));

    EXPECT_TRUE(Decoder::DecodeEntityGroupRelation(Change(ENTITY_GROUP_RELATION, &ab, &ab)).empty());

    EXPECT_EQ(GroupRecords(Decoder::DecodeEntityGroupRelation(Change(ENTITY_GROUP_RELATION, &bc, nullptr))),
              (std::multiset<std::pair<uint32_t, std::string>>{{OP_DELETE, Key(0xb)}, {OP_DELETE, Key(0xc)}}));
}

// Each monitored type reaches a decoder of its own type; runtime types and
// unknown codes give nothing.
TEST(DecoderWholeTest, DecodeFindsTheDecoderOfEachType) {
    const std::set<uint32_t> runtime = {VIF_STATE,        LOG_SWITCH_STATE,      ROUTING_DOMAIN_VTEP,
                                        PROCESSED_BARRIER, RUNTIME_STATUS,        SI_SERVICE_VM_STATUS,
                                        LOG_ROUTER_PORT_DAD_STATE, HOTMOVE_STATUS};
    for (const zef::loftdb::ObjectTypeInfo& info : zef::loftdb::kObjectTypes) {
        auto object = zef::loftdb::ObjectTypes::NewObject(info.code);
        ASSERT_NE(object, nullptr) << info.name;
        FillEveryField(*object);
        if (info.code == PROFILE) {
            object->GetReflection()->SetUInt32(object.get(), object->GetDescriptor()->FindFieldByName("profile_type"), 1);
        }
        auto records = Decoder::Decode(Change(info.code, nullptr, object.get()));
        if (runtime.count(info.code) != 0) {
            EXPECT_TRUE(records.empty()) << info.name;
            continue;
        }
        EXPECT_FALSE(records.empty()) << info.name;
        for (const LoftDBUpdateMsg& record : records) {
            EXPECT_EQ(record.objectType, info.code) << info.name;
            if (info.code == ENTITY_GROUP_RELATION) {
                EXPECT_EQ(record.propertyType, CONTINER_LOGICAL_SWITCH_PORT) << "the group reading";
            }
        }
    }
    lb::MonitorUpdateMsg invalid;
    EXPECT_TRUE(Decoder::Decode(invalid).empty());
}

}  // namespace
}  // namespace StoreTest
