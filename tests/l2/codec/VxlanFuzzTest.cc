// Whatever bytes arrive, every reader ends, stays inside the message, and
// what it accepts accounts for every byte of its length.

#include <gtest/gtest.h>

#include <random>

#include "l2/codec/VxlanBfdUpdateCodec.h"
#include "l2/codec/VxlanConfigureCodec.h"
#include "l2/codec/VxlanControlCodec.h"
#include "l2/codec/VxlanDump.h"
#include "l2/codec/VxlanGroupAssociationCodec.h"
#include "l2/codec/VxlanGroupCodec.h"
#include "l2/codec/VxlanIpUpdateCodec.h"
#include "l2/codec/VxlanMacUpdateCodec.h"
#include "l2/codec/VxlanNeighborUpdateCodec.h"
#include "l2/codec/VxlanQueryCodec.h"
#include "l2/codec/VxlanRdListCodec.h"
#include "l2/codec/VxlanRdVtepUpdateCodec.h"
#include "l2/codec/VxlanTepStateCodec.h"
#include "l2/codec/VxlanTypes.h"
#include "l2/codec/VxlanUpdateCodec.h"
#include "l2/codec/VxlanVifUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"
#include "l2/codec/VxlanTestSupport.h"

namespace L2Test {
namespace {

using namespace CfgAgent;

constexpr int kRounds = 50000;

std::vector<Bytes> Corpus() {
    std::vector<Bytes> corpus;
    corpus.push_back(VxlanControlCodec::BuildSession({VXLAN_SESSION_OPEN, 3}));
    corpus.push_back(VxlanControlCodec::BuildVniMembership({1, 5000, VXLAN_JOIN}));
    corpus.push_back(VxlanControlCodec::BuildRdMembership({1, 1, {}, 1}));
    corpus.push_back(VxlanControlCodec::BuildControllerIp({1, 5000, 3, 1, {}}));
    corpus.push_back(VxlanControlCodec::BuildInstanceChange({1, 1}));
    corpus.push_back(VxlanControlCodec::BuildStateQuery());
    corpus.push_back(VxlanControlCodec::BuildStateReport(true));
    corpus.push_back(VxlanTepStateCodec::Build({2, "s", "t", 1, 2, false}));
    Bytes message;
    VxlanControlCodec::BuildLinkChange({1, 0, {{5000, 1, 1}, {5001, 0, 1}}}, message);
    corpus.push_back(message);
    VxlanConfigureItem bfd;
    bfd.type = VXLAN_CFG_BFD;
    VxlanConfigureItem limit;
    limit.type = VXLAN_CFG_MAC_LIMIT;
    VxlanConfigureCodec::Build({VxlanConfigureItem{}, bfd, limit}, message);
    corpus.push_back(message);
    VxlanQueryCodec::Build({{4, 1, 2, {{}, {}}, {}}, {6, 1, 2, {}, {{}}}, {7, 1, 2, {}, {{}}}},
                           message);
    corpus.push_back(message);

    std::vector<Bytes> row(11);
    VxlanMacUpdateCodec::Build({1, 2, {{}}, {{}, {}}}, row[0]);
    VxlanIpUpdateCodec::Build({false, 1, 2, {{}}, {{}}}, row[1]);
    VxlanIpUpdateCodec::Build({true, 1, 2, {}, {{}}}, row[2]);
    VxlanVtepUpdateCodec::Build({1, 2, {}, {{}, {}}}, row[3]);
    VxlanNeighborUpdateCodec::Build({false, 1, 2, {{}}}, row[4]);
    VxlanVifUpdateCodec::Build({1, {"a", "b"}}, row[5]);
    VxlanRdVtepUpdateCodec::Build({{}, 1, 0, {{}}, {{}}}, row[6]);
    VxlanRdListCodec::Build({1, 0, {{}, {}}}, row[7]);
    VxlanBfdUpdateCodec::Build({1, {{}}, {{}}}, row[8]);
    VxlanGroupAssociationCodec::Build({true, 1, 2, {}, false, 9}, row[9]);
    VxlanGroupCodec::Build({9, false, {1}, 1, {}, {{}, {}}, {}}, row[10]);
    VxlanUpdateCodec::Build(row, message);
    corpus.push_back(message);
    VxlanGroupCodec::Build({9, false, {}, VXLAN_GROUP_KIND_VTEP, {}, {}, {{}}}, row[0]);
    VxlanUpdateCodec::Build({row[0]}, message);
    corpus.push_back(message);
    return corpus;
}

class VxlanFuzzTest : public ::testing::Test {
public:
    uint8_t Byte() { return static_cast<uint8_t>(_random() & 0xff); }
    size_t Below(size_t bound) { return std::uniform_int_distribution<size_t>(0, bound - 1)(_random); }

    // Mostly a plausible header and first TLV, so that the walks get past them.
    Bytes Noise() {
        Bytes bytes(Below(300));
        for (uint8_t& b : bytes) {
            b = Below(3) == 0 ? 0 : Byte();
        }
        if (bytes.size() >= 8 && Below(4) != 0) {
            const uint16_t types[] = {2, 3, 4, 5, 6, 7, 11, 12, 13, 14, 15, 16, 17, 1001};
            const uint16_t type = types[Below(std::size(types))];
            bytes[0] = static_cast<uint8_t>(type >> 8);
            bytes[1] = static_cast<uint8_t>(type);
            bytes[2] = static_cast<uint8_t>(bytes.size() >> 8);
            bytes[3] = static_cast<uint8_t>(bytes.size());
            bytes[4] = 0;
            bytes[5] = static_cast<uint8_t>(Below(16));
            const size_t tlv = 4 + Below(bytes.size() - 4);
            bytes[6] = static_cast<uint8_t>(tlv >> 8);
            bytes[7] = static_cast<uint8_t>(tlv);
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

private:
    std::mt19937 _random{20240917};
};

template <typename Update>
size_t Entries(const Update& update) {
    return update.removed.size() + update.added.size();
}

void ReadData(const Tlv& data) {
    const size_t length = data.Length();
    VxlanMacUpdate mac;
    if (VxlanMacUpdateCodec::Read(data, mac).empty()) {
        EXPECT_EQ(14 + 40 * Entries(mac), length);
    }
    VxlanIpUpdate ip;
    if (VxlanIpUpdateCodec::Read(data, ip).empty()) {
        EXPECT_EQ(14 + (ip.ipv6 ? 22 : 10) * Entries(ip), length);
    }
    VxlanVtepUpdate vtep;
    if (VxlanVtepUpdateCodec::Read(data, vtep).empty()) {
        EXPECT_EQ(14 + 57 * Entries(vtep), length);
    }
    VxlanNeighborUpdate neighbor;
    if (VxlanNeighborUpdateCodec::Read(data, neighbor).empty()) {
        EXPECT_EQ(12 + (neighbor.ipv6 ? 56 : 44) * neighbor.entries.size(), length);
    }
    VxlanVifUpdate vif;
    if (VxlanVifUpdateCodec::Read(data, vif).empty()) {
        EXPECT_EQ(5 + 160 * vif.vifIds.size(), length);
        for (const std::string& id : vif.vifIds) {
            EXPECT_LT(id.size(), 161u);
        }
    }
    VxlanRdVtepUpdate rdVtep;
    if (VxlanRdVtepUpdateCodec::Read(data, rdVtep).empty()) {
        EXPECT_EQ(27 + 57 * Entries(rdVtep), length);
    }
    VxlanRdList list;
    if (VxlanRdListCodec::Read(data, list).empty()) {
        EXPECT_EQ(9 + 16 * list.routingDomains.size(), length);
    }
    VxlanBfdUpdate bfd;
    if (VxlanBfdUpdateCodec::Read(data, bfd).empty()) {
        EXPECT_EQ(10 + 57 * Entries(bfd), length);
    }
    VxlanGroup group;
    if (VxlanGroupCodec::Read(data, group).empty()) {
        if (group.deleted) {
            EXPECT_EQ(length, 12u);
        } else {
            const bool vteps = group.kind == VXLAN_GROUP_KIND_VTEP;
            EXPECT_EQ(length, 21 + 4 * group.values.size() + (vteps ? 32 * 57 : 16 * 36));
            EXPECT_LE(group.vteps.size(), 32u);
            EXPECT_LE(group.members.size(), 16u);
        }
    }
    VxlanGroupAssociation association;
    if (VxlanGroupAssociationCodec::Read(data, association).empty()) {
        EXPECT_EQ(length, association.routingDomainSide ? 30u : 18u);
    }
    VxlanQuery query;
    if (VxlanQueryCodec::ReadData(data, query).empty()) {
        EXPECT_EQ(12 + VxlanQueryCodec::EntrySize(query.dataType) *
                           (query.macs.size() + query.ips.size()),
                  length);
    }
    VxlanConfigureItem item;
    if (VxlanConfigureCodec::ReadItem(data, item).empty()) {
        EXPECT_EQ(VxlanConfigureCodec::ItemLength(item.type), length);
    }
}

void ReadFixed(const Bytes& bytes) {
    VxlanSession session;
    if (VxlanControlCodec::ReadSession(bytes, session).empty()) {
        EXPECT_EQ(bytes.size(), 13u);
    }
    VxlanVniMembership membership;
    if (VxlanControlCodec::ReadVniMembership(bytes, membership).empty()) {
        EXPECT_EQ(bytes.size(), 13u);
    }
    VxlanLinkChange change;
    if (VxlanControlCodec::ReadLinkChange(bytes, change).empty()) {
        EXPECT_EQ(9 + 6 * change.entries.size(), bytes.size());
    }
    VxlanRdMembership domain;
    if (VxlanControlCodec::ReadRdMembership(bytes, domain).empty()) {
        EXPECT_EQ(bytes.size(), 26u);
    }
    VxlanControllerIp controller;
    if (VxlanControlCodec::ReadControllerIp(bytes, controller).empty()) {
        EXPECT_EQ(bytes.size(), 36u);
    }
    VxlanSwitchFlag flag;
    if (VxlanControlCodec::ReadInstanceChange(bytes, flag).empty() ||
        VxlanControlCodec::ReadGlobalReplication(bytes, flag).empty()) {
        EXPECT_EQ(bytes.size(), 9u);
    }
    VxlanNotification notification;
    if (VxlanControlCodec::ReadNotification(bytes, notification).empty()) {
        EXPECT_EQ(bytes.size(), 8u);
    }
}

void ReadRows(const Bytes& bytes) {
    if (VxlanControlCodec::ReadStateQuery(bytes).empty()) {
        EXPECT_EQ(bytes.size() % 4, 0u);
    }
    bool outOfSync = false;
    if (VxlanControlCodec::ReadStateReport(bytes, outOfSync).empty()) {
        EXPECT_EQ((bytes.size() - 4) % 5, 0u);
    }
    VxlanTepState state;
    if (VxlanTepStateCodec::Read(bytes, state).empty()) {
        EXPECT_GE(bytes.size(), 114u);
        EXPECT_LE(state.switchName.size(), 80u);
        EXPECT_LE(state.taknicName.size(), 15u);
    }
    std::vector<VxlanConfigureItem> items;
    if (VxlanConfigureCodec::Read(bytes, items).empty()) {
        size_t length = 4;
        for (const VxlanConfigureItem& item : items) {
            length += VxlanConfigureCodec::ItemLength(item.type);
        }
        EXPECT_EQ(length, bytes.size());
    }
    std::vector<VxlanQuery> queries;
    if (VxlanQueryCodec::Read(bytes, queries).empty()) {
        size_t length = 4;
        for (const VxlanQuery& query : queries) {
            length += 12 + VxlanQueryCodec::EntrySize(query.dataType) *
                               (query.macs.size() + query.ips.size());
        }
        EXPECT_EQ(length, bytes.size());
    }
    EXPECT_LE(VxlanDump::Render(bytes).size(), VxlanDump::kMaxText);
}

void ReadUpdate(const Bytes& bytes) {
    std::vector<Tlv> row;
    const std::string reason = VxlanUpdateCodec::Read(bytes, row);
    size_t end = 4;
    for (const Tlv& data : row) {
        EXPECT_GE(data.Length(), 4u);
        end = data.End();
        ReadData(data);
    }
    if (reason.empty()) {
        EXPECT_EQ(end, bytes.size());
    }
    EXPECT_LE(VxlanDump::Render(bytes).size(), VxlanDump::kMaxText);
}

// Each reader meets both random bytes and damaged messages of every type.
template <typename Reader>
void Fuzz(VxlanFuzzTest& test, Reader read, bool asUpdate) {
    const std::vector<Bytes> corpus = Corpus();
    for (int round = 0; round < kRounds; ++round) {
        Bytes bytes = round % 2 == 0 ? test.Noise() : test.Damaged(corpus[test.Below(corpus.size())]);
        // Retyped as an Update, so that every data reader meets the damage.
        if (asUpdate && bytes.size() >= 2) {
            bytes[0] = 0;
            bytes[1] = VXLAN_MSG_UPDATE;
        }
        read(bytes);
        if (::testing::Test::HasFailure()) {
            FAIL() << "round " << round;
        }
    }
}

TEST_F(VxlanFuzzTest, FixedLayoutReaders) {
    Fuzz(*this, ReadFixed, false);
}

TEST_F(VxlanFuzzTest, RowReadersAndTheDump) {
    Fuzz(*this, ReadRows, false);
}

TEST_F(VxlanFuzzTest, UpdateDataReaders) {
    Fuzz(*this, ReadUpdate, true);
}

}  // namespace
}  // namespace L2Test
