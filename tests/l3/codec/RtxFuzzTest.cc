#include <gtest/gtest.h>

#include <random>

#include "l3/codec/RtxControlCodec.h"
#include "l3/codec/RtxDump.h"
#include "l3/codec/RtxEntryCodec.h"
#include "l3/codec/RtxLifCodec.h"
#include "l3/codec/RtxTableCodec.h"
#include "l3/codec/RtxRouteCodec.h"

namespace L3Test {
namespace {

using namespace CfgAgent;

// Random bytes and mutated valid messages through every reader: none may
// read out of bounds or accept a length that disagrees with its bytes.
TEST(RtxFuzzTest, ReadersHoldTheirBoundsOnRandomAndMutatedInput) {
    std::mt19937 random(20261124);
    std::vector<std::vector<uint8_t>> seeds;
    std::vector<uint8_t> route;
    RtxRoute sample;
    sample.nextHops.resize(3);
    RtxRouteCodec::BuildAdd(sample, route);
    seeds.push_back(route);
    seeds.push_back(RtxControlCodec::BuildInstanceList({RTX_INSTANCE_ADD, 1, "r", 0, 0, 0}));
    seeds.push_back(RtxControlCodec::BuildFlush(1, RTX_FLUSH_ALL_FIB));
    seeds.push_back(RtxEntryCodec::BuildDadReport({"lif", {}, 1, "v"}));
    seeds.push_back(RtxEntryCodec::BuildGlobal({}));
    RtxLif lif;
    lif.ips.resize(2);
    lif.dhcpServers.resize(1);
    lif.ndra.emplace();
    lif.ndra->domains.resize(1);
    lif.policyGroups.push_back({1, {{}, {}}});
    lif.ndraSubnets.push_back({1, 2, {{true, 64, {}}}});
    std::vector<uint8_t> lifEntry;
    RtxLifCodec::BuildAdd(lif, lifEntry);
    seeds.push_back(lifEntry);
    std::vector<uint8_t> arp;
    RtxTableCodec::BuildArpTable({1, "l", {{}}, {{}}}, arp);
    seeds.push_back(arp);
    seeds.push_back(RtxTableCodec::BuildBridgeAdd({}));
    for (int round = 0; round < 20000; ++round) {
        std::vector<uint8_t> bytes = seeds[round % seeds.size()];
        const int mutations = 1 + static_cast<int>(random() % 4);
        for (int i = 0; i < mutations && !bytes.empty(); ++i) {
            switch (random() % 3) {
                case 0: bytes[random() % bytes.size()] = static_cast<uint8_t>(random()); break;
                case 1: bytes.resize(random() % (bytes.size() + 1)); break;
                default: bytes.push_back(static_cast<uint8_t>(random())); break;
            }
        }
        RtxInstance instance;
        uint32_t rtxId = 0;
        uint8_t command = 0;
        uint8_t flushType = 0;
        uint16_t type = 0;
        uint8_t phase = 0;
        RtxRoute read;
        bool removed = false;
        RtxGlobal global;
        RtxDadReport report;
        RtxControlCodec::ReadInstanceList(bytes, instance);
        RtxControlCodec::ReadFlush(bytes, rtxId, command, flushType);
        RtxControlCodec::ReadMarker(bytes, type, phase);
        RtxControlCodec::IsEndMarker(bytes, type);
        if (RtxRouteCodec::Read(bytes, read, removed).empty()) {
            std::vector<uint8_t> again;
            ASSERT_TRUE(removed || RtxRouteCodec::BuildAdd(read, again));
            EXPECT_TRUE(removed || again.size() == bytes.size());
        }
        RtxEntryCodec::ReadGlobal(bytes, global);
        RtxLif readLif;
        if (RtxLifCodec::Read(bytes, readLif, removed).empty() && !removed) {
            std::vector<uint8_t> again;
            ASSERT_TRUE(RtxLifCodec::BuildAdd(readLif, again));
            EXPECT_EQ(again.size(), bytes.size());
        }
        RtxArpTable table;
        RtxTableCodec::ReadArpTable(bytes, table);
        RtxBridgeEndpoint endpoint;
        RtxTableCodec::ReadBridge(bytes, endpoint, removed);
        RtxPrefixList list;
        RtxTableCodec::ReadPrefixList(bytes, list);
        std::vector<RtxNextHop> taken;
        RtxRouteCodec::ReadNextHopUpdate(bytes, read, taken);
        RtxEntryCodec::ReadDadReport(bytes, report);
        EXPECT_LE(RtxDump::Render(bytes).size(), RtxDump::kMaxText);
    }
}

}  // namespace
}  // namespace L3Test
