// Readers meeting records and TLVs that run out of bounds: the walk ends
// there and what was read before stands.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "port/kcp/KcpTestSupport.h"
#include "port/kcp/KcpContainerUpdateCodec.h"
#include "port/kcp/KcpHdsUpdateCodec.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "port/kcp/KcpUplinkUpdateCodec.h"
#include "port/kcp/KcpVifUpdateCodec.h"

namespace PortTest {
namespace {

using namespace CfgAgent;

KcpPropertyUpdate Ports(const Bytes& value, uint16_t type = KCP_PORT_PROPERTY_UPDATE) {
    KcpPropertyUpdate update;
    EXPECT_TRUE(KcpPropertyUpdateCodec::Decode(type, value, update));
    return update;
}

std::vector<std::string> Ids(const KcpPropertyUpdate& update) {
    std::vector<std::string> ids;
    for (const auto& record : update.records) {
        ids.push_back(record.id);
    }
    return ids;
}

using IdList = std::vector<std::string>;

TEST(KcpPropertyBoundsTest, ValueMustHoldTheOperationAndAWholeHead) {
    // 50 bytes hold no port record, 51 hold one; for a taknic 18 and 19.
    EXPECT_TRUE(Ports(Wire().U8(1).Text("a", 48).U8(0).Take()).records.empty());
    EXPECT_EQ(Ids(Ports(Wire().U8(1).Text("a", 48).U16(50).Take())), IdList{"a"});
    const auto taknic = KCP_TAKNIC_PROPERTY_UPDATE;
    EXPECT_TRUE(Ports(Wire().U8(1).Text("t", 16).U8(0).Take(), taknic).records.empty());
    EXPECT_EQ(Ids(Ports(Wire().U8(1).Text("t", 16).U16(18).Take(), taknic)), IdList{"t"});
}

TEST(KcpPropertyBoundsTest, RecordOutOfBoundsEndsTheWalkBeforeIt) {
    auto withSecond = [](uint16_t secondLength, size_t secondSize) {
        return Wire()
            .U8(1)
            .Text("a", 48)
            .U16(54)
            .Tlv(1, 0)
            .Text("b", 48)
            .U16(secondLength)
            .Zeros(secondSize - 50)
            .Take();
    };
    EXPECT_EQ(Ids(Ports(withSecond(60, 60))), (IdList{"a", "b"}));
    EXPECT_EQ(Ids(Ports(withSecond(61, 60))), IdList{"a"});
    EXPECT_EQ(Ids(Ports(withSecond(49, 60))), IdList{"a"});
    EXPECT_EQ(Ids(Ports(withSecond(0, 60))), IdList{"a"});
    EXPECT_EQ(Ids(Ports(withSecond(50, 50))), (IdList{"a", "b"}));
}

TEST(KcpPropertyBoundsTest, PropertyWalkStaysInsideItsRecord) {
    // The second TLV of "a" claims 10 bytes where its record has 8 left; the
    // bytes after it belong to record "b" and must not be read as "a"'s.
    const Bytes value = Wire()
                            .U8(1)
                            .Text("a", 48)
                            .U16(50 + 6 + 8)
                            .Tlv(1, 2)
                            .U16(0x0102)
                            .Tlv(2, 6)
                            .Zeros(4)
                            .Text("b", 48)
                            .U16(50 + 4)
                            .Tlv(3, 0)
                            .Take();
    const KcpPropertyUpdate update = Ports(value);
    ASSERT_EQ(update.records.size(), 2u);
    EXPECT_EQ(update.records[0].properties, (std::vector<KcpProperty>{{1, {1, 2}}}));
    EXPECT_EQ(update.records[1].properties, (std::vector<KcpProperty>{{3, {}}}));

    // A TLV length below its header ends the walk too.
    const Bytes small = Wire().U8(1).Text("a", 48).U16(62).Tlv(1, 0).U16(2).U16(2).Zeros(4).Take();
    EXPECT_EQ(Ports(small).records.at(0).properties, (std::vector<KcpProperty>{{1, {}}}));
}

Wire VifHead(const char* id, uint16_t length) {
    Wire wire;
    wire.Text(id, 48).Text("port", 48).Text("switch", 64).Zeros(48).U8(1).U8(0).U8(0).U16(length);
    return wire;
}

TEST(KcpVifBoundsTest, RecordsNeedAWholeHeadAndTheirLength) {
    KcpVifUpdate update;
    EXPECT_FALSE(KcpVifUpdateCodec::Decode(Bytes{}, update));

    ASSERT_TRUE(KcpVifUpdateCodec::Decode(Wire().U8(1).Zeros(212).Take(), update));
    EXPECT_TRUE(update.records.empty());
    EXPECT_EQ(update.operation, 1);

    Bytes value = Wire().U8(3).Raw(VifHead("v1", 213).Take()).Raw(VifHead("v2", 300).Take()).Take();
    ASSERT_TRUE(KcpVifUpdateCodec::Decode(value, update));
    ASSERT_EQ(update.records.size(), 1u);
    EXPECT_EQ(update.records[0].vifId, "v1");
    EXPECT_EQ(update.records[0].switchId, "switch");
}

TEST(KcpVifBoundsTest, PropertiesCountWholeEntriesAndStopAtAnEmptyStatus) {
    const Bytes value = Wire()
                            .U8(1)
                            .Raw(VifHead("v1", 213 + 17 + 39 + 6 + 4 + 5).Take())
                            .Tlv(2, 13)
                            .Zeros(13)
                            .Tlv(3, 35)
                            .Zeros(35)
                            .Tlv(99, 2)
                            .Zeros(2)
                            .Tlv(1, 0)
                            .Tlv(1, 1)
                            .U8(2)
                            .Take();
    KcpVifUpdate update;
    ASSERT_TRUE(KcpVifUpdateCodec::Decode(value, update));
    ASSERT_EQ(update.records.size(), 1u);
    const KcpVifRecord& record = update.records[0];
    EXPECT_EQ(record.macs.size(), 2u);
    EXPECT_EQ(record.bindings.size(), 1u);
    EXPECT_FALSE(record.status);
}

TEST(KcpRecordBoundsTest, ContainerUplinkAndHdsRecordsPastTheEndAreLeftOut) {
    const Bytes containerHead = Wire().Text("cif", 48).Zeros(152).Take();
    std::vector<KcpContainerRecord> containers;
    ASSERT_TRUE(KcpContainerUpdateCodec::Decode(
        Wire().Raw(containerHead).U16(1).Zeros(23).Raw(containerHead).U16(2).Zeros(45).Take(),
        containers));
    ASSERT_EQ(containers.size(), 1u);
    EXPECT_EQ(containers[0].entries.size(), 1u);
    ASSERT_TRUE(KcpContainerUpdateCodec::Decode(
        Wire().Raw(containerHead).U16(0).Raw(containerHead).U8(0).Take(), containers));
    EXPECT_EQ(containers.size(), 1u);

    KcpUplinkUpdate uplinks;
    ASSERT_TRUE(KcpUplinkUpdateCodec::Decode(
        Wire().U8(1).Text("u1", 48).Zeros(165).Zeros(212).Take(), uplinks));
    ASSERT_EQ(uplinks.records.size(), 1u);
    EXPECT_EQ(uplinks.records[0].uplinkPortId, "u1");

    std::vector<KcpHdsRecord> hds;
    ASSERT_TRUE(KcpHdsUpdateCodec::Decode(
        Wire().Text("h1", 64).U8(1).U16(67).Text("h2", 64).U8(1).U16(68).Take(), hds));
    ASSERT_EQ(hds.size(), 1u);
    EXPECT_EQ(hds[0].hdsId, "h1");
    ASSERT_TRUE(
        KcpHdsUpdateCodec::Decode(Wire().Text("h1", 64).U8(1).U16(66).Zeros(10).Take(), hds));
    EXPECT_TRUE(hds.empty());
}

TEST(KcpMessageBoundsTest, DataTlvPastTheMessageLengthEndsTheWalk) {
    // The buffer goes on past the message; the message's own length bounds the walk.
    const Bytes message = Wire().U16(2).U16(5 + 4 + 6).U8(0).Tlv(3, 0).Tlv(5, 4).Zeros(4).Take();
    KcpUpdate update;
    ASSERT_TRUE(KcpUpdateCodec::Read(message, update));
    ASSERT_EQ(update.data.size(), 1u);
    EXPECT_EQ(update.data[0].type, KCP_PORT_LIST_UPDATE);
}

}  // namespace
}  // namespace PortTest
