// Every KCP message type against bytes written out by hand from its layout,
// never by a builder: a fault that the builder and the reader share would
// cancel out in a round trip, but not here.

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "port/kcp/KcpTestSupport.h"
#include "port/kcp/KcpContainerUpdateCodec.h"
#include "port/kcp/KcpHdsUpdateCodec.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpInitCodec.h"
#include "port/kcp/KcpNotificationCodec.h"
#include "port/kcp/KcpPortContainerListCodec.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpSessionCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "port/kcp/KcpUplinkUpdateCodec.h"
#include "port/kcp/KcpVifUpdateCodec.h"

namespace PortTest {
namespace {

using namespace CfgAgent;

const KcpMac kMacA{0x00, 0x50, 0x56, 0x01, 0x02, 0x03};
const KcpMac kMacB{0x02, 0x00, 0x00, 0xaa, 0xbb, 0xcc};
const KcpIp kIpv4{10, 0, 0, 1};
const KcpIp kIpv6{0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

// The timestamp of a discovered binding is the one number the wire keeps in
// host order, so the same bytes mean a different number on another host.
uint64_t HostOrderStamp(uint8_t first) {
    uint64_t stamp = 0;
    for (int i = 0; i < 8; ++i) {
        const int shift = std::endian::native == std::endian::little ? 8 * i : 8 * (7 - i);
        stamp |= uint64_t{static_cast<uint8_t>(first + i)} << shift;
    }
    return stamp;
}

// The one data TLV of an Update, found the way the agent walks a message.
KcpData OnlyData(const Bytes& message, bool more) {
    KcpUpdate update;
    EXPECT_TRUE(KcpUpdateCodec::Read(message, update));
    EXPECT_EQ(update.more, more);
    EXPECT_EQ(update.data.size(), 1u);
    return update.data.empty() ? KcpData{} : update.data.front();
}

TEST(KcpWireVectorTest, SessionControlOtherThanOpenCarriesZeroMaxLength) {
    // clang-format off
    const Bytes ack{
        // message type 5 (Session control), length 15
        0, 0x05, 0, 0x0f,
        // data type 1 (VIF Session control), length 11
        0, 0x01, 0, 0x0b,
        // control type 2, session ID 0x0a0b0c0d, max message length 0
        0x02, 0x0a, 0x0b, 0x0c, 0x0d, 0, 0,
    };
    const Bytes fullSyncEnd{
        // message type 5 (Session control), length 15
        0, 0x05, 0, 0x0f,
        // data type 1 (VIF Session control), length 11
        0, 0x01, 0, 0x0b,
        // control type 3, session ID 0x0a0b0c0d, max message length 0
        0x03, 0x0a, 0x0b, 0x0c, 0x0d, 0, 0,
    };
    const Bytes close{
        // message type 5 (Session control), length 15
        0, 0x05, 0, 0x0f,
        // data type 1 (VIF Session control), length 11
        0, 0x01, 0, 0x0b,
        // control type 4, session ID 0x0a0b0c0d, max message length 0
        0x04, 0x0a, 0x0b, 0x0c, 0x0d, 0, 0,
    };
    // clang-format on
    struct Case {
        uint8_t type;
        const Bytes& wire;
    };
    for (const Case& c :
         {Case{KCP_SESSION_OPEN_ACK, ack}, Case{KCP_SESSION_FULL_SYNC_END, fullSyncEnd},
          Case{KCP_SESSION_CLOSE, close}}) {
        EXPECT_EQ(KcpSessionCodec::Build(c.type, 0x0a0b0c0d), c.wire) << int(c.type);
        KcpSessionControl control;
        ASSERT_TRUE(KcpSessionCodec::Read(c.wire, control)) << int(c.type);
        EXPECT_EQ(control, (KcpSessionControl{c.type, 0x0a0b0c0d, 0}));
    }
}

TEST(KcpWireVectorTest, InitWithMaxMessageLength) {
    // clang-format off
    const Bytes wire{
        // message type 1 (Init), length 10
        0, 0x01, 0, 0x0a,
        // data type 1 (Max message length), length 6, value 10240
        0, 0x01, 0, 0x06, 0x28, 0,
    };
    // clang-format on
    Bytes built;
    ASSERT_TRUE(KcpInitCodec::Build(KcpInit{10240}, built));
    EXPECT_EQ(built, wire);
    KcpInit read;
    ASSERT_TRUE(KcpInitCodec::Read(wire, read));
    EXPECT_EQ(read, KcpInit{10240});
}

TEST(KcpWireVectorTest, NotificationOfEveryType) {
    // clang-format off
    const Bytes wire{
        // message type 3 (Notification), length 135
        0, 0x03, 0, 0x87,
        // DP Status, length 5: OutOfSync
        0, 0x01, 0, 0x05, 0x01,
        // Port Property OutOfSync, length 52
        0, 0x02, 0, 0x34,
        // VIF ID "vif-a", 48 bytes
        'v', 'i', 'f', '-', 'a', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // Taknic Property OutOfSync, length 20
        0, 0x03, 0, 0x14,
        // taknic name "tn0", 16 bytes
        't', 'n', '0', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // Port container fullSync, length 54
        0, 0x04, 0, 0x36,
        // VIF ID "vif-b", 48 bytes
        'v', 'i', 'f', '-', 'b', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // sync type 2 (port container list)
        0, 0x02,
    };
    // clang-format on
    const std::vector<KcpNotification> notifications{
        {KCP_NOTIFY_DP_STATUS, KCP_DP_OUT_OF_SYNC, "", 0},
        {KCP_NOTIFY_PORT_PROPERTY_OUT_OF_SYNC, 0, "vif-a", 0},
        {KCP_NOTIFY_TAKNIC_PROPERTY_OUT_OF_SYNC, 0, "tn0", 0},
        {KCP_NOTIFY_PORT_CONTAINER_FULL_SYNC, 0, "vif-b", KCP_SYNC_PORT_CONTAINER_LIST},
    };
    Bytes built;
    ASSERT_TRUE(KcpNotificationCodec::Build(notifications, built));
    EXPECT_EQ(built, wire);
    std::vector<KcpNotification> read;
    ASSERT_TRUE(KcpNotificationCodec::Read(wire, read));
    EXPECT_EQ(read, notifications);
}

TEST(KcpWireVectorTest, VifUpdateOfAVnicAndAContainer) {
    // clang-format off
    const Bytes wire{
        // message type 2 (Update), length 533, flag byte: more
        0, 0x02, 0x02, 0x15, 0x80,
        // data type 1 (VIF Update), length 528
        0, 0x01, 0x02, 0x10,
        // operation 1 (UPDATE)
        0x01,
        // record 1: VIF ID "vif-1", 48 bytes
        'v', 'i', 'f', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // port ID "p-1", 48 bytes
        'p', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // switch ID "sw-1", 64 bytes
        's', 'w', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // parent VIF ID, empty, 48 bytes
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // VIF type 1 (VNIC), SmartNic 1, hotmove 0, record length 272
        0x01, 0x01, 0, 0x01, 0x10,
        // Status, length 5: CONNECT
        0, 0x01, 0, 0x05, 0x01,
        // MAC, length 16: two MACs
        0, 0x02, 0, 0x10, 0, 0x50, 0x56, 0x01, 0x02, 0x03, 0x02, 0, 0, 0xaa, 0xbb, 0xcc,
        // Discovered Bindings, length 38
        0, 0x03, 0, 0x26,
        // address family 1 (IPv4)
        0x01,
        // IP 10.0.0.1, 16 bytes
        0x0a, 0, 0, 0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // MAC, VLAN 0x0123, method 8
        0, 0x50, 0x56, 0x01, 0x02, 0x03, 0x01, 0x23, 0x08,
        // timestamp, host order
        0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18,
        // record 2: VIF ID "cif-1", 48 bytes
        'c', 'i', 'f', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // port ID "p-2", 48 bytes
        'p', '-', '2', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // switch ID "sw-1", 64 bytes
        's', 'w', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // parent VIF ID "vif-1", 48 bytes
        'v', 'i', 'f', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // VIF type 3 (container), SmartNic 0, hotmove 1, record length 251
        0x03, 0, 0x01, 0, 0xfb,
        // Discovered Bindings, length 38
        0, 0x03, 0, 0x26,
        // address family 0 (IPv6)
        0,
        // IP fe80::1, 16 bytes
        0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01,
        // MAC, VLAN 7, method 64
        0x02, 0, 0, 0xaa, 0xbb, 0xcc, 0, 0x07, 0x40,
        // timestamp, host order
        0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28,
    };
    // clang-format on
    const KcpVifRecord vnic{.vifId = "vif-1",
                            .portId = "p-1",
                            .switchId = "sw-1",
                            .parentVifId = "",
                            .vifType = KCP_VIF_VNIC,
                            .smartNic = 1,
                            .hotmove = 0,
                            .status = KCP_VIF_CONNECT,
                            .macs = {kMacA, kMacB},
                            .bindings = {{true, kIpv4, kMacA, 0x0123, 8, HostOrderStamp(0x11)}}};
    const KcpVifRecord container{.vifId = "cif-1",
                                 .portId = "p-2",
                                 .switchId = "sw-1",
                                 .parentVifId = "vif-1",
                                 .vifType = KCP_VIF_CONTAINER,
                                 .smartNic = 0,
                                 .hotmove = 1,
                                 .status = std::nullopt,
                                 .macs = {},
                                 .bindings = {{false, kIpv6, kMacB, 7, 64, HostOrderStamp(0x21)}}};
    const KcpVifUpdate update{KCP_OP_UPDATE, {vnic, container}};

    Bytes built;
    ASSERT_TRUE(KcpVifUpdateCodec::BuildMessage(update, true, built));
    EXPECT_EQ(built, wire);
    const KcpData data = OnlyData(wire, true);
    EXPECT_EQ(data.type, KCP_VIF_UPDATE);
    KcpVifUpdate read;
    ASSERT_TRUE(KcpVifUpdateCodec::Decode(data.value, read));
    EXPECT_EQ(read, update);
}

TEST(KcpWireVectorTest, UplinkUpdateOfTwoRecords) {
    // clang-format off
    const Bytes wire{
        // message type 2 (Update), length 436, flag byte: no more
        0, 0x02, 0x01, 0xb4, 0,
        // data type 11 (Uplink Update), length 431
        0, 0x0b, 0x01, 0xaf,
        // operation 2 (DELETE)
        0x02,
        // record 1: uplink port ID "up-1", 48 bytes
        'u', 'p', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // switch ID "sw-1", 64 bytes
        's', 'w', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // client name "cl-1", 20 bytes
        'c', 'l', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0,
        // alias "al-1", 81 bytes
        'a', 'l', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0,
        // record 2: uplink port ID "up-2", 48 bytes
        'u', 'p', '-', '2', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // switch ID "sw-2", 64 bytes
        's', 'w', '-', '2', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // client name "cl-2", 20 bytes
        'c', 'l', '-', '2', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0,
        // alias "al-2", 81 bytes
        'a', 'l', '-', '2', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0,
    };
    // clang-format on
    const KcpUplinkUpdate update{
        KCP_OP_DELETE, {{"up-1", "sw-1", "cl-1", "al-1"}, {"up-2", "sw-2", "cl-2", "al-2"}}};
    Bytes built;
    ASSERT_TRUE(KcpUplinkUpdateCodec::BuildMessage(update, false, built));
    EXPECT_EQ(built, wire);
    const KcpData data = OnlyData(wire, false);
    EXPECT_EQ(data.type, KCP_UPLINK_UPDATE);
    KcpUplinkUpdate read;
    ASSERT_TRUE(KcpUplinkUpdateCodec::Decode(data.value, read));
    EXPECT_EQ(read, update);
}

TEST(KcpWireVectorTest, PortAndTaknicPropertyUpdates) {
    // clang-format off
    const Bytes portWire{
        // message type 2 (Update), length 121, flag byte: no more
        0, 0x02, 0, 0x79, 0,
        // data type 2 (Port Property Update), length 116
        0, 0x02, 0, 0x74,
        // operation 1 (UPDATE)
        0x01,
        // record 1: VIF ID "vif-1", 48 bytes
        'v', 'i', 'f', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // record length 61
        0, 0x3d,
        // property 7, length 7: "on" and NUL
        0, 0x07, 0, 0x07, 'o', 'n', 0,
        // property 9, length 4: empty, the key goes
        0, 0x09, 0, 0x04,
        // record 2: VIF ID "vif-2", 48 bytes
        'v', 'i', 'f', '-', '2', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // record length 50: no properties
        0, 0x32,
    };
    // clang-format on
    const KcpPropertyUpdate ports{KCP_OP_UPDATE,
                                  {{"vif-1", {{7, {'o', 'n', 0}}, {9, {}}}}, {"vif-2", {}}}};
    // clang-format off
    const Bytes taknicWire{
        // message type 2 (Update), length 34, flag byte: more
        0, 0x02, 0, 0x22, 0x80,
        // data type 4 (Taknic Property Update), length 29
        0, 0x04, 0, 0x1d,
        // operation 3 (FULL SYNC)
        0x03,
        // taknic name "tn0", 16 bytes
        't', 'n', '0', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // record length 24
        0, 0x18,
        // property 3, length 6
        0, 0x03, 0, 0x06, 0x01, 0x02,
    };
    // clang-format on
    const KcpPropertyUpdate taknics{KCP_OP_FULL_SYNC, {{"tn0", {{3, {1, 2}}}}}};

    struct Case {
        uint16_t type;
        const KcpPropertyUpdate& update;
        bool more;
        const Bytes& wire;
    };
    for (const Case& c : {Case{KCP_PORT_PROPERTY_UPDATE, ports, false, portWire},
                          Case{KCP_TAKNIC_PROPERTY_UPDATE, taknics, true, taknicWire}}) {
        Bytes built;
        ASSERT_TRUE(KcpPropertyUpdateCodec::BuildMessage(c.type, c.update, c.more, built));
        EXPECT_EQ(built, c.wire) << c.type;
        const KcpData data = OnlyData(c.wire, c.more);
        EXPECT_EQ(data.type, c.type);
        KcpPropertyUpdate read;
        ASSERT_TRUE(KcpPropertyUpdateCodec::Decode(c.type, data.value, read));
        EXPECT_EQ(read, c.update);
    }
}

TEST(KcpWireVectorTest, HdsPropertyUpdate) {
    // clang-format off
    const Bytes wire{
        // message type 2 (Update), length 83, flag byte: no more
        0, 0x02, 0, 0x53, 0,
        // data type 6 (HDS Property Update), length 78
        0, 0x06, 0, 0x4e,
        // HDS ID "hds-1", 64 bytes
        'h', 'd', 's', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // operation 2 (DELETE), length 74
        0x02, 0, 0x4a,
        // property 5, length 7
        0, 0x05, 0, 0x07, 0x5a, 0x5b, 0x5c,
    };
    // clang-format on
    const std::vector<KcpHdsRecord> records{{"hds-1", KCP_OP_DELETE, {{5, {0x5a, 0x5b, 0x5c}}}}};
    Bytes built;
    ASSERT_TRUE(KcpHdsUpdateCodec::BuildMessage(records, false, built));
    EXPECT_EQ(built, wire);
    const KcpData data = OnlyData(wire, false);
    EXPECT_EQ(data.type, KCP_HDS_PROPERTY_UPDATE);
    std::vector<KcpHdsRecord> read;
    ASSERT_TRUE(KcpHdsUpdateCodec::Decode(data.value, read));
    EXPECT_EQ(read, records);
}

TEST(KcpWireVectorTest, IdLists) {
    // clang-format off
    const Bytes portList{
        // message type 2 (Update), length 105, flag byte: no more
        0, 0x02, 0, 0x69, 0,
        // data type 3 (PortList Update), length 100
        0, 0x03, 0, 0x64,
        // VIF ID "vif-1", 48 bytes
        'v', 'i', 'f', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // VIF ID "vif-2", 48 bytes
        'v', 'i', 'f', '-', '2', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    };
    const Bytes taknicList{
        // message type 2 (Update), length 41, flag byte: no more
        0, 0x02, 0, 0x29, 0,
        // data type 5 (TaknicList Update), length 36
        0, 0x05, 0, 0x24,
        // taknic name "tn0", 16 bytes
        't', 'n', '0', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // taknic name "tn1", 16 bytes
        't', 'n', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    };
    const Bytes containerList{
        // message type 2 (Update), length 57, flag byte: no more
        0, 0x02, 0, 0x39, 0,
        // data type 8 (ContainerList Update), length 52
        0, 0x08, 0, 0x34,
        // CIF VIF ID "cif-1", 48 bytes
        'c', 'i', 'f', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    };
    const Bytes hdsList{
        // message type 2 (Update), length 73, flag byte: more
        0, 0x02, 0, 0x49, 0x80,
        // data type 10 (HDS List Update), length 68
        0, 0x0a, 0, 0x44,
        // HDS ID "hds-1", 64 bytes
        'h', 'd', 's', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    };
    // clang-format on
    struct Case {
        uint16_t type;
        std::vector<std::string> ids;
        bool more;
        const Bytes& wire;
    };
    const Case cases[] = {
        {KCP_PORT_LIST_UPDATE, {"vif-1", "vif-2"}, false, portList},
        {KCP_TAKNIC_LIST_UPDATE, {"tn0", "tn1"}, false, taknicList},
        {KCP_CONTAINER_LIST_UPDATE, {"cif-1"}, false, containerList},
        {KCP_HDS_LIST_UPDATE, {"hds-1"}, true, hdsList},
    };
    for (const Case& c : cases) {
        Bytes built;
        ASSERT_TRUE(KcpIdListCodec::BuildMessage(c.type, c.ids, c.more, built));
        EXPECT_EQ(built, c.wire) << c.type;
        const KcpData data = OnlyData(c.wire, c.more);
        EXPECT_EQ(data.type, c.type);
        std::vector<std::string> read;
        ASSERT_TRUE(KcpIdListCodec::Decode(c.type, data.value, read));
        EXPECT_EQ(read, c.ids);
    }
}

TEST(KcpWireVectorTest, PortContainerList) {
    // clang-format off
    const Bytes wire{
        // message type 2 (Update), length 153, flag byte: no more
        0, 0x02, 0, 0x99, 0,
        // data type 9 (Port ContainerList Update), length 148
        0, 0x09, 0, 0x94,
        // port's VIF ID "vif-p", 48 bytes
        'v', 'i', 'f', '-', 'p', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // container VIF ID "c-1", 48 bytes
        'c', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // container VIF ID "c-2", 48 bytes
        'c', '-', '2', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    };
    // clang-format on
    const KcpPortContainerList list{"vif-p", {"c-1", "c-2"}};
    Bytes built;
    ASSERT_TRUE(KcpPortContainerListCodec::BuildMessage(list, false, built));
    EXPECT_EQ(built, wire);
    const KcpData data = OnlyData(wire, false);
    EXPECT_EQ(data.type, KCP_PORT_CONTAINER_LIST_UPDATE);
    KcpPortContainerList read;
    ASSERT_TRUE(KcpPortContainerListCodec::Decode(data.value, read));
    EXPECT_EQ(read, list);
}

TEST(KcpWireVectorTest, ContainerUpdateWithAndWithoutEntries) {
    // clang-format off
    const Bytes wire{
        // message type 2 (Update), length 459, flag byte: no more
        0, 0x02, 0x01, 0xcb, 0,
        // data type 7 (Container Update), length 454
        0, 0x07, 0x01, 0xc6,
        // record 1: CIF ID "cif-1", 48 bytes
        'c', 'i', 'f', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // port ID "p-1", 48 bytes
        'p', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // VM port ID "vmp-1", 48 bytes
        'v', 'm', 'p', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // VM VIF ID "vif-1", 48 bytes
        'v', 'i', 'f', '-', '1', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // VLAN 0x0123, MAC, 2 entries
        0x01, 0x23, 0, 0x50, 0x56, 0x01, 0x02, 0x03, 0, 0x02,
        // entry 1: address family 1 (IPv4)
        0x01,
        // IP 10.0.0.1, 16 bytes
        0x0a, 0, 0, 0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // MAC
        0x02, 0, 0, 0xaa, 0xbb, 0xcc,
        // entry 2: address family 0 (IPv6)
        0,
        // IP fe80::1, 16 bytes
        0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01,
        // MAC
        0, 0x50, 0x56, 0x01, 0x02, 0x03,
        // record 2: CIF ID "cif-2", 48 bytes
        'c', 'i', 'f', '-', '2', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // port ID "p-2", 48 bytes
        'p', '-', '2', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // VM port ID, empty, 48 bytes
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // VM VIF ID, empty, 48 bytes
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
        // VLAN 0, MAC, no entries
        0, 0, 0x02, 0, 0, 0xaa, 0xbb, 0xcc, 0, 0,
    };
    // clang-format on
    const std::vector<KcpContainerRecord> records{
        {"cif-1",
         "p-1",
         "vmp-1",
         "vif-1",
         0x0123,
         kMacA,
         {{true, kIpv4, kMacB}, {false, kIpv6, kMacA}}},
        {"cif-2", "p-2", "", "", 0, kMacB, {}},
    };
    Bytes built;
    ASSERT_TRUE(KcpContainerUpdateCodec::BuildMessage(records, false, built));
    EXPECT_EQ(built, wire);
    const KcpData data = OnlyData(wire, false);
    EXPECT_EQ(data.type, KCP_CONTAINER_UPDATE);
    std::vector<KcpContainerRecord> read;
    ASSERT_TRUE(KcpContainerUpdateCodec::Decode(data.value, read));
    EXPECT_EQ(read, records);
}

}  // namespace
}  // namespace PortTest
