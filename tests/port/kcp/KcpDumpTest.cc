// The log rendering of whole messages: the lines it must carry, the unknown
// types it must name, and its size limit.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "port/kcp/KcpTestSupport.h"
#include "port/kcp/KcpDump.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpSessionCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpVifUpdateCodec.h"

namespace PortTest {
namespace {

using namespace CfgAgent;

TEST(KcpDumpTest, SessionControlNamesTypeAndSession) {
    EXPECT_EQ(KcpDump::Render(KcpSessionCodec::Build(KCP_SESSION_OPEN, 42)),
              "KCP Message\n"
              "Message type: Session control, len 15\n"
              "\tVIF Session control type: Session Open, sessionID: 42\n"
              "\tMax message length: 10240\n");
}

TEST(KcpDumpTest, VifUpdateShowsEachFieldAndUnknownProperties) {
    KcpVifUpdate update{KCP_OP_UPDATE, {{}}};
    update.records[0].vifId = "vif-1";
    update.records[0].vifType = KCP_VIF_CONTAINER;
    update.records[0].status = KCP_VIF_CONNECT;
    update.records[0].macs = {{0x00, 0x50, 0x56, 0x01, 0x02, 0x03}};
    update.records[0].bindings = {{true, {192, 168, 1, 7}, {}, 12, 2, 99}};
    Bytes message;
    ASSERT_TRUE(KcpVifUpdateCodec::BuildMessage(update, false, message));
    // An unknown property appended to the record, which grows by its 6 bytes.
    const Bytes unknown = Wire().Tlv(99, 2).U16(0).Take();
    message.insert(message.end(), unknown.begin(), unknown.end());
    const auto grow = [&](size_t at, size_t by) {
        const size_t length = (size_t{message[at]} << 8 | message[at + 1]) + by;
        message[at] = static_cast<uint8_t>(length >> 8);
        message[at + 1] = static_cast<uint8_t>(length);
    };
    grow(2, 6);
    grow(7, 6);
    grow(10 + 211, 6);

    const std::string text = KcpDump::Render(message);
    EXPECT_EQ(text.rfind("KCP Message\n", 0), 0u);
    for (const char* line :
         {"\tOperation: UPDATE\n", "\tVIF ID: vif-1\n", "\tVIF type: container\n",
          "\tStatus: CONNECT\n", "\tMAC: 00:50:56:01:02:03\n",
          "IP 192.168.1.7, MAC 00:00:00:00:00:00, VLAN 12",
          "\tVIF Update: unsupported property type 99, len 6\n"}) {
        EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
    }
}

TEST(KcpDumpTest, UnknownTypesAreNamedByNumber) {
    EXPECT_EQ(KcpDump::Render(Wire().U16(9).U16(4).Take()),
              "KCP Message\nUnsupported message type 9, len 4");
    const std::string text = KcpDump::Render(UpdateAround(42, Bytes(3, 0)));
    EXPECT_NE(text.find("\tUpdate: unsupported data type 42, len 7\n"), std::string::npos) << text;
    EXPECT_EQ(KcpDump::Render(Bytes{0, 2}), "KCP Message\n\tTruncated message, 2 bytes\n");
}

TEST(KcpDumpTest, TextStopsQuietlyAtTheLimit) {
    std::vector<std::string> ids;
    for (int i = 0; i < 213; ++i) {
        ids.push_back("port-" + std::to_string(i));
    }
    Bytes message;
    ASSERT_TRUE(KcpIdListCodec::BuildMessage(KCP_PORT_LIST_UPDATE, ids, false, message));
    const std::string text = KcpDump::Render(message);
    EXPECT_EQ(text.size(), KcpDump::kMaxText);
    EXPECT_NE(text.find("\tVIF ID: port-0\n\tVIF ID: port-1\n"), std::string::npos);
    EXPECT_EQ(text.find("port-212"), std::string::npos);
}

}  // namespace
}  // namespace PortTest
