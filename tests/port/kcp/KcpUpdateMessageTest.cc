// Update messages beyond their plain layouts: the flag byte, IDs cut at the
// field width, empty rows, what readers refuse and what builders cannot fit.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "port/kcp/KcpTestSupport.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpPortContainerListCodec.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "port/kcp/KcpUplinkUpdateCodec.h"
#include "port/kcp/KcpVifUpdateCodec.h"

namespace PortTest {
namespace {

using namespace CfgAgent;

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
