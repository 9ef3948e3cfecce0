#include <gtest/gtest.h>

#include "l2/codec/VxlanTestSupport.h"
#include "l3/codec/RtxBatch.h"
#include "l3/codec/RtxControlCodec.h"
#include "l3/codec/RtxEntryCodec.h"
#include "l3/codec/RtxRouteCodec.h"

namespace L3Test {
namespace {

using namespace CfgAgent;
using L2Test::Host32;
using PortTest::Bytes;
using PortTest::Wire;

RtxIp V4(uint8_t a, uint8_t b, uint8_t c, uint8_t d) { return {a, b, c, d}; }

RtxRoute Route(size_t hops, bool ipv6 = false) {
    RtxRoute route;
    route.rtxId = 7;
    route.ipv6 = ipv6;
    route.prefixLength = 16;
    route.destination = ipv6 ? RtxIp{0xfd, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1} : V4(10, 1, 0, 0);
    for (size_t i = 0; i < hops; ++i) {
        RtxNextHop hop;
        hop.egress = "lif-1";
        hop.address = ipv6 ? RtxIp{0xfd, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2} : V4(192, 168, 1, 1);
        route.nextHops.push_back(hop);
    }
    return route;
}

TEST(RtxVectorTest, InstanceListOfAnAddAndOfADeleteWithoutItsDadFields) {
    RtxInstance instance{RTX_INSTANCE_ADD, 0x01020304, "r1", 1, 3, 5};
    const Bytes add = Wire()
                          .U16(8).U16(85)
                          .U16(1).U16(77)
                          .U32(0x01020304)
                          .Text("r1", 64)
                          .U8(1).U32(3).U32(5)
                          .Take();
    EXPECT_EQ(RtxControlCodec::BuildInstanceList(instance), add);
    RtxInstance read;
    EXPECT_EQ(RtxControlCodec::ReadInstanceList(add, read), "");
    EXPECT_EQ(read, instance);

    instance.operation = RTX_INSTANCE_DELETE;
    const Bytes remove = Wire().U16(8).U16(85).U16(2).U16(77).U32(0x01020304).Text("r1", 64).Zeros(9).Take();
    EXPECT_EQ(RtxControlCodec::BuildInstanceList(instance), remove);
    Bytes shortened = remove;
    shortened.pop_back();
    EXPECT_NE(RtxControlCodec::ReadInstanceList(shortened, read), "");
}

TEST(RtxVectorTest, FlushMarkersAndEndMarkers) {
    EXPECT_EQ(RtxControlCodec::BuildFlush(7, RTX_FLUSH_LIF),
              Wire().U16(6).U16(14).U16(6).U16(10).U32(7).U8(2).U8(1).Take());
    EXPECT_EQ(RtxControlCodec::BuildMarker(RTX_MSG_INSTANCE_MARKER, 0), (Bytes{0x00, 0x0B, 0x00, 0x05, 0x00}));
    EXPECT_EQ(RtxControlCodec::BuildMarker(RTX_MSG_BRIDGE_MARKER, 1), (Bytes{0x00, 0x0D, 0x00, 0x05, 0x01}));
    EXPECT_EQ(RtxControlCodec::BuildFullSyncEnd(), (Bytes{0x00, 0x0C, 0x00, 0x04}));
    EXPECT_EQ(RtxControlCodec::BuildEndMarker(RTX_ENTRY_LIF), Wire().U16(4).U16(16).U16(4).U16(12).Zeros(8).Take());
    EXPECT_EQ(RtxControlCodec::BuildEndMarker(RTX_ENTRY_ROUTE), Wire().U16(4).U16(16).U16(5).U16(12).Zeros(8).Take());
    uint16_t type = 0;
    uint8_t phase = 0;
    EXPECT_EQ(RtxControlCodec::ReadMarker(Bytes{0x00, 0x0B, 0x00, 0x05, 0x02}, type, phase), "phase 2");
    EXPECT_FALSE(RtxControlCodec::IsEndMarker(Wire().U16(4).U16(16).U16(5).U16(12).U32(7).Zeros(4).Take(), type))
        << "a marker carries no router";
}

TEST(RtxVectorTest, RouteAddOfOneIpv4NextHopAndItsDelete) {
    const Bytes add = Wire()
                          .U16(5).U16(97)                      // 27 + 70
                          .U32(7).U16(0).U16(1)
                          .U8(85).U8(1).U8(2).U8(1).U16(0)     // entry length 97 - 12
                          .U8(16).U8(10).U8(1).U8(0).U8(0)
                          .U8(3).U8(74).U8(0).U8(1)            // next hop block: 4 + 70
                          .U8(1).Text("lif-1", 64).U8(4).U8(192).U8(168).U8(1).U8(1)
                          .Take();
    Bytes built;
    ASSERT_TRUE(RtxRouteCodec::BuildAdd(Route(1), built));
    EXPECT_EQ(built, add);
    RtxRoute read;
    bool removed = true;
    EXPECT_EQ(RtxRouteCodec::Read(add, read, removed), "");
    EXPECT_FALSE(removed);
    EXPECT_EQ(read, Route(1));

    const Bytes remove = Wire().U16(5).U16(20).U32(7).U16(1).U16(0).U8(8).U8(2).U8(1).U8(16)
                             .U8(10).U8(1).U8(0).U8(0).Take();
    EXPECT_EQ(RtxRouteCodec::BuildDelete(Route(0)), remove);
    EXPECT_EQ(RtxRouteCodec::Read(remove, read, removed), "");
    EXPECT_TRUE(removed);
    EXPECT_EQ(RtxRouteCodec::BuildDelete(Route(0, true)).size(), 32u);
    EXPECT_EQ(RtxRouteCodec::BuildDelete(Route(0, true))[12], 20);
}

TEST(RtxVectorTest, LongAndIpv6RoutesKeepTheLowByteOfTheirSizes) {
    Bytes built;
    ASSERT_TRUE(RtxRouteCodec::BuildAdd(Route(58), built));
    ASSERT_EQ(built.size(), 4087u);
    EXPECT_EQ((Bytes{built[2], built[3]}), (Bytes{0x0F, 0xF7}));
    EXPECT_EQ(built[12], 0xEB) << "4075 keeps its low byte";
    EXPECT_EQ(built[24], 0xE0) << "4 + 58 x 70 = 4064";
    EXPECT_EQ(built[26], 58);
    RtxRoute read;
    bool removed = false;
    EXPECT_EQ(RtxRouteCodec::Read(built, read, removed), "");
    EXPECT_EQ(read.nextHops.size(), 58u);

    ASSERT_TRUE(RtxRouteCodec::BuildAdd(Route(2, true), built));
    ASSERT_EQ(built.size(), 39u + 2 * 82);
    EXPECT_EQ(built[14], 24) << "IPv6 is family 24";
    EXPECT_EQ(built[39 + 65], 16) << "the first next hop's address size";
    EXPECT_EQ(built[39 + 82], 1) << "the second next hop starts 82 bytes on";
    EXPECT_EQ(RtxRouteCodec::Read(built, read, removed), "");
    EXPECT_EQ(read, Route(2, true));

    built[39 + 65] = 4;
    EXPECT_NE(RtxRouteCodec::Read(built, read, removed), "");
}

TEST(RtxVectorTest, AnUpdateHoldsAPayloadOf4091BytesAndNotOf4092) {
    Bytes route;
    ASSERT_TRUE(RtxRouteCodec::BuildAdd(Route(58), route));
    RtxBatch batch;
    batch.Add(route);
    batch.Add(Wire().U16(99).U16(4).Take());
    EXPECT_TRUE(batch.TakeFlushed().empty());
    Bytes message;
    ASSERT_TRUE(batch.Flush(message));
    EXPECT_EQ(message.size(), 4095u);
    EXPECT_EQ((Bytes{message[0], message[1], message[2], message[3]}), (Bytes{0x00, 0x04, 0x0F, 0xFF}));

    batch.Add(route);
    batch.Add(Wire().U16(99).U16(5).U8(0).Take());
    const std::vector<Bytes> flushed = batch.TakeFlushed();
    ASSERT_EQ(flushed.size(), 1u);
    EXPECT_EQ(flushed[0].size(), 4091u);
    ASSERT_TRUE(batch.Flush(message));
    EXPECT_EQ(message.size(), 9u);

    // A record beyond the limit goes alone.
    Bytes huge;
    ASSERT_TRUE(RtxRouteCodec::BuildAdd(Route(70), huge));
    batch.Add(Wire().U16(99).U16(4).Take());
    batch.Add(huge);
    batch.Add(Wire().U16(99).U16(4).Take());
    EXPECT_EQ(batch.TakeFlushed().size(), 2u);
}

TEST(RtxVectorTest, GlobalEntryInTheHostsOrderAndItsDeleteDefaults) {
    const Bytes set = Wire().U16(26).U16(15).U8(2).Raw(Host32(9000)).Raw(Host32(1000)).U8(2).U8(2).Take();
    EXPECT_EQ(RtxEntryCodec::BuildGlobal({2, 9000, 1000, 2, 2}), set);
    const Bytes defaults = Wire().U16(26).U16(15).U8(1).Raw(Host32(1500)).Raw(Host32(50000)).U8(1).U8(1).Take();
    EXPECT_EQ(RtxEntryCodec::BuildGlobal(RtxGlobal{}), defaults);
    RtxGlobal read;
    EXPECT_EQ(RtxEntryCodec::ReadGlobal(set, read), "");
    EXPECT_EQ(read, (RtxGlobal{2, 9000, 1000, 2, 2}));
}

TEST(RtxVectorTest, TheKernelsDadReportWithinItsBounds) {
    const Bytes report = Wire()
                             .U16(28).U16(89)
                             .Text("lif-a", 64)
                             .U8(10).U8(0).U8(0).U8(9).Zeros(12)
                             .U8(3)
                             .Text("v-12", 4)
                             .Take();
    RtxDadReport read;
    ASSERT_EQ(RtxEntryCodec::ReadDadReport(report, read), "");
    EXPECT_EQ(read.lifName, "lif-a");
    EXPECT_EQ(read.ip[3], 9);
    EXPECT_EQ(read.status, 3);
    EXPECT_EQ(read.version, "v-12");

    const Bytes bare = Wire().U16(28).U16(85).Text("lif-a", 64).Zeros(16).U8(1).Take();
    ASSERT_EQ(RtxEntryCodec::ReadDadReport(bare, read), "");
    EXPECT_EQ(read.version, "") << "no version";
    const Bytes shortened = Wire().U16(28).U16(84).Text("lif-a", 64).Zeros(16).Take();
    EXPECT_NE(RtxEntryCodec::ReadDadReport(shortened, read), "");
    Bytes lying = bare;
    lying[3] = 90;
    EXPECT_NE(RtxEntryCodec::ReadDadReport(lying, read), "");
}

}  // namespace
}  // namespace L3Test
