#include "port/SwsecCodec.h"

#include <gtest/gtest.h>

#include "port/BigEndian.h"

namespace PortTest {
namespace {

using namespace CfgAgent;

TEST(SwsecCodec, BindingsMessageLaysOutTextsWithNulAndEntriesOf23Bytes) {
    SwsecBindings bindings;
    bindings.portId = "p1";
    bindings.switchId = "s";
    KcpContainerEntry v4;
    v4.ip = {192, 168, 0, 5};
    v4.mac = {0, 1, 2, 3, 4, 5};
    KcpContainerEntry v6;
    v6.ipv4 = false;
    v6.ip.fill(0xfe);
    bindings.entries = {v4, v6};
    std::vector<uint8_t> message;
    ASSERT_TRUE(SwsecCodec::BuildBindings(bindings, message));

    const std::vector<uint8_t> head = {0, 1, 0, 67,          // type 1, length
                                       0, 1, 0, 7, 'p', '1', 0,  // port ID
                                       0, 2, 0, 6, 's', 0,       // switch ID
                                       0, 3, 0, 50};             // 2 entries
    ASSERT_EQ(message.size(), 67u);
    EXPECT_TRUE(std::equal(head.begin(), head.end(), message.begin()));
    EXPECT_EQ(message[21], 1) << "IPv4 flag";
    EXPECT_EQ(message[22], 192);
    EXPECT_EQ(message[38], 0) << "rest of the address field";
    EXPECT_EQ(message[43], 5) << "last MAC byte";
    EXPECT_EQ(message[44], 0) << "IPv6 flag";
    EXPECT_EQ(message[45], 0xfe);

    SwsecBindings read;
    ASSERT_EQ(SwsecCodec::ReadBindings(message, read), "");
    EXPECT_EQ(read, bindings);
}

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
