#include "port/swsec/SwsecCodec.h"

#include <gtest/gtest.h>

#include "dplink/BigEndian.h"

namespace PortTest {
namespace {

using namespace CfgAgent;

TEST(SwsecCodec, ReaderRefusesWhatIsNotAWholeBindingsMessage) {
    SwsecBindings bindings{"port", "switch", {KcpContainerEntry{}}};
    std::vector<uint8_t> message;
    ASSERT_TRUE(SwsecCodec::BuildBindings(bindings, message));
    SwsecBindings read;
    std::vector<uint8_t> shortEntry = message;
    shortEntry.pop_back();
    BigEndian::Put16(shortEntry.data() + 2, static_cast<uint16_t>(shortEntry.size()));
    EXPECT_NE(SwsecCodec::ReadBindings(shortEntry, read), "");
    std::vector<uint8_t> wrongType = message;
    wrongType[1] = 2;
    EXPECT_NE(SwsecCodec::ReadBindings(wrongType, read), "");
    std::vector<uint8_t> swapped = message;
    swapped[5] = 2;  // the port ID TLV claims to be the switch ID
    EXPECT_EQ(SwsecCodec::ReadBindings(swapped, read), "TLV 2 where the port ID belongs");
    for (size_t cut = 0; cut < message.size(); ++cut) {
        EXPECT_NE(SwsecCodec::ReadBindings({message.data(), cut}, read), "") << cut;
    }
}

TEST(SwsecCodec, SolicitationCarriesTheVifIdAfterTheHead) {
    const std::vector<uint8_t> message = SwsecCodec::BuildSolicitation("vif-9");
    EXPECT_EQ(message, (std::vector<uint8_t>{0, 2, 0, 10, 'v', 'i', 'f', '-', '9', 0}));
    EXPECT_EQ(SwsecCodec::ReadSolicitation(message), "vif-9");
    EXPECT_EQ(SwsecCodec::ReadSolicitation({message.data(), 3}), "");
    // A length that claims more than came is held to what came.
    std::vector<uint8_t> claimsMore = {0, 2, 0, 200, 'a', 'b'};
    EXPECT_EQ(SwsecCodec::ReadSolicitation(claimsMore), "ab");
}

}  // namespace
}  // namespace PortTest
