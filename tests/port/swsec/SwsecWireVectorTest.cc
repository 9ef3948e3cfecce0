// The switch security link's tools bindings message against bytes written
// out by hand from its layout, never by the builder.

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "port/swsec/SwsecCodec.h"

namespace PortTest {
namespace {

using namespace CfgAgent;

using Bytes = std::vector<uint8_t>;

TEST(SwsecWireVectorTest, ToolsBindingsWithAndWithoutEntries) {
    // clang-format off
    const Bytes two{
        // message type 1 (tools bindings), length 68
        0, 0x01, 0, 0x44,
        // port ID TLV 1, length 7: "p1" and NUL
        0, 0x01, 0, 0x07, 'p', '1', 0,
        // switch ID TLV 2, length 7: "sw" and NUL
        0, 0x02, 0, 0x07, 's', 'w', 0,
        // entries TLV 3, length 50: two 23-byte entries
        0, 0x03, 0, 0x32,
        // entry 1: 1 for IPv4
        0x01,
        // IP 192.168.0.5, 16 bytes
        0xc0, 0xa8, 0, 0x05, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // MAC
        0, 0x50, 0x56, 0x01, 0x02, 0x03,
        // entry 2: 0 for IPv6
        0,
        // IP fe80::1, 16 bytes
        0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01,
        // MAC
        0x02, 0, 0, 0xaa, 0xbb, 0xcc,
    };
    const Bytes none{
        // message type 1 (tools bindings), length 22
        0, 0x01, 0, 0x16,
        // port ID TLV 1, length 7: "p1" and NUL
        0, 0x01, 0, 0x07, 'p', '1', 0,
        // switch ID TLV 2, length 7: "sw" and NUL
        0, 0x02, 0, 0x07, 's', 'w', 0,
        // entries TLV 3, length 4: no entries
        0, 0x03, 0, 0x04,
    };
    // clang-format on
    const KcpContainerEntry v4{true, {192, 168, 0, 5}, {0x00, 0x50, 0x56, 0x01, 0x02, 0x03}};
    const KcpContainerEntry v6{false,
                               {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01},
                               {0x02, 0x00, 0x00, 0xaa, 0xbb, 0xcc}};
    struct Case {
        SwsecBindings bindings;
        const Bytes& wire;
    };
    const Case cases[] = {
        {{"p1", "sw", {v4, v6}}, two},
        {{"p1", "sw", {}}, none},
    };
    for (const Case& c : cases) {
        Bytes built;
        ASSERT_TRUE(SwsecCodec::BuildBindings(c.bindings, built));
        EXPECT_EQ(built, c.wire) << c.wire.size();
        SwsecBindings read;
        EXPECT_EQ(SwsecCodec::ReadBindings(c.wire, read), "") << c.wire.size();
        EXPECT_EQ(read, c.bindings);
    }
}

}  // namespace
}  // namespace PortTest
