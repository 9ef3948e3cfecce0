#include "port/conversion/KCPMsgConvertor.h"

#include <gtest/gtest.h>

#include "log/LogLevel.h"
#include "dplink/BigEndian.h"
#include "port/session/IConfigApp.h"
#include "port/kcp/KcpHdsUpdateCodec.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "zef/RefPtr.h"

namespace PortTest {
namespace {

using namespace CfgAgent;
using Message = std::vector<uint8_t>;

class SentMessages : public IConfigApp {
public:
    bool SendToDP(std::span<const uint8_t> message) override {
        sent.emplace_back(message.begin(), message.end());
        return true;
    }
    std::vector<Message> sent;
};

class KCPMsgConvertorTest : public ::testing::Test {
protected:
    uint16_t DataType(const Message& message) { return BigEndian::Get16(message.data() + 5); }
    std::vector<std::string> Ids(const Message& message) {
        std::vector<std::string> ids;
        auto data = KcpMessage::FirstData(message);
        EXPECT_TRUE(data && KcpIdListCodec::Decode(data->Type(), data->Value(), ids));
        return ids;
    }
    KcpPropertyUpdate Properties(const Message& message) {
        KcpPropertyUpdate update;
        auto data = KcpMessage::FirstData(message);
        EXPECT_TRUE(data && KcpPropertyUpdateCodec::Decode(data->Type(), data->Value(), update));
        return update;
    }
    static std::vector<std::string> Names(size_t count) {
        std::vector<std::string> names;
        for (size_t i = 0; i < count; ++i) {
            names.push_back("vif-" + std::to_string(i));
        }
        return names;
    }

    SentMessages _link;
    zef::RefPtr<KCPMsgConvertor> _convertor = zef::MakeRef<KCPMsgConvertor>(_link);
};

TEST_F(KCPMsgConvertorTest, ListsAreCutAt213PortsWithTheMoreBitOnAllButTheLast) {
    ASSERT_TRUE(_convertor->SendLists({}, Names(213), {}));
    ASSERT_EQ(_link.sent.size(), 2u);
    EXPECT_EQ(_link.sent[0], (Message{0, 2, 0, 9, 0, 0, 8, 0, 4})) << "the empty ContainerList";
    EXPECT_EQ(_link.sent[1].size(), 9u + 213 * 48);
    EXPECT_FALSE(KcpMessage::More(_link.sent[1]));

    _link.sent.clear();
    ASSERT_TRUE(_convertor->SendLists({"c-1"}, Names(214), {}));
    ASSERT_EQ(_link.sent.size(), 3u);
    EXPECT_EQ(Ids(_link.sent[0]), std::vector<std::string>{"c-1"});
    EXPECT_TRUE(KcpMessage::More(_link.sent[1]));
    EXPECT_FALSE(KcpMessage::More(_link.sent[2]));
    EXPECT_EQ(Ids(_link.sent[1]).size(), 213u);
    EXPECT_EQ(Ids(_link.sent[2]), std::vector<std::string>{"vif-213"});
}

TEST_F(KCPMsgConvertorTest, TaknicAndHdsListsHoldTheirOwnCounts) {
    ASSERT_TRUE(_convertor->SendLists({}, {}, std::vector<std::string>(640, "vmk0")));
    ASSERT_EQ(_link.sent.size(), 3u);
    EXPECT_EQ(DataType(_link.sent[1]), KCP_TAKNIC_LIST_UPDATE);
    EXPECT_EQ(Ids(_link.sent[1]).size(), 639u);
    EXPECT_EQ(Ids(_link.sent[2]).size(), 1u);
    _link.sent.clear();
    ASSERT_TRUE(_convertor->SendHDSList(std::vector<std::string>(160, "hs")));
    ASSERT_EQ(_link.sent.size(), 2u);
    EXPECT_EQ(Ids(_link.sent[0]).size(), 159u);
    EXPECT_TRUE(KcpMessage::More(_link.sent[0]));
}

TEST_F(KCPMsgConvertorTest, ALongValueGoesInPiecesThatTheKernelJoinsByKey) {
    DPUpdate update;
    update.operation = 1;
    update.Add("vif-big", {81, std::vector<uint8_t>(25000, 0xab)});
    ASSERT_TRUE(_convertor->SendPropertyUpdate(update));
    ASSERT_EQ(_link.sent.size(), 3u);
    size_t total = 0;
    for (size_t i = 0; i < 3; ++i) {
        const KcpPropertyUpdate part = Properties(_link.sent[i]);
        ASSERT_EQ(part.records.size(), 1u);
        EXPECT_EQ(part.records[0].id, "vif-big");
        ASSERT_EQ(part.records[0].properties.size(), 1u);
        EXPECT_EQ(part.records[0].properties[0].type, 81);
        total += part.records[0].properties[0].value.size();
        EXPECT_EQ(KcpMessage::More(_link.sent[i]), i < 2);
        EXPECT_EQ(part.operation, KCP_OP_UPDATE);
        EXPECT_LE(_link.sent[i].size(), 10240u);
    }
    EXPECT_EQ(Properties(_link.sent[0]).records[0].properties[0].value.size(), 10176u);
    EXPECT_EQ(total, 25000u);
}

TEST_F(KCPMsgConvertorTest, RecordsShareAMessageUntilTheBudgetIsSpent) {
    DPUpdate update;
    update.operation = 3;
    // Each record: 50 head + 4 + 996 = 1050 bytes; nine fit in 10230, the tenth does not.
    for (int i = 0; i < 10; ++i) {
        update.Add("vif-" + std::to_string(i), {1, std::vector<uint8_t>(996, 1)});
    }
    update.Add("vif-empty", {101, {}});
    const std::vector<KcpPropertyUpdate> cut = KCPMsgConvertor::CutPropertyUpdate(update);
    // The tenth value does not fit what is left, so it goes as a piece of its
    // own, and the next record opens a new message.
    ASSERT_EQ(cut.size(), 3u);
    EXPECT_EQ(cut[0].records.size(), 9u);
    EXPECT_EQ(cut[0].operation, KCP_OP_FULL_SYNC);
    ASSERT_EQ(cut[1].records.size(), 1u);
    EXPECT_EQ(cut[1].records[0].id, "vif-9");
    EXPECT_EQ(cut[1].records[0].properties[0].value.size(), 996u);
    ASSERT_EQ(cut[2].records.size(), 1u);

    ASSERT_TRUE(_convertor->SendPropertyUpdate(update));
    ASSERT_EQ(_link.sent.size(), 3u);
    const KcpPropertyUpdate last = Properties(_link.sent[2]);
    const KcpPropertyRecord& empty = last.records.back();
    EXPECT_EQ(empty.id, "vif-empty");
    EXPECT_TRUE(empty.properties[0].value.empty());
    // An empty value takes its 4-byte head in the record: 50 + 4.
    EXPECT_EQ(_link.sent[2].size(), 10u + 54);
    EXPECT_EQ(BigEndian::Get16(_link.sent[2].data() + 10 + 48), 54);
}

TEST_F(KCPMsgConvertorTest, GlobalPropertiesAreCutAbove10164Bytes) {
    ASSERT_TRUE(_convertor->SendGlobalProperties(
        KCP_OP_UPDATE, {{"hs-1", {2, std::vector<uint8_t>(10160, 7)}}}));
    ASSERT_EQ(_link.sent.size(), 1u);
    EXPECT_EQ(_link.sent[0].size(), 10164u + 76);
    EXPECT_EQ(BigEndian::Get16(_link.sent[0].data() + 9 + 65), 10164 + 67);

    _link.sent.clear();
    ASSERT_TRUE(_convertor->SendGlobalProperties(
        KCP_OP_FULL_SYNC, {{"hs-1", {2, std::vector<uint8_t>(10161, 7)}}, {"", {1, {'u', 'p', 0}}}}));
    ASSERT_EQ(_link.sent.size(), 3u);
    std::vector<KcpHdsRecord> records;
    auto data = KcpMessage::FirstData(_link.sent[1]);
    ASSERT_TRUE(data && KcpHdsUpdateCodec::Decode(data->Value(), records));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].properties[0].value.size(), 1u);
    EXPECT_EQ(records[0].operation, KCP_OP_FULL_SYNC);
    EXPECT_TRUE(KcpMessage::More(_link.sent[0]));
    EXPECT_TRUE(KcpMessage::More(_link.sent[1]));
    EXPECT_FALSE(KcpMessage::More(_link.sent[2]));
}

}  // namespace
}  // namespace PortTest
