// Whatever bytes arrive, every reader ends, stays inside the message, and
// yields no more than the bytes could hold.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "port/kcp/KcpTestSupport.h"
#include "port/kcp/KcpContainerUpdateCodec.h"
#include "port/kcp/KcpDump.h"
#include "port/kcp/KcpHdsUpdateCodec.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpInitCodec.h"
#include "port/kcp/KcpNotificationCodec.h"
#include "port/kcp/KcpPortContainerListCodec.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpQueryCodec.h"
#include "port/kcp/KcpSessionCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "port/kcp/KcpUplinkUpdateCodec.h"
#include "port/kcp/KcpVifUpdateCodec.h"

namespace PortTest {
namespace {

using namespace CfgAgent;

constexpr int kRounds = 4000;

std::vector<Bytes> Corpus() {
    std::vector<Bytes> corpus;
    Bytes message;
    corpus.push_back(KcpSessionCodec::Build(KCP_SESSION_OPEN, 5));
    corpus.push_back(KcpQueryCodec::BuildStatusQuery());
    KcpInitCodec::Build(KcpInit{1024}, message);
    corpus.push_back(message);
    KcpNotificationCodec::Build({{1, 1, "", 0}, {2, 0, "vif", 0}, {3, 0, "t", 0}, {4, 0, "v", 3}},
                                message);
    corpus.push_back(message);
    KcpVifRecord vif{"vif",
                     "port",
                     "sw",
                     "",
                     1,
                     0,
                     0,
                     KCP_VIF_CONNECT,
                     {{1, 2, 3, 4, 5, 6}},
                     {{false, {}, {}, 1, 1, 1}}};
    KcpVifUpdateCodec::BuildMessage({KCP_OP_UPDATE, {vif, vif}}, false, message);
    corpus.push_back(message);
    KcpUplinkUpdateCodec::BuildMessage({KCP_OP_UPDATE, {{"u", "s", "c", "a"}, {}}}, false, message);
    corpus.push_back(message);
    const KcpPropertyUpdate ports{KCP_OP_UPDATE,
                                  {{"p1", {{1, {1}}, {2, {}}}}, {"p2", {{3, {0, 0}}}}}};
    KcpPropertyUpdateCodec::BuildMessage(KCP_PORT_PROPERTY_UPDATE, ports, true, message);
    corpus.push_back(message);
    KcpPropertyUpdateCodec::BuildMessage(KCP_TAKNIC_PROPERTY_UPDATE, ports, false, message);
    corpus.push_back(message);
    KcpHdsUpdateCodec::BuildMessage({{"h", 1, {{1, {7, 7}}}}, {"h2", 2, {}}}, false, message);
    corpus.push_back(message);
    KcpContainerUpdateCodec::BuildMessage(
        {{"c", "p", "vp", "vv", 1, {}, {{true, {}, {}}, {false, {}, {}}}},
         {"c2", "", "", "", 0, {}, {}}},
        false, message);
    corpus.push_back(message);
    for (uint16_t type : {KCP_PORT_LIST_UPDATE, KCP_TAKNIC_LIST_UPDATE, KCP_CONTAINER_LIST_UPDATE,
                          KCP_HDS_LIST_UPDATE}) {
        KcpIdListCodec::BuildMessage(type, {"a", "b", "c"}, false, message);
        corpus.push_back(message);
    }
    KcpPortContainerListCodec::BuildMessage({"p", {"c1", "c2"}}, false, message);
    corpus.push_back(message);
    return corpus;
}

class KcpFuzzTest : public ::testing::Test {
protected:
    uint8_t Byte() { return static_cast<uint8_t>(_random() & 0xff); }
    size_t Below(size_t bound) {
        return std::uniform_int_distribution<size_t>(0, bound - 1)(_random);
    }

    // Mostly a plausible header, so that the walks get past it.
    Bytes Noise() {
        Bytes bytes(Below(400));
        for (uint8_t& b : bytes) {
            b = Byte();
        }
        if (bytes.size() >= 9 && Below(4) != 0) {
            bytes[0] = 0;
            bytes[1] = static_cast<uint8_t>(1 + Below(6));
            bytes[2] = static_cast<uint8_t>(bytes.size() >> 8);
            bytes[3] = static_cast<uint8_t>(bytes.size());
            bytes[5] = 0;
            bytes[6] = static_cast<uint8_t>(Below(13));
        }
        return bytes;
    }

    Bytes Damaged(Bytes bytes) {
        const size_t changes = 1 + Below(4);
        for (size_t i = 0; i < changes && !bytes.empty(); ++i) {
            bytes[Below(bytes.size())] = Below(3) == 0 ? 0 : Byte();
        }
        if (Below(4) == 0 && !bytes.empty()) {
            bytes.resize(Below(bytes.size()));
        }
        return bytes;
    }

    std::mt19937 _random{20240611};
};

void ExpectText(const std::string& text, size_t width) {
    EXPECT_LE(text.size(), width);
}

void ReadValue(uint16_t type, std::span<const uint8_t> value) {
    KcpVifUpdate vif;
    if (KcpVifUpdateCodec::Decode(value, vif)) {
        EXPECT_LE(vif.records.size(), value.size() / 213);
        for (const KcpVifRecord& record : vif.records) {
            ExpectText(record.vifId, KCP_VIF_ID_LEN);
            ExpectText(record.switchId, KCP_SWITCH_ID_LEN);
            EXPECT_LE(record.macs.size() * 6 + record.bindings.size() * 34, value.size());
        }
    }
    KcpUplinkUpdate uplinks;
    if (KcpUplinkUpdateCodec::Decode(value, uplinks)) {
        EXPECT_LE(uplinks.records.size(), value.size() / 213);
    }
    for (uint16_t propertyType : {KCP_PORT_PROPERTY_UPDATE, KCP_TAKNIC_PROPERTY_UPDATE}) {
        KcpPropertyUpdate update;
        if (KcpPropertyUpdateCodec::Decode(propertyType, value, update)) {
            EXPECT_LE(update.records.size(), value.size() / 18);
            for (const KcpPropertyRecord& record : update.records) {
                ExpectText(record.id, KCP_VIF_ID_LEN);
                EXPECT_LE(record.properties.size() * 4, value.size());
            }
        }
    }
    std::vector<KcpHdsRecord> hds;
    KcpHdsUpdateCodec::Decode(value, hds);
    EXPECT_LE(hds.size(), value.size() / 67);
    std::vector<KcpContainerRecord> containers;
    KcpContainerUpdateCodec::Decode(value, containers);
    size_t entries = 0;
    for (const KcpContainerRecord& record : containers) {
        entries += record.entries.size();
    }
    EXPECT_LE(containers.size() * 202 + entries * 23, value.size());
    for (uint16_t listType : {KCP_PORT_LIST_UPDATE, KCP_TAKNIC_LIST_UPDATE,
                              KCP_CONTAINER_LIST_UPDATE, KCP_HDS_LIST_UPDATE}) {
        std::vector<std::string> ids;
        ASSERT_TRUE(KcpIdListCodec::Decode(listType, value, ids));
        EXPECT_EQ(ids.size(), value.size() / *KcpIdListCodec::Width(listType)) << type;
    }
    KcpPortContainerList list;
    if (KcpPortContainerListCodec::Decode(value, list)) {
        EXPECT_EQ(list.containerVifIds.size(), value.size() / 48 - 1);
    }
}

void ReadEverything(const Bytes& bytes) {
    KcpSessionControl control;
    KcpSessionCodec::Read(bytes, control);
    std::vector<uint16_t> queries;
    KcpQueryCodec::Read(bytes, queries);
    KcpInit init;
    KcpInitCodec::Read(bytes, init);
    std::vector<KcpNotification> notifications;
    if (KcpNotificationCodec::Read(bytes, notifications)) {
        EXPECT_LE(notifications.size() * 4, bytes.size());
    }
    KcpUpdate update;
    if (KcpUpdateCodec::Read(bytes, update)) {
        for (const KcpData& data : update.data) {
            ReadValue(data.type, data.value);
        }
    }
    EXPECT_LE(KcpDump::Render(bytes).size(), KcpDump::kMaxText);
}

TEST_F(KcpFuzzTest, RandomAndDamagedMessagesThroughEveryReader) {
    const std::vector<Bytes> corpus = Corpus();
    for (int round = 0; round < kRounds; ++round) {
        const Bytes bytes = round % 2 == 0 ? Noise() : Damaged(corpus[Below(corpus.size())]);
        ReadEverything(bytes);
        ReadValue(0, bytes);
        if (HasFailure()) {
            FAIL() << "round " << round;
        }
    }
}

}  // namespace
}  // namespace PortTest
