// Update messages of every data type against vectors written from their
// layouts, and back.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "KcpTestSupport.h"
#include "port/KcpContainerUpdateCodec.h"
#include "port/KcpHdsUpdateCodec.h"
#include "port/KcpIdListCodec.h"
#include "port/KcpMessage.h"
#include "port/KcpPortContainerListCodec.h"
#include "port/KcpPropertyUpdateCodec.h"
#include "port/KcpTypes.h"
#include "port/KcpUpdateCodec.h"
#include "port/KcpUplinkUpdateCodec.h"
#include "port/KcpVifUpdateCodec.h"

namespace PortTest {
namespace {

using namespace CfgAgent;

const KcpMac kMacA{0x00, 0x50, 0x56, 0x01, 0x02, 0x03};
const KcpMac kMacB{0x02, 0x00, 0x00, 0xaa, 0xbb, 0xcc};
const KcpIp kIpv4{10, 0, 0, 1};
const KcpIp kIpv6{0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

Bytes HostOrder(uint64_t value) {
    Bytes bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

TEST(KcpUpdateTest, FlagByteCarriesOnlyTheMoreBit) {
    KcpUpdate update{true, {{KCP_PORT_LIST_UPDATE, {}}, {KCP_TAKNIC_LIST_UPDATE, {}}}};
    Bytes message;
    ASSERT_TRUE(KcpUpdateCodec::Build(update, message));
    EXPECT_EQ(message, (Bytes{0, 2, 0, 13, 0x80, 0, 3, 0, 4, 0, 5, 0, 4}));
    KcpUpdate read;
    ASSERT_TRUE(KcpUpdateCodec::Read(message, read));
    EXPECT_EQ(read, update);

    KcpMessage::SetMore(message, false);
    EXPECT_EQ(message[4], 0);
    EXPECT_FALSE(KcpMessage::More(message));
}

TEST(KcpUpdateTest, NoDataTlvWithoutRoomForOne) {
    for (const Bytes& message :
         {Bytes{0, 2, 0, 5, 0}, Bytes{0, 2, 0, 6, 0, 0}, Bytes{0, 2, 0, 8, 0, 0, 3, 0}}) {
        KcpUpdate read;
        ASSERT_TRUE(KcpUpdateCodec::Read(message, read));
        EXPECT_TRUE(read.data.empty()) << message.size();
    }
}

TEST(KcpIdListTest, ListsAreRowsOfFixedWidthIds) {
    struct Case {
        uint16_t type;
        size_t width;
    };
    for (const Case& c : {Case{KCP_PORT_LIST_UPDATE, 48}, Case{KCP_TAKNIC_LIST_UPDATE, 16},
                          Case{KCP_CONTAINER_LIST_UPDATE, 48}, Case{KCP_HDS_LIST_UPDATE, 64}}) {
        const std::string full(c.width, 'x');
        const std::vector<std::string> ids{"id-1", full};
        Bytes message;
        ASSERT_TRUE(KcpIdListCodec::BuildMessage(c.type, ids, true, message));
        const Bytes expected = UpdateAround(
            c.type,
            Wire().Text("id-1", c.width).Text(std::string(c.width - 1, 'x'), c.width).Take(), 0x80);
        EXPECT_EQ(message, expected) << c.type;

        std::vector<std::string> read;
        ASSERT_TRUE(KcpIdListCodec::Decode(c.type, ValueOf(message), read));
        EXPECT_EQ(read, (std::vector<std::string>{"id-1", std::string(c.width - 1, 'x')}));
    }
}

TEST(KcpIdListTest, EmptyListIsANineByteMessage) {
    Bytes message;
    ASSERT_TRUE(KcpIdListCodec::BuildMessage(KCP_CONTAINER_LIST_UPDATE, {}, false, message));
    EXPECT_EQ(message, (Bytes{0x00, 0x02, 0x00, 0x09, 0x00, 0x00, 0x08, 0x00, 0x04}));
    std::vector<std::string> read{"stale"};
    ASSERT_TRUE(KcpIdListCodec::Decode(KCP_CONTAINER_LIST_UPDATE, ValueOf(message), read));
    EXPECT_TRUE(read.empty());
    EXPECT_FALSE(KcpIdListCodec::BuildMessage(KCP_VIF_UPDATE, {}, false, message));
    EXPECT_FALSE(KcpIdListCodec::Decode(KCP_UPLINK_UPDATE, {}, read));
}

TEST(KcpPortContainerListTest, VifIdLeadsTheContainerRow) {
    Bytes message;
    ASSERT_TRUE(KcpPortContainerListCodec::BuildMessage({"vif-p", {}}, false, message));
    EXPECT_EQ(message.size(), 57u);
    EXPECT_EQ(message,
              UpdateAround(KCP_PORT_CONTAINER_LIST_UPDATE, Wire().Text("vif-p", 48).Take()));

    const KcpPortContainerList list{"vif-p", {"c-1", "c-2"}};
    ASSERT_TRUE(KcpPortContainerListCodec::BuildMessage(list, true, message));
    EXPECT_EQ(message,
              UpdateAround(KCP_PORT_CONTAINER_LIST_UPDATE,
                           Wire().Text("vif-p", 48).Text("c-1", 48).Text("c-2", 48).Take(), 0x80));
    KcpPortContainerList read;
    ASSERT_TRUE(KcpPortContainerListCodec::Decode(ValueOf(message), read));
    EXPECT_EQ(read, list);
    EXPECT_FALSE(KcpPortContainerListCodec::Decode(Bytes(47, 'a'), read));
}

TEST(KcpPropertyUpdateTest, PortRecordsCarryTheirLengthAndProperties) {
    const KcpPropertyUpdate update{
        KCP_OP_UPDATE,
        {{"vif-1", {{7, {'o', 'n', 0}}, {9, {}}}}, {"vif-2", {}}},
    };
    Bytes message;
    ASSERT_TRUE(
        KcpPropertyUpdateCodec::BuildMessage(KCP_PORT_PROPERTY_UPDATE, update, false, message));
    // Records of 61 and 50 bytes: the message is their sum plus 10, the data TLV plus 5.
    const Bytes expected = Wire()
                               .U16(2)
                               .U16(121)
                               .U8(0)
                               .U16(2)
                               .U16(116)
                               .U8(1)
                               .Text("vif-1", 48)
                               .U16(61)
                               .Tlv(7, 3)
                               .U8('o')
                               .U8('n')
                               .U8(0)
                               .Tlv(9, 0)
                               .Text("vif-2", 48)
                               .U16(50)
                               .Take();
    EXPECT_EQ(message, expected);
    KcpPropertyUpdate read;
    ASSERT_TRUE(KcpPropertyUpdateCodec::Decode(KCP_PORT_PROPERTY_UPDATE, ValueOf(message), read));
    EXPECT_EQ(read, update);
}

TEST(KcpPropertyUpdateTest, TaknicRecordsHaveASixteenByteName) {
    const KcpPropertyUpdate update{KCP_OP_FULL_SYNC, {{"vmnic0", {{3, {1, 2}}}}}};
    Bytes message;
    ASSERT_TRUE(
        KcpPropertyUpdateCodec::BuildMessage(KCP_TAKNIC_PROPERTY_UPDATE, update, true, message));
    EXPECT_EQ(
        message,
        UpdateAround(KCP_TAKNIC_PROPERTY_UPDATE,
                     Wire().U8(3).Text("vmnic0", 16).U16(24).Tlv(3, 2).U8(1).U8(2).Take(), 0x80));
    KcpPropertyUpdate read;
    ASSERT_TRUE(KcpPropertyUpdateCodec::Decode(KCP_TAKNIC_PROPERTY_UPDATE, ValueOf(message), read));
    EXPECT_EQ(read, update);
    EXPECT_FALSE(KcpPropertyUpdateCodec::Decode(KCP_PORT_LIST_UPDATE, ValueOf(message), read));
    EXPECT_FALSE(KcpPropertyUpdateCodec::Decode(KCP_TAKNIC_PROPERTY_UPDATE, {}, read));
}

TEST(KcpHdsUpdateTest, MessageIsTheTlvPlusSeventySixBytes) {
    const Bytes tlvValue(10, 0x5a);
    const std::vector<KcpHdsRecord> records{{"hds-1", KCP_OP_DELETE, {{5, tlvValue}}}};
    Bytes message;
    ASSERT_TRUE(KcpHdsUpdateCodec::BuildMessage(records, false, message));
    EXPECT_EQ(message.size(), 14u + 76u);
    EXPECT_EQ(
        message,
        UpdateAround(KCP_HDS_PROPERTY_UPDATE,
                     Wire().Text("hds-1", 64).U8(2).U16(14 + 67).Tlv(5, 10).Raw(tlvValue).Take()));
    std::vector<KcpHdsRecord> read;
    ASSERT_TRUE(KcpHdsUpdateCodec::Decode(ValueOf(message), read));
    EXPECT_EQ(read, records);
}

TEST(KcpContainerUpdateTest, RecordHoldsItsEntriesAfterTheHead) {
    const std::vector<KcpContainerRecord> records{
        {"cif-1",
         "port-1",
         "vm-port",
         "vm-vif",
         100,
         kMacA,
         {{true, kIpv4, kMacB}, {false, kIpv6, kMacA}}},
        {"cif-2", "port-2", "", "", 0, kMacB, {}},
    };
    Bytes message;
    ASSERT_TRUE(KcpContainerUpdateCodec::BuildMessage(records, false, message));
    const Bytes value = Wire()
                            .Text("cif-1", 48)
                            .Text("port-1", 48)
                            .Text("vm-port", 48)
                            .Text("vm-vif", 48)
                            .U16(100)
                            .Raw(kMacA)
                            .U16(2)
                            .U8(1)
                            .U8(10)
                            .U8(0)
                            .U8(0)
                            .U8(1)
                            .Zeros(12)
                            .Raw(kMacB)
                            .U8(0)
                            .Raw(kIpv6)
                            .Raw(kMacA)
                            .Text("cif-2", 48)
                            .Text("port-2", 48)
                            .Zeros(96)
                            .U16(0)
                            .Raw(kMacB)
                            .U16(0)
                            .Take();
    EXPECT_EQ(value.size(), 202u + 46u + 202u);
    EXPECT_EQ(message, UpdateAround(KCP_CONTAINER_UPDATE, value));
    std::vector<KcpContainerRecord> read;
    ASSERT_TRUE(KcpContainerUpdateCodec::Decode(value, read));
    EXPECT_EQ(read, records);
}

TEST(KcpVifUpdateTest, RecordHeadThenStatusMacsAndBindings) {
    const uint64_t stamp = 0x0102030405060708ULL;
    KcpVifRecord record{"vif-1",
                        "port-1",
                        "switch-1",
                        "",
                        KCP_VIF_VNIC,
                        1,
                        0,
                        KCP_VIF_CONNECT,
                        {kMacA, kMacB},
                        {{true, kIpv4, kMacA, 42, 3, stamp}}};
    const KcpVifUpdate update{KCP_OP_UPDATE, {record}};
    Bytes message;
    ASSERT_TRUE(KcpVifUpdateCodec::BuildMessage(update, false, message));
    const Bytes value = Wire()
                            .U8(1)
                            .Text("vif-1", 48)
                            .Text("port-1", 48)
                            .Text("switch-1", 64)
                            .Zeros(48)
                            .U8(1)
                            .U8(1)
                            .U8(0)
                            .U16(213 + 5 + 16 + 38)
                            .Tlv(1, 1)
                            .U8(1)
                            .Tlv(2, 12)
                            .Raw(kMacA)
                            .Raw(kMacB)
                            .Tlv(3, 34)
                            .U8(1)
                            .U8(10)
                            .U8(0)
                            .U8(0)
                            .U8(1)
                            .Zeros(12)
                            .Raw(kMacA)
                            .U16(42)
                            .U8(3)
                            .Raw(HostOrder(stamp))
                            .Take();
    EXPECT_EQ(message, UpdateAround(KCP_VIF_UPDATE, value));
    KcpVifUpdate read;
    ASSERT_TRUE(KcpVifUpdateCodec::Decode(value, read));
    EXPECT_EQ(read, update);

    // A container with an IPv6 binding and no status; a record with no properties at all.
    record = {"cif-9", "port-9", "sw",         "vif-1", KCP_VIF_CONTAINER,
              0,       1,        std::nullopt, {},      {{false, kIpv6, kMacB, 0, 1, 9}}};
    KcpVifRecord bare;
    bare.vifId = "vif-2";
    bare.vifType = KCP_VIF_TAKNIC;
    const KcpVifUpdate two{KCP_OP_FULL_SYNC, {record, bare}};
    ASSERT_TRUE(KcpVifUpdateCodec::BuildMessage(two, true, message));
    ASSERT_TRUE(KcpVifUpdateCodec::Decode(ValueOf(message), read));
    EXPECT_EQ(read, two);
}

TEST(KcpUplinkUpdateTest, RecordsAreFixedAt213Bytes) {
    const KcpUplinkUpdate update{KCP_OP_DELETE,
                                 {{"uplink-1", "switch-1", "client", std::string(90, 'a')}, {}}};
    Bytes message;
    ASSERT_TRUE(KcpUplinkUpdateCodec::BuildMessage(update, false, message));
    EXPECT_EQ(message, UpdateAround(KCP_UPLINK_UPDATE, Wire()
                                                           .U8(2)
                                                           .Text("uplink-1", 48)
                                                           .Text("switch-1", 64)
                                                           .Text("client", 20)
                                                           .Text(std::string(80, 'a'), 81)
                                                           .Zeros(213)
                                                           .Take()));
    KcpUplinkUpdate read;
    ASSERT_TRUE(KcpUplinkUpdateCodec::Decode(ValueOf(message), read));
    KcpUplinkUpdate cut = update;
    cut.records[0].alias.resize(80);
    EXPECT_EQ(read, cut);
}

TEST(KcpUpdateTest, BuildersRefuseWhatDoesNotFitSixteenBits) {
    Bytes message;
    const KcpPropertyUpdate tooLong{KCP_OP_UPDATE, {{"vif", {{1, Bytes(65532, 0)}}}}};
    EXPECT_FALSE(
        KcpPropertyUpdateCodec::BuildMessage(KCP_PORT_PROPERTY_UPDATE, tooLong, false, message));
    // Fits a TLV but not a record behind its head.
    const KcpPropertyUpdate recordTooLong{KCP_OP_UPDATE, {{"vif", {{1, Bytes(65500, 0)}}}}};
    EXPECT_FALSE(KcpPropertyUpdateCodec::BuildMessage(KCP_PORT_PROPERTY_UPDATE, recordTooLong,
                                                      false, message));
    EXPECT_FALSE(KcpIdListCodec::BuildMessage(KCP_PORT_LIST_UPDATE,
                                              std::vector<std::string>(1366, "p"), false, message));
    EXPECT_TRUE(KcpIdListCodec::BuildMessage(KCP_PORT_LIST_UPDATE,
                                             std::vector<std::string>(1365, "p"), false, message));
    EXPECT_EQ(message.size(), 9u + 1365u * 48u);
    KcpVifUpdate vif{KCP_OP_UPDATE, {{}}};
    vif.records[0].macs.resize(11000);
    EXPECT_FALSE(KcpVifUpdateCodec::BuildMessage(vif, false, message));
    KcpUpdate raw{false, {{KCP_PORT_LIST_UPDATE, Bytes(65527, 0)}}};
    EXPECT_FALSE(KcpUpdateCodec::Build(raw, message));
    raw.data[0].value.resize(65526);
    EXPECT_TRUE(KcpUpdateCodec::Build(raw, message));
    EXPECT_EQ(message.size(), 65535u);
}

}  // namespace
}  // namespace PortTest
