// The overlay L2 module of the simulator, driven over a real link the way the
// L2 application drives it, and from its control socket.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "LinkedSimulator.h"
#include "l2/codec/VxlanConfigureCodec.h"
#include "l2/codec/VxlanControlCodec.h"
#include "l2/codec/VxlanGroupAssociationCodec.h"
#include "l2/codec/VxlanGroupCodec.h"
#include "l2/codec/VxlanIpUpdateCodec.h"
#include "l2/codec/VxlanMacUpdateCodec.h"
#include "l2/codec/VxlanNeighborUpdateCodec.h"
#include "l2/codec/VxlanQueryCodec.h"
#include "l2/codec/VxlanTepStateCodec.h"
#include "l2/codec/VxlanUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"
#include "log/LogLevel.h"
#include "zef/RefPtr.h"
#include "zef/metrics/MetricsRegistry.h"

namespace {

using namespace std::chrono_literals;
using namespace CfgAgent;
using Dpsim::JsonPtr;
using Message = std::vector<uint8_t>;

constexpr uint32_t kSession = 0x9E3779B1;
constexpr const char* kLink = "zef_ovl2_taklink";
const VxlanMac kLearned{0x00, 0x50, 0x56, 0x00, 0x00, 0x01};
const VxlanMac kRemote{0x00, 0x50, 0x56, 0x00, 0x00, 0x02};
const VxlanMac kOther{0x00, 0x50, 0x56, 0x00, 0x00, 0x03};

using zef::test::Item;
using zef::test::Text;

class DpsimVxlanTest : public zef::test::LinkedSimulator {
protected:
    DpsimVxlanTest() : LinkedSimulator(":vxlan", kLink) {}

    // The module answers a State query after all that came before it, so
    // its answer marks everything sent before as handled.
    bool StateReport() {
        const size_t before = _received->Messages().size();
        Send(VxlanControlCodec::BuildStateQuery());
        EXPECT_TRUE(_received->WaitForMessages(before + 1));
        bool outOfSync = true;
        EXPECT_EQ(VxlanControlCodec::ReadStateReport(_received->Messages().at(before), outOfSync),
                  "");
        return outOfSync;
    }
};

Message Update(const std::vector<Message>& row) {
    Message message;
    EXPECT_TRUE(VxlanUpdateCodec::Build(row, message));
    return message;
}

Message MacTlv(uint32_t vni, std::vector<VxlanMacEntry> removed, std::vector<VxlanMacEntry> added) {
    Message tlv;
    EXPECT_TRUE(VxlanMacUpdateCodec::Build({1, vni, std::move(removed), std::move(added)}, tlv));
    return tlv;
}

VxlanMacEntry MacAt(const VxlanMac& mac, uint32_t vtepIp) {
    VxlanMacEntry entry;
    entry.vmMac = mac;
    entry.vtepIp = vtepIp;
    entry.vtepLabel = 9;
    return entry;
}

VxlanVtepEntry Vtep(uint32_t ip) {
    VxlanVtepEntry vtep;
    vtep.vtepIp = ip;
    vtep.vtepLabel = 9;
    vtep.encapType = VXLAN_ENCAP_GENEVE;
    return vtep;
}

TEST_F(DpsimVxlanTest, SessionReportsWhatTheModuleHoldsThenKeepsWhatTheAgentProgramsPerVni) {
    // Kept before any agent is there, and reported at its session.
    EXPECT_TRUE(Ok(Ask(std::string("instance ") + kLink + " join 1")));
    EXPECT_TRUE(Ok(Ask(std::string("vni ") + kLink + " join 5000 1")));
    EXPECT_TRUE(Ok(Ask(std::string("mac ") + kLink + " learn 5000 00:50:56:00:00:01 vtep=10.0.0.1")));
    OpenLink();
    Send(VxlanControlCodec::BuildSession({VXLAN_SESSION_OPEN, kSession}));
    ASSERT_TRUE(_received->WaitForMessages(5));
    std::vector<Message> answers = _received->Messages();
    ASSERT_EQ(answers.size(), 5u);
    VxlanSession session;
    EXPECT_EQ(VxlanControlCodec::ReadSession(answers[0], session), "");
    EXPECT_EQ(session, (VxlanSession{VXLAN_SESSION_OPEN_ACK, kSession}));
    VxlanSwitchFlag instance;
    EXPECT_EQ(VxlanControlCodec::ReadInstanceChange(answers[1], instance), "");
    EXPECT_EQ(instance, (VxlanSwitchFlag{1, VXLAN_JOIN}));
    VxlanVniMembership join;
    EXPECT_EQ(VxlanControlCodec::ReadVniMembership(answers[2], join), "");
    EXPECT_EQ(join, (VxlanVniMembership{1, 5000, VXLAN_JOIN}));
    std::vector<Tlv> row;
    ASSERT_EQ(VxlanUpdateCodec::Read(answers[3], row), "");
    ASSERT_EQ(row.size(), 1u);
    VxlanMacUpdate learned;
    ASSERT_EQ(VxlanMacUpdateCodec::Read(row[0], learned), "");
    ASSERT_EQ(learned.added.size(), 1u);
    EXPECT_EQ(learned.added[0].vmMac, kLearned);
    EXPECT_EQ(learned.added[0].vtepIp, 0x0a000001u);
    EXPECT_EQ(VxlanControlCodec::ReadSession(answers[4], session), "");
    EXPECT_EQ(session, (VxlanSession{VXLAN_SESSION_FULL_SYNC_END, kSession}));

    // What the L2 application sends at link-up and at the VNI's join.
    std::vector<VxlanConfigureItem> items(6);
    const uint16_t types[] = {1, 3, 4, 5, 6, 7};
    const uint16_t values[] = {4085, 1000, 100, 20, 720, 600};
    for (size_t i = 0; i < items.size(); ++i) {
        items[i].type = types[i];
        items[i].number = values[i];
    }
    Message configure;
    ASSERT_TRUE(VxlanConfigureCodec::Build(items, configure));
    Send(configure);
    Send(VxlanControlCodec::BuildVniMembership({1, 5000, VXLAN_JOIN}));
    Message link;
    ASSERT_TRUE(VxlanControlCodec::BuildLinkChange({1, VXLAN_LINK_UP, {{5000, 1, 1}}}, link));
    Send(link);
    Send(VxlanControlCodec::BuildControllerIp({1, 5000, VXLAN_ADDR_IPV4, 0x0a0000fe, {}}));
    Message vteps;
    ASSERT_TRUE(VxlanVtepUpdateCodec::Build({1, 5000, {}, {Vtep(0x0a000002), Vtep(0x0a000003)}}, vteps));
    Message arp;
    ASSERT_TRUE(VxlanNeighborUpdateCodec::Build(
        {false, 1, 5000, {{{10, 1, 1, 5}, MacAt(kRemote, 0x0a000002)}}}, arp));
    Message group;
    VxlanGroup vtepGroup;
    vtepGroup.label = 0x40010;
    vtepGroup.kind = 1;
    vtepGroup.members.resize(2);
    ASSERT_TRUE(VxlanGroupCodec::Build(vtepGroup, group));
    Message association;
    ASSERT_TRUE(VxlanGroupAssociationCodec::Build({false, 1, 5000, {}, false, 0x40010}, association));
    Send(Update({vteps, MacTlv(5000, {}, {MacAt(kRemote, 0x0a000002), MacAt(kOther, 0x0a000003)}),
                 arp, group, association}));
    // Deletes: one VTEP and one MAC go.
    Message gone;
    ASSERT_TRUE(VxlanVtepUpdateCodec::Build({1, 5000, {Vtep(0x0a000003)}, {}}, gone));
    Send(Update({gone, MacTlv(5000, {MacAt(kOther, 0x0a000003)}, {})}));
    EXPECT_FALSE(StateReport());
    EXPECT_TRUE(Refusals().empty());

    const JsonPtr tables = Tables();
    const cJSON* vni = Item(Item(Of(tables), "vnis"), "5000");
    ASSERT_NE(vni, nullptr);
    EXPECT_EQ(Text(vni, "membership"), "join");
    EXPECT_EQ(Text(Item(vni, "link"), "state"), "up");
    EXPECT_TRUE(cJSON_IsTrue(Item(Item(vni, "link"), "arpProxy")));
    EXPECT_EQ(Text(Item(vni, "controller"), "ipv4"), "10.0.0.254");
    const cJSON* keptVteps = Item(vni, "vteps");
    ASSERT_EQ(cJSON_GetArraySize(keptVteps), 1);
    EXPECT_EQ(Text(cJSON_GetArrayItem(keptVteps, 0), "ip"), "10.0.0.2");
    EXPECT_EQ(Text(cJSON_GetArrayItem(keptVteps, 0), "encap"), "geneve");
    const cJSON* macs = Item(vni, "macs");
    ASSERT_EQ(cJSON_GetArraySize(macs), 1);
    EXPECT_EQ(Text(cJSON_GetArrayItem(macs, 0), "mac"), "00:50:56:00:00:02");
    const cJSON* neighbors = Item(vni, "arp");
    ASSERT_EQ(cJSON_GetArraySize(neighbors), 1);
    EXPECT_EQ(Text(cJSON_GetArrayItem(neighbors, 0), "ip"), "10.1.1.5");
    EXPECT_EQ(cJSON_GetArrayItem(Item(vni, "vtepGroups"), 0)->valuedouble, 0x40010);
    EXPECT_EQ(cJSON_GetArraySize(Item(vni, "learnedMacs")), 1);
    EXPECT_EQ(Item(Item(Of(tables), "settings"), "maxMessageLength")->valuedouble, 4085);
    EXPECT_EQ(Item(Item(Item(Of(tables), "vtepGroups"), "262160"), "entries")->valuedouble, 2);
}

TEST_F(DpsimVxlanTest, RefusedMessagesAreRecordedWithTheirReasonAndChangeNothing) {
    EXPECT_TRUE(Ok(Ask(std::string("vni ") + kLink + " join 5000 1")));
    OpenLink();
    // Its first TLV is fine, its second names a VNI the module never joined:
    // the message is refused whole.
    Send(Update({MacTlv(5000, {}, {MacAt(kRemote, 1)}), MacTlv(6000, {}, {MacAt(kOther, 1)})}));
    // A TLV that claims more than the message holds.
    Send(Message{0x00, 0x05, 0x00, 0x0c, 0x00, 0x04, 0x00, 0x28, 0, 0, 0, 1});
    // A switch the VNI did not join on.
    Message vteps;
    ASSERT_TRUE(VxlanVtepUpdateCodec::Build({2, 5000, {}, {Vtep(1)}}, vteps));
    Send(Update({vteps}));
    // What only the module sends.
    Send(VxlanControlCodec::BuildStateReport(true));
    Send(VxlanControlCodec::BuildSession({VXLAN_SESSION_OPEN_ACK, 1}));
    EXPECT_FALSE(StateReport());

    EXPECT_EQ(Refusals(),
              (std::vector<std::string>{"VNI 6000 never joined",
                                        "TLV at offset 4 overruns the message of 12 bytes",
                                        "VNI 5000 joined on switch 1, not 2",
                                        "State report is sent by the kernel only",
                                        "Session Open ACK is sent by the kernel only"}));
    const JsonPtr tables = Tables();
    const cJSON* vni = Item(Item(Of(tables), "vnis"), "5000");
    EXPECT_EQ(cJSON_GetArraySize(Item(vni, "macs")), 0);
    EXPECT_EQ(cJSON_GetArraySize(Item(vni, "vteps")), 0);
    EXPECT_EQ(Item(Item(Of(tables), "vnis"), "6000"), nullptr);

    // Told otherwise, the module answers a State query with OutOfSync.
    EXPECT_TRUE(Ok(Ask(std::string("syncstate ") + kLink + " out")));
    EXPECT_TRUE(StateReport());
}

TEST_F(DpsimVxlanTest, ControlCommandsReachTheAgentAsTheModuleWouldSendThem) {
    EXPECT_TRUE(Ok(Ask(std::string("vni ") + kLink + " join 5000 3")));
    OpenLink();
    const std::string link = kLink;
    EXPECT_TRUE(Ok(Ask("query " + link + " mac 5000 00:50:56:00:00:02 00:50:56:00:00:03")));
    EXPECT_TRUE(Ok(Ask("query " + link + " nd 5000 fe80::1")));
    EXPECT_TRUE(Ok(Ask("arp " + link + " learn 5000 10.1.1.7 00:50:56:00:00:07")));
    EXPECT_TRUE(Ok(Ask("arp " + link + " age 5000 10.1.1.7")));
    EXPECT_TRUE(Ok(Ask("tep " + link + " fault hs-1 vmk10 action=1 state=2 v6")));
    EXPECT_TRUE(Ok(Ask("outofsync " + link)));
    EXPECT_TRUE(Ok(Ask("vni " + link + " leave 5000")));
    ASSERT_TRUE(_received->WaitForMessages(7));
    const std::vector<Message> told = _received->Messages();

    std::vector<VxlanQuery> queries;
    ASSERT_EQ(VxlanQueryCodec::Read(told[0], queries), "");
    ASSERT_EQ(queries.size(), 1u);
    EXPECT_EQ(queries[0], (VxlanQuery{VXLAN_DATATYPE_VMMAC, 3, 5000, {kRemote, kOther}, {}}));
    ASSERT_EQ(VxlanQueryCodec::Read(told[1], queries), "");
    EXPECT_EQ(queries.at(0).ips,
              (std::vector<VxlanIp>{{0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}}));
    const VxlanIpMac arpEntry{{10, 1, 1, 7}, {0x00, 0x50, 0x56, 0x00, 0x00, 0x07}};
    std::vector<Tlv> row;
    VxlanIpUpdate ips;
    ASSERT_EQ(VxlanUpdateCodec::Read(told[2], row), "");
    ASSERT_EQ(VxlanIpUpdateCodec::Read(row.at(0), ips), "");
    EXPECT_EQ(ips, (VxlanIpUpdate{false, 3, 5000, {}, {arpEntry}}));
    ASSERT_EQ(VxlanUpdateCodec::Read(told[3], row), "");
    ASSERT_EQ(VxlanIpUpdateCodec::Read(row.at(0), ips), "");
    EXPECT_EQ(ips, (VxlanIpUpdate{false, 3, 5000, {arpEntry}, {}}));
    VxlanTepState state;
    ASSERT_EQ(VxlanTepStateCodec::Read(told[4], state), "");
    EXPECT_EQ(state, (VxlanTepState{VXLAN_TEP_FAULT, "hs-1", "vmk10", 1, 2, true}));
    bool outOfSync = false;
    ASSERT_EQ(VxlanControlCodec::ReadStateReport(told[5], outOfSync), "");
    EXPECT_TRUE(outOfSync);
    VxlanVniMembership leave;
    ASSERT_EQ(VxlanControlCodec::ReadVniMembership(told[6], leave), "");
    EXPECT_EQ(leave, (VxlanVniMembership{3, 5000, VXLAN_LEAVE}));

    // After the leave the VNI is gone, and with it the right to program it.
    EXPECT_EQ(Item(Item(Of(Tables()), "vnis"), "5000"), nullptr);
    EXPECT_FALSE(Ok(Ask("mac " + link + " learn 5000 00:50:56:00:00:09")));
    EXPECT_FALSE(Ok(Ask("query " + link + " arp 5000 fe80::1")));
    EXPECT_FALSE(Ok(Ask("tep " + link + " down hs-1 vmk10")));
    EXPECT_FALSE(Ok(Ask("vni " + link + " leave 5000")));
}

}  // namespace
