#include "port/conversion/KCPMsgConvertor.h"

#include <gtest/gtest.h>

#include <utility>

#include "log/LogLevel.h"
#include "dplink/BigEndian.h"
#include "port/session/IConfigApp.h"
#include "port/kcp/KcpContainerUpdateCodec.h"
#include "port/kcp/KcpHdsUpdateCodec.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpPortContainerListCodec.h"
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
    // (IDs, more bit) of each Port ContainerList message sent for `count`
    // containers, after checking each message's size and parent and that the
    // messages together carry the whole list in order.
    std::vector<std::pair<size_t, bool>> PortContainerShape(size_t count) {
        _link.sent.clear();
        const std::vector<std::string> containers = Names(count);
        EXPECT_TRUE(_convertor->SendPortContainerList("vif-parent", containers));
        std::vector<std::pair<size_t, bool>> shape;
        std::vector<std::string> carried;
        for (const Message& message : _link.sent) {
            KcpPortContainerList list;
            auto data = KcpMessage::FirstData(message);
            EXPECT_TRUE(data && KcpPortContainerListCodec::Decode(data->Value(), list));
            EXPECT_EQ(DataType(message), KCP_PORT_CONTAINER_LIST_UPDATE);
            EXPECT_EQ(list.vifId, "vif-parent");
            // 4 message head, 1 flag, 4 data head, 48 parent, 48 per container.
            EXPECT_EQ(message.size(), 57u + 48 * list.containerVifIds.size());
            shape.emplace_back(list.containerVifIds.size(), KcpMessage::More(message));
            carried.insert(carried.end(), list.containerVifIds.begin(), list.containerVifIds.end());
        }
        EXPECT_EQ(carried, containers);
        return shape;
    }
    std::vector<KcpContainerRecord> Containers(const Message& message) {
        std::vector<KcpContainerRecord> records;
        auto data = KcpMessage::FirstData(message);
        EXPECT_TRUE(data && KcpContainerUpdateCodec::Decode(data->Value(), records));
        EXPECT_EQ(DataType(message), KCP_CONTAINER_UPDATE);
        EXPECT_FALSE(KcpMessage::More(message));
        return records;
    }
    // A container record of 202 + 23 x `entries` bytes.
    static ContainerInfo Container(const std::string& cifId, size_t entries) {
        ContainerInfo container{.cifId = cifId,
                                .portId = "port-" + cifId,
                                .vmPortId = "vm-port",
                                .vmVifId = "vm-vif",
                                .vlan = 10,
                                .mac = {2, 0, 0, 0, 0, 1},
                                .entries = {}};
        for (size_t i = 0; i < entries; ++i) {
            container.entries.push_back(
                {i % 2 == 0, {10, 0, 0, static_cast<uint8_t>(i)}, {2, 0, 0, 0, 1, 2}});
        }
        return container;
    }
    static std::vector<std::string> CifIds(const std::vector<KcpContainerRecord>& records) {
        std::vector<std::string> ids;
        for (const KcpContainerRecord& record : records) {
            ids.push_back(record.cifId);
        }
        return ids;
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

TEST_F(KCPMsgConvertorTest, AnEmptyPortContainerListIsTheParentAlone) {
    ASSERT_TRUE(_convertor->SendPortContainerList("vif-parent", {}));
    ASSERT_EQ(_link.sent.size(), 1u);
    Message expected{0, 2, 0, 57, 0, 0, 9, 0, 52, 'v', 'i', 'f', '-', 'p', 'a', 'r', 'e', 'n', 't'};
    expected.resize(57);
    EXPECT_EQ(_link.sent[0], expected);
}

TEST_F(KCPMsgConvertorTest, PortContainerListsCarryAtMost212IdsBehindTheParent) {
    using Shape = std::vector<std::pair<size_t, bool>>;
    EXPECT_EQ(PortContainerShape(1), (Shape{{1, false}}));
    EXPECT_EQ(PortContainerShape(212), (Shape{{212, false}}));
    EXPECT_EQ(PortContainerShape(213), (Shape{{212, true}, {1, false}}));
    // The second cut sees exactly 212 left: no more bit.
    EXPECT_EQ(PortContainerShape(424), (Shape{{212, true}, {212, false}}));
    EXPECT_EQ(PortContainerShape(425), (Shape{{212, true}, {212, true}, {1, false}}));
}

TEST_F(KCPMsgConvertorTest, ContainerRecordsGoOutWhole) {
    ContainerInfo container = Container("cif-1", 2);
    container.entries[1].ipv4 = false;
    container.entries[1].ip = {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9};
    ASSERT_TRUE(_convertor->SendContainerUpdate({container}));
    ASSERT_EQ(_link.sent.size(), 1u);
    EXPECT_EQ(_link.sent[0].size(), 9u + 202 + 2 * 23);
    EXPECT_EQ(Containers(_link.sent[0]), std::vector<KcpContainerRecord>{container});

    _link.sent.clear();
    EXPECT_TRUE(_convertor->SendContainerUpdate({}));
    EXPECT_TRUE(_link.sent.empty());
}

// A record joins a message while 4 + the records so far + its own size stays below 10240.
TEST_F(KCPMsgConvertorTest, ContainerRecordsArePackedWhileTheRunningTotalStaysBelow10240) {
    // 22 x (202 + 230) + (202 + 529) = 10235: the total reaches 10239 and all share one message.
    std::vector<ContainerInfo> full;
    for (int i = 0; i < 22; ++i) {
        full.push_back(Container("cif-" + std::to_string(i), 10));
    }
    full.push_back(Container("cif-last", 23));
    ASSERT_TRUE(_convertor->SendContainerUpdate(full));
    ASSERT_EQ(_link.sent.size(), 1u);
    // The running total leaves out 5 of the 9 head bytes.
    EXPECT_EQ(_link.sent[0].size(), 9u + 10235);
    EXPECT_EQ(Containers(_link.sent[0]).size(), 23u);

    // 8 x (202 + 920) + (202 + 1058) = 10236: the total would reach 10240, so
    // the last record opens a second message.
    _link.sent.clear();
    std::vector<ContainerInfo> over;
    for (int i = 0; i < 8; ++i) {
        over.push_back(Container("cif-" + std::to_string(i), 40));
    }
    over.push_back(Container("cif-last", 46));
    ASSERT_TRUE(_convertor->SendContainerUpdate(over));
    ASSERT_EQ(_link.sent.size(), 2u);
    EXPECT_EQ(_link.sent[0].size(), 9u + 8 * 1122);
    EXPECT_EQ(Containers(_link.sent[0]).size(), 8u);
    EXPECT_EQ(_link.sent[1].size(), 9u + 1260);
    EXPECT_EQ(CifIds(Containers(_link.sent[1])), std::vector<std::string>{"cif-last"});
}

TEST_F(KCPMsgConvertorTest, AContainerRecordThatFitsNoMessageIsRefusedAndTheOthersGo) {
    // 202 + 23 x 436 = 10230 still fits alone; 437 entries make 10253, and
    // 4 + 10253 is not below 10240.
    ASSERT_TRUE(_convertor->SendContainerUpdate({Container("cif-436", 436)}));
    ASSERT_EQ(_link.sent.size(), 1u);
    EXPECT_EQ(_link.sent[0].size(), 9u + 10230);

    _link.sent.clear();
    const int savedAgent = LogLevel::agent.exchange(LL_DEBUG);
    const int savedConsole = LogLevel::console.exchange(1);
    testing::internal::CaptureStdout();
    const bool sent = _convertor->SendContainerUpdate(
        {Container("cif-a", 1), Container("cif-huge", 437), Container("cif-b", 1)});
    const std::string log = testing::internal::GetCapturedStdout();
    LogLevel::console.store(savedConsole);
    LogLevel::agent.store(savedAgent);

    EXPECT_FALSE(sent);
    ASSERT_EQ(_link.sent.size(), 1u);
    EXPECT_EQ(_link.sent[0].size(), 9u + 2 * 225);
    EXPECT_EQ(CifIds(Containers(_link.sent[0])), (std::vector<std::string>{"cif-a", "cif-b"}));
    EXPECT_NE(log.find("Container update of CIF cif-huge refused"), std::string::npos) << log;
    EXPECT_NE(log.find("Send container update itemLen 225, allocLen 454, EntryNum 1"),
              std::string::npos)
        << log;
}

}  // namespace
}  // namespace PortTest
