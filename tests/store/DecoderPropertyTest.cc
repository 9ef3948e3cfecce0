// Objects read property by property: switches, ports, transport nodes,
// bridge clusters, mirror sessions, IPFIX configuration and profiles.

#include <google/protobuf/message.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "DecoderTestSupport.h"
#include "log/TenantContext.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "loftdb_profile.pb.h"
#include "loftdb_profile_op.pb.h"
#include "loftdb_switching.pb.h"
#include "loftdb_switching_op.pb.h"
#include "store/Decoder.h"

namespace StoreTest {
namespace {

using CfgAgent::Decoder;

lb::LogSwitchConfigMsg FullSwitch() {
    lb::LogSwitchConfigMsg ls;
    FillEveryField(ls);
    *ls.mutable_id() = Uuid(1);
    ls.set_vni(5001);
    ls.mutable_tenant_context()->set_org("acme");
    return ls;
}

template <class Records>
std::vector<uint32_t> Properties(const Records& records) {
    std::vector<uint32_t> properties;
    for (const LoftDBUpdateMsg& record : records) {
        properties.push_back(record.propertyType);
    }
    return properties;
}

TEST(DecoderPropertyTest, FullSwitchGivesTheObjectAndEveryProperty) {
    lb::LogSwitchConfigMsg ls = FullSwitch();
    lb::MonitorUpdateMsg update = Change(CfgAgent::LOG_SWITCH_CONFIG, nullptr, &ls);
    *update.mutable_span_context() = Span();
    LogCapture log;

    auto records = AsVector(Decoder::DecodeLogSwitchConfig(update));

    ASSERT_EQ(records.size(), 17u);
    const std::string tenant = ls.tenant_context().SerializeAsString();
    EXPECT_EQ(records[0], LoftDBUpdateMsg(CfgAgent::LOG_SWITCH_CONFIG, Key(1), CfgAgent::OP_UPDATE,
                                          Span().SerializeAsString(), tenant));
    for (uint32_t i = 1; i < records.size(); ++i) {
        EXPECT_EQ(records[i].propertyType, CfgAgent::LS_VNI + i - 1);
        EXPECT_EQ(records[i].operation, CfgAgent::OP_UPDATE);
        EXPECT_EQ(records[i].traceInfo, Span().SerializeAsString());
        EXPECT_EQ(records[i].tenantContext, tenant);
        // The value is the object holding just that property.
        auto value = ParseAs<lb::LogSwitchConfigMsg>(records[i].propertyValue);
        std::vector<const google::protobuf::FieldDescriptor*> fields;
        value.GetReflection()->ListFields(value, &fields);
        EXPECT_EQ(fields.size(), 1u) << "property " << records[i].propertyType;
    }
    EXPECT_EQ(ParseAs<lb::LogSwitchConfigMsg>(records[1].propertyValue).vni(), 5001u);

    // The tenant is on the log lines while the object is decoded, and only then.
    EXPECT_EQ(CfgAgent::TenantContext::Top(), nullptr);
    const std::string& text = log.Text();
    const auto line = text.find("Decoder: Received LOG_SWITCH_CONFIG msg (Operation SET): ");
    ASSERT_NE(line, std::string::npos) << text;
    const size_t start = text.rfind('\n', line) + 1;
    EXPECT_NE(text.substr(start, line - start).find("org=\"acme\""), std::string::npos);
    EXPECT_NE(text.find("(VNI: 5001)", line), std::string::npos);
}

TEST(DecoderPropertyTest, SwitchWithOnlyVniDeletesTheOtherFifteen) {
    lb::LogSwitchConfigMsg ls;
    *ls.mutable_id() = Uuid(1);
    ls.set_vni(5001);

    auto records = AsVector(Decoder::DecodeLogSwitchConfig(Change(CfgAgent::LOG_SWITCH_CONFIG, nullptr, &ls)));

    ASSERT_EQ(records.size(), 17u);
    EXPECT_EQ(records[0].propertyType, CfgAgent::INVALID_PROPERTY);
    EXPECT_EQ(records[1].propertyType, CfgAgent::LS_VNI);
    EXPECT_EQ(records[1].operation, CfgAgent::OP_UPDATE);
    int deletes = 0;
    for (uint32_t i = 2; i < records.size(); ++i) {
        deletes += records[i].operation == CfgAgent::OP_DELETE && records[i].propertyValue.empty();
    }
    EXPECT_EQ(deletes, 15);
}

TEST(DecoderPropertyTest, DeleteIsOneRecordWithTheFormerTenant) {
    lb::LogSwitchConfigMsg ls = FullSwitch();
    lb::MonitorUpdateMsg update = Change(CfgAgent::LOG_SWITCH_CONFIG, &ls, nullptr);
    *update.mutable_span_context() = Span();

    auto records = AsVector(Decoder::DecodeLogSwitchConfig(update));

    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0], LoftDBUpdateMsg(CfgAgent::LOG_SWITCH_CONFIG, Key(1), CfgAgent::OP_DELETE,
                                          Span().SerializeAsString(),
                                          ls.tenant_context().SerializeAsString()));
}

TEST(DecoderPropertyTest, PortPropertiesComeInTheirOwnOrderWithoutRealtime) {
    lb::LogSwitchPortConfigMsg lsp;
    FillEveryField(lsp);
    *lsp.mutable_id() = Uuid(2);
    *lsp.mutable_switch_id() = Uuid(0x0102030405060708, 0x090a0b0c0d0e0f10);
    LogCapture log;

    auto records = Decoder::DecodeLogSwitchPortConfig(Change(CfgAgent::LOG_SWITCH_PORT_CONFIG, nullptr, &lsp));

    using namespace CfgAgent;
    EXPECT_EQ(Properties(records),
              (std::vector<uint32_t>{0, LSP_SWITCH_ID, LSP_ATTACHMENT, LSP_IP_DISCOVERY, LSP_SWITCH_SECURITY,
                                     LSP_QOS, LSP_MIRROR_TARGETS, LSP_IPFIX, LSP_ADMIN_STATE_UP,
                                     LSP_MAC_MANAGEMENT, LSP_ADDRESS_BINDINGS, LSP_IS_TMR_TAK,
                                     LSP_EXTRA_CONFIGS, LSP_IGNORE_BINDINGS, LSP_TENANT_CONTEXT}));
    for (const LoftDBUpdateMsg& record : records) {
        EXPECT_EQ(record.operation, OP_UPDATE) << record.propertyType;
    }
    EXPECT_TRUE(log.Has("(LSwitch: 01020304-0506-0708-090a-0b0c0d0e0f10)"));
    EXPECT_TRUE(log.Has("Decoder: Feature switch EzefDpVswitchRT is disabled"));
}

struct PropertyCase {
    uint32_t objectType;
    std::function<std::unique_ptr<google::protobuf::Message>()> make;
    LoftDBUpdateList (*decode)(const lb::MonitorUpdateMsg&);
    std::vector<uint32_t> properties;
};

// Every property names a field that the object has, in the emission order.
TEST(DecoderPropertyTest, EveryTypeReadsAllItsProperties) {
    using namespace CfgAgent;
    const std::vector<PropertyCase> cases = {
        {TRANSPORT_NODE_CONFIG, [] { return std::make_unique<lb::TransportNodeConfigMsg>(); },
         &Decoder::DecodeTransportNodeConfig,
         {0, TN_CERTIFICATE, TN_TRANSPORT_SWITCHES, TN_BFD, TN_TYPE, TN_LABEL}},
        {BRIDGE_CLUSTER_CONFIG, [] { return std::make_unique<lb::BridgeClusterConfigMsg>(); },
         &Decoder::DecodeBridgeClusterConfig,
         {0, BRIDGE_NODES, BFD_HA}},
        {PORT_MIRROR_SESSION, [] { return std::make_unique<lb::PortMirrorSessionMsg>(); },
         &Decoder::DecodePortMirrorSession,
         {0, PMS_LOGICAL_PORT_MIRROR_SESSION, PMS_UPLINK_PORT_MIRROR_SESSION, PMS_RSPAN_SRC_MIRROR_SESSION,
          PMS_RSPAN_DST_MIRROR_SESSION, PMS_L3SPAN_MIRROR_SESSION}},
        {IPFIX_CONFIGURATION, [] { return std::make_unique<lb::IpfixConfigurationMsg>(); },
         &Decoder::DecodeIpfixConfiguration,
         {0, IPFIX_SWITCH_CONFIG_LEGACY, IPFIX_SWITCH_GLOBAL_CONFIG}},
    };
    for (const PropertyCase& c : cases) {
        auto full = c.make();
        FillEveryField(*full);
        auto records = c.decode(Change(c.objectType, nullptr, full.get()));
        EXPECT_EQ(Properties(records), c.properties) << ObjTypeToString(c.objectType);
        for (const LoftDBUpdateMsg& record : records) {
            EXPECT_EQ(record.objectType, c.objectType);
            EXPECT_EQ(record.operation, OP_UPDATE) << c.objectType << "/" << record.propertyType;
        }
    }
}

TEST(DecoderPropertyTest, ProfileTypeChoosesTheSection) {
    using namespace CfgAgent;
    lb::ProfileMsg profile;
    *profile.mutable_id() = Uuid(5);
    profile.set_profile_type(1);
    profile.mutable_ipfix_switch_profile()->set_active_timeout(60);
    profile.mutable_ipfix_collector_profile()->set_name("not of type 1");
    auto records = AsVector(Decoder::DecodeProfile(Change(PROFILE, nullptr, &profile)));
    ASSERT_EQ(Properties(records), (std::vector<uint32_t>{0, IPFIX_SWITCH_PROFILE}));
    auto value = ParseAs<lb::ProfileMsg>(records[1].propertyValue);
    EXPECT_EQ(value.ipfix_switch_profile().active_timeout(), 60u);
    EXPECT_FALSE(value.has_ipfix_collector_profile() || value.has_profile_type());

    profile.set_profile_type(2);
    profile.clear_ipfix_collector_profile();
    records = AsVector(Decoder::DecodeProfile(Change(PROFILE, nullptr, &profile)));
    ASSERT_EQ(Properties(records), (std::vector<uint32_t>{0, IPFIX_COLLECTOR_PROFILE}));
    EXPECT_EQ(records[1].operation, OP_DELETE);
    ASSERT_EQ(Decoder::DecodeProfile(Change(PROFILE, &profile, nullptr)).size(), 1u);
    // Without the former object the kind is unknown.
    EXPECT_TRUE(Decoder::DecodeProfile(BareDelete(PROFILE, &profile)).empty());

    // Other kinds never reach the cache's IPFIX properties.
    profile.set_profile_type(7);
    EXPECT_EQ(Decoder::DecodeProfile(Change(PROFILE, nullptr, &profile)).size(), 1u);
    EXPECT_TRUE(Decoder::DecodeProfile(Change(PROFILE, &profile, nullptr)).empty());

    profile.clear_profile_type();
    LogCapture log;
    EXPECT_EQ(Decoder::DecodeProfile(Change(PROFILE, nullptr, &profile)).size(), 1u);
    EXPECT_TRUE(log.Has("Decoder: Received PROFILE msg without profile_type!"));
}

}  // namespace
}  // namespace StoreTest
