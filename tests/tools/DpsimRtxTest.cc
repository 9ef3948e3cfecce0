// The router module of the simulator, driven over a real link the way the
// router application will drive it, and from its control socket.

#include <gtest/gtest.h>

#include <functional>

#include "LinkedSimulator.h"
#include "l3/codec/RtxBatch.h"
#include "l3/codec/RtxControlCodec.h"
#include "l3/codec/RtxEntryCodec.h"
#include "l3/codec/RtxLifCodec.h"
#include "l3/codec/RtxRouteCodec.h"

namespace {

using namespace CfgAgent;
using namespace std::chrono_literals;
using Dpsim::JsonPtr;
using zef::test::Item;
using zef::test::Text;
using Message = std::vector<uint8_t>;

constexpr const char* kLink = "zef_rtx_taklink";
constexpr uint32_t kRouter = 7;

RtxRoute Route(uint8_t third, uint8_t hop) {
    RtxRoute route;
    route.rtxId = kRouter;
    route.prefixLength = 24;
    route.destination = {10, 1, third, 0};
    route.nextHops.push_back({1, "lif-1", {192, 168, 0, hop}});
    return route;
}

Message Update(const std::vector<Message>& entries) {
    RtxBatch batch;
    for (const Message& entry : entries) {
        batch.Add(entry);
    }
    Message message;
    EXPECT_TRUE(batch.Flush(message));
    return message;
}

Message RouteAdd(uint8_t third, uint8_t hop) {
    Message entry;
    EXPECT_TRUE(RtxRouteCodec::BuildAdd(Route(third, hop), entry));
    return entry;
}

class DpsimRtxTest : public zef::test::LinkedSimulator {
protected:
    DpsimRtxTest() : LinkedSimulator(":rtx", kLink) {}

    // The routes of the router as "destination>next hop", once `holds` says
    // yes of them or the bound passes.
    std::vector<std::string> RoutesWhen(const std::function<bool(const std::vector<std::string>&)>& holds) {
        std::vector<std::string> routes;
        const auto deadline = std::chrono::steady_clock::now() + kBound;
        do {
            routes.clear();
            JsonPtr tables = Tables();
            const cJSON* router =
                Item(Item(cJSON_GetArrayItem(Item(tables.get(), "links"), 0), "routers"), std::to_string(kRouter).c_str());
            const cJSON* route = nullptr;
            cJSON_ArrayForEach(route, Item(router, "routes")) {
                routes.push_back(Text(route, "destination") + ">" +
                                 cJSON_GetArrayItem(Item(route, "nextHops"), 0)->valuestring);
            }
            if (holds(routes)) {
                break;
            }
            std::this_thread::sleep_for(5ms);
        } while (std::chrono::steady_clock::now() < deadline);
        return routes;
    }
    size_t RefusalCount() {
        size_t count = 0;
        std::ifstream file(_recordPath);
        for (std::string line; std::getline(file, line);) {
            count += line.find("\"dir\":\"in\"") != std::string::npos && line.find("\"error\"") != std::string::npos;
        }
        return count;
    }
};

TEST_F(DpsimRtxTest, AFullSyncRunLeavesWhatWasSentAgainAndRefusalsChangeNothing) {
    OpenLink();
    Send(RtxControlCodec::BuildInstanceList({RTX_INSTANCE_ADD, kRouter, "r1", 1, 3, 5}));
    RtxLif lif;
    lif.rtxId = kRouter;
    lif.name = "lif-1";
    lif.ips.push_back({false, 0xFFFFFF00, {192, 168, 0, 1}});
    Message lifEntry;
    ASSERT_TRUE(RtxLifCodec::BuildAdd(lif, lifEntry));
    Send(Update({lifEntry, RouteAdd(1, 10), RouteAdd(2, 20)}));
    const std::vector<std::string> both{"10.1.1.0/24>192.168.0.10@lif-1", "10.1.2.0/24>192.168.0.20@lif-1"};
    EXPECT_EQ(RoutesWhen([&](const auto& routes) { return routes == both; }), both);

    // A malformed route and one of an unknown router are refused whole: the
    // good route beside them does not land either.
    Message lying = RouteAdd(3, 30);
    lying[12] = 0;
    lying[26] = 2;  // claims two next hops
    Message stranger = RouteAdd(4, 40);
    stranger[7] = 99;
    Send(Update({RouteAdd(5, 50), lying}));
    Send(Update({RouteAdd(6, 60), stranger}));
    const auto deadline = std::chrono::steady_clock::now() + kBound;
    while (RefusalCount() < 2 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(5ms);
    }
    EXPECT_EQ(RefusalCount(), 2u);
    EXPECT_EQ(RoutesWhen([&](const auto& routes) { return routes == both; }), both);

    // The kernel asks for everything; the agent's answer is a full sync run.
    Send(RtxControlCodec::BuildMarker(RTX_MSG_INSTANCE_MARKER, 0));
    Send(RtxControlCodec::BuildInstanceList({RTX_INSTANCE_ADD, kRouter, "r1", 1, 3, 5}));
    Send(RtxControlCodec::BuildFlush(kRouter, RTX_FLUSH_ALL_FIB));
    Send(Update({RouteAdd(1, 11)}));
    Send(RtxControlCodec::BuildEndMarker(RTX_ENTRY_ROUTE));
    Send(RtxControlCodec::BuildMarker(RTX_MSG_INSTANCE_MARKER, 1));
    Send(RtxControlCodec::BuildFullSyncEnd());
    const std::vector<std::string> after{"10.1.1.0/24>192.168.0.11@lif-1"};
    EXPECT_EQ(RoutesWhen([&](const auto& routes) { return routes == after; }), after)
        << "the route not sent again is gone";
    JsonPtr status = Ask("status");
    const cJSON* link = cJSON_GetArrayItem(Item(status.get(), "links"), 0);
    EXPECT_EQ(Item(link, "routes")->valueint, 1);
    EXPECT_EQ(Item(link, "lifs")->valueint, 1) << "a route flush leaves the LIFs";
}

TEST_F(DpsimRtxTest, TheModuleAsksForAFullSyncAndReportsDad) {
    OpenLink();
    EXPECT_TRUE(Ok(Ask(std::string("instance ") + kLink + " sync all")));
    EXPECT_TRUE(Ok(Ask(std::string("dad ") + kLink + " lif-1 fd00::1 3 ver-1")));
    ASSERT_TRUE(_received->WaitForMessages(2));
    const std::vector<Message> sent = _received->Messages();
    uint32_t rtxId = 0;
    uint8_t change = 0;
    EXPECT_EQ(RtxEntryCodec::ReadInstanceReport(std::span<const uint8_t>(sent[0]).subspan(4), rtxId, change), "");
    EXPECT_EQ(rtxId, RTX_ALL_ROUTERS);
    EXPECT_EQ(change, 2);
    RtxDadReport report;
    EXPECT_EQ(RtxEntryCodec::ReadDadReport(std::span<const uint8_t>(sent[1]).subspan(4), report), "");
    EXPECT_EQ(report.lifName, "lif-1");
    EXPECT_EQ(report.status, 3);
    EXPECT_EQ(report.version, "ver-1");
    EXPECT_FALSE(Ok(Ask(std::string("instance ") + kLink + " sync r1")));
}

}  // namespace
