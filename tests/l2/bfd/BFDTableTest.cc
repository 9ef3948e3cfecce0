#include "l2/bfd/BFDTable.h"

#include <gtest/gtest.h>

#include "log/LogLevel.h"

namespace L2Test {
namespace {

using namespace CfgAgent;

BfdTep Tep(uint8_t last, uint32_t label, bool ipv6 = false) {
    BfdTep tep;
    tep.ipv6 = ipv6;
    tep.ip = {10, 0, 0, last};
    tep.label = label;
    return tep;
}

class BFDTableTest : public ::testing::Test {
protected:
    void SetUp() override { _console = LogLevel::console.exchange(0); }
    void TearDown() override { LogLevel::console.store(_console); }

    int _console = 0;
    BFDTable _table;
};

TEST_F(BFDTableTest, TwoSwitchesOfOneDomainMakeOneSessionThatGoesWithTheLast) {
    const BFDSessionRecord pair{Tep(1, 11), Tep(2, 21), 0};
    const BFDSessionIDs first{"ls-1", "rd-1", BFDSessionIDs::ROUTING_DOMAIN};
    const BFDSessionIDs second{"ls-2", "rd-1", BFDSessionIDs::ROUTING_DOMAIN};
    EXPECT_TRUE(_table.Add(pair, first));
    EXPECT_FALSE(_table.Add(pair, second)) << "the kernel already runs it";
    EXPECT_FALSE(_table.Add(pair, second)) << "a reason twice is refused";
    EXPECT_FALSE(_table.Delete(pair, first));
    EXPECT_EQ(_table.Entries().size(), 1u);
    EXPECT_TRUE(_table.Delete(pair, second));
    EXPECT_TRUE(_table.Entries().empty());
    EXPECT_FALSE(_table.Delete(pair, second)) << "an unknown reason";
}

TEST_F(BFDTableTest, EntriesThatDifferInLabelsKeepTheKernelsSessionOfTheirRemoteId) {
    const BFDSessionIDs ids{"ls-1", "ls-1", BFDSessionIDs::LOGICAL_SWITCH};
    EXPECT_TRUE(_table.Add({Tep(1, 11), Tep(2, 21), 0}, ids));
    EXPECT_TRUE(_table.Add({Tep(1, 12), Tep(2, 21), 0}, ids)) << "another entry of the same addresses";
    EXPECT_EQ(_table.Entries().size(), 2u);
    EXPECT_FALSE(_table.Delete({Tep(1, 11), Tep(2, 21), 0}, ids));
    EXPECT_TRUE(_table.Delete({Tep(1, 12), Tep(2, 21), 0}, ids));
}

TEST_F(BFDTableTest, MixedFamiliesMakeNoSessionAndGroupSessionsAreSentAgain) {
    const BFDSessionIDs ids{"ls-1", "ls-1", BFDSessionIDs::LOGICAL_SWITCH};
    EXPECT_FALSE(_table.Add({Tep(1, 11), Tep(2, 21, true), 0}, ids));
    EXPECT_TRUE(_table.Entries().empty());

    const BFDSessionRecord grouped{Tep(1, 11), Tep(3, 31), 0x40001};
    EXPECT_TRUE(_table.Add(grouped, ids));
    EXPECT_TRUE(_table.Add(grouped, ids)) << "a group's session is sent again";
    EXPECT_EQ(_table.Entries().begin()->second.remoteIDs.at("ls-1").localIDs.size(), 1u);

    const BFDSessionIDs evpn{"ls-1", "7", BFDSessionIDs::VTEP_GROUP};
    EXPECT_TRUE(_table.Add({Tep(1, 11), Tep(3, 31), 0}, evpn)) << "an EVPN session is another entry";
    EXPECT_EQ(_table.Entries().size(), 2u);
}

}  // namespace
}  // namespace L2Test
