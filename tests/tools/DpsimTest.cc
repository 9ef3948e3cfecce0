#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ControlServer.h"
#include "JsonPtr.h"
#include "KcpProtocol.h"
#include "RecordReplay.h"
#include "ReceivedMessages.h"
#include "Simulator.h"
#include "port/swsec/SwsecCodec.h"
#include "host/HostPaths.h"
#include "frame/WorkGroup.h"
#include "log/LogLevel.h"
#include "dplink/DataplaneTaklink.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpNotificationCodec.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpQueryCodec.h"
#include "port/kcp/KcpSessionCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "port/kcp/KcpUplinkUpdateCodec.h"
#include "port/kcp/KcpVifUpdateCodec.h"
#include "zef/RefPtr.h"
#include "zef/metrics/MetricsRegistry.h"

namespace {

using namespace std::chrono_literals;
using CfgAgent::DataplaneLink;
using CfgAgent::DataplaneTaklink;
using Message = std::vector<uint8_t>;
using Dpsim::JsonPtr;

constexpr auto kBound = 20s;
// Above the range of a signed 32-bit number, so a lossy record shows.
constexpr uint32_t kSession = 0x9E3779B1;

using Received = zef::test::ReceivedMessages;

bool SendCopy(DataplaneLink& link, const Message& message) {
    auto* block = static_cast<unsigned char*>(std::malloc(message.size()));
    std::memcpy(block, message.data(), message.size());
    return link.send(block, static_cast<int>(message.size()));
}

std::string Text(const cJSON* object, const char* key) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(object, key);
    return cJSON_IsString(item) ? item->valuestring : "<absent>";
}

double Number(const cJSON* object, const char* key) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(object, key);
    return cJSON_IsNumber(item) ? item->valuedouble : -1;
}

const cJSON* Fields(const JsonPtr& line) {
    return cJSON_GetObjectItemCaseSensitive(line.get(), "fields");
}

class DpsimTest : public ::testing::Test {
protected:
    void SetUp() override {
        _savedConsole = CfgAgent::LogLevel::console.exchange(0);
        char root[] = "/tmp/dpsimXXXXXX";
        ASSERT_NE(mkdtemp(root), nullptr);
        _root = root;
        _recordPath = _root + "/record.jsonl";
        setenv(CfgAgent::HostPaths::kRootVariable, _root.c_str(), 1);
        CfgAgent::WorkGroup::SetThreadCounts({1, 8});
        CfgAgent::WorkGroup::Start(_registry);
        _simulator = std::make_unique<Dpsim::Simulator>(
            std::vector<std::string>{kLink, std::string(":") + kSwsec}, _recordPath);
        std::string error;
        ASSERT_TRUE(_simulator->Start(error)) << error;
        _controlPath = _root + "/control";
        _control = std::make_unique<Dpsim::ControlServer>(_controlPath, *_simulator);
        ASSERT_TRUE(_control->Start(error)) << error;
    }

    void TearDown() override {
        for (auto* link : {&_link, &_otherLink}) {
            if (*link) {
                (*link)->stop();
                link->reset();
            }
        }
        CfgAgent::WorkGroup::Stop();
        _late.reset();
        _control.reset();
        _simulator.reset();
        unsetenv(CfgAgent::HostPaths::kRootVariable);
        std::error_code ignored;
        std::filesystem::remove_all(_root, ignored);
        CfgAgent::LogLevel::console.store(_savedConsole);
    }

    static zef::RefPtr<DataplaneLink> MakeLink(const std::string& name,
                                               const std::shared_ptr<Received>& received) {
        auto link = zef::MakeRef<DataplaneTaklink>(
            name,
            [received](const unsigned char* data, int length) { received->OnData(data, length); },
            [received](DataplaneLink*, DataplaneLink::LinkStatus status) {
                received->OnStatus(status);
            },
            nullptr, 10240);
        return zef::RefPtr<DataplaneLink>(link.get());
    }

    void OpenLink() { OpenLink(_link, kLink, _received, 0); }

    void OpenLink(zef::RefPtr<DataplaneLink>& link, const std::string& name,
                  const std::shared_ptr<Received>& received, int index) {
        link = MakeLink(name, received);
        ASSERT_TRUE(link->open());
        ASSERT_TRUE(received->WaitUp());
        // The link is up once it connected; the simulator takes the
        // connection on its own thread a moment later.
        ASSERT_TRUE(SimulatorSeesAgent(index));
    }

    bool SimulatorSeesAgent(int index = 0) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline) {
            JsonPtr status = Ask("status");
            const cJSON* links = cJSON_GetObjectItemCaseSensitive(status.get(), "links");
            const cJSON* link = cJSON_GetArrayItem(links, index);
            if (cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(link, "connected"))) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return false;
    }

    // Every line must parse; a line that does not fails the test.
    std::vector<JsonPtr> Lines() {
        std::vector<JsonPtr> lines;
        std::ifstream file(_recordPath);
        std::string text;
        while (std::getline(file, text)) {
            JsonPtr line(cJSON_Parse(text.c_str()));
            EXPECT_NE(line, nullptr) << text;
            if (line) {
                lines.push_back(std::move(line));
            }
        }
        return lines;
    }

    std::vector<JsonPtr> WaitForLines(size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + kBound;
        std::vector<JsonPtr> lines = Lines();
        while (lines.size() < count && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(20ms);
            lines = Lines();
        }
        return lines;
    }

    JsonPtr Ask(const std::string& command) {
        std::string answer;
        std::string error;
        EXPECT_TRUE(Dpsim::ControlServer::Request(_controlPath, command, answer, error)) << error;
        JsonPtr json(cJSON_Parse(answer.c_str()));
        EXPECT_NE(json, nullptr) << answer;
        return json;
    }

    static bool Ok(const JsonPtr& answer) {
        return cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(answer.get(), "ok"));
    }

    static constexpr const char* kLink = "kcp_taklink";
    static constexpr const char* kSwsec = "swsec";
    static constexpr const char* kSwsecLink = "swsec_taklink";
    std::string _root;
    std::string _controlPath;
    std::unique_ptr<Dpsim::ControlServer> _control;
    std::string _recordPath;
    std::shared_ptr<Received> _received = std::make_shared<Received>();
    zef::RefPtr<DataplaneLink> _link;
    zef::RefPtr<DataplaneLink> _otherLink;
    std::unique_ptr<Dpsim::Simulator> _simulator;
    // A second simulator, started late by a test.
    std::unique_ptr<Dpsim::Simulator> _late;

private:
    int _savedConsole = 0;
    zef::metrics::MetricsRegistry _registry;
};

TEST_F(DpsimTest, SessionOpenIsAnsweredWithAckThenFullSyncEndAndRecorded) {
    OpenLink();
    const Message open = CfgAgent::KcpSessionCodec::Build(CfgAgent::KCP_SESSION_OPEN, kSession);
    ASSERT_TRUE(SendCopy(*_link, open));
    ASSERT_TRUE(_received->WaitForMessages(2));

    const std::vector<Message> answers = _received->Messages();
    ASSERT_EQ(answers.size(), 2u);
    CfgAgent::KcpSessionControl ack;
    CfgAgent::KcpSessionControl end;
    ASSERT_TRUE(CfgAgent::KcpSessionCodec::Read(answers[0], ack));
    ASSERT_TRUE(CfgAgent::KcpSessionCodec::Read(answers[1], end));
    EXPECT_EQ(ack.controlType, CfgAgent::KCP_SESSION_OPEN_ACK);
    EXPECT_EQ(end.controlType, CfgAgent::KCP_SESSION_FULL_SYNC_END);
    EXPECT_EQ(ack.sessionId, kSession);
    EXPECT_EQ(end.sessionId, kSession);

    const std::vector<JsonPtr> lines = WaitForLines(3);
    ASSERT_EQ(lines.size(), 3u);
    const char* dirs[] = {"in", "out", "out"};
    const char* controls[] = {"Session Open", "Session Open ACK", "Session Full Sync End"};
    const Message* bytes[] = {&open, &answers[0], &answers[1]};
    for (size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(Text(lines[i].get(), "link"), kLink);
        EXPECT_EQ(Text(lines[i].get(), "dir"), dirs[i]);
        EXPECT_EQ(Text(lines[i].get(), "type"), "Session control");
        EXPECT_EQ(Text(Fields(lines[i]), "control"), controls[i]);
        EXPECT_EQ(Number(Fields(lines[i]), "sessionId"), static_cast<double>(kSession));
        EXPECT_EQ(Text(lines[i].get(), "hex"), Dpsim::RecordFile::Hex(*bytes[i]));
        EXPECT_NE(Text(lines[i].get(), "dump").find("sessionID: " + std::to_string(kSession)),
                  std::string::npos);
        EXPECT_EQ(cJSON_GetObjectItemCaseSensitive(lines[i].get(), "error"), nullptr);
        const std::string time = Text(lines[i].get(), "time");
        EXPECT_EQ(time.size(), 24u) << time;
        EXPECT_EQ(time.back(), 'Z') << time;
    }
    EXPECT_EQ(Number(Fields(lines[0]), "maxMessageLength"), CfgAgent::KCP_SESSION_MAX_MSG_LEN);
}

TEST_F(DpsimTest, StatusQueryIsAnsweredWithSync) {
    OpenLink();
    ASSERT_TRUE(SendCopy(*_link, CfgAgent::KcpQueryCodec::BuildStatusQuery()));
    ASSERT_TRUE(_received->WaitForMessages(1));
    std::vector<CfgAgent::KcpNotification> notifications;
    ASSERT_TRUE(CfgAgent::KcpNotificationCodec::Read(_received->Messages()[0], notifications));
    ASSERT_EQ(notifications.size(), 1u);
    EXPECT_EQ(notifications[0].type, CfgAgent::KCP_NOTIFY_DP_STATUS);
    EXPECT_NE(notifications[0].dpStatus, CfgAgent::KCP_DP_OUT_OF_SYNC);

    const std::vector<JsonPtr> lines = WaitForLines(2);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(Text(lines[0].get(), "type"), "Query");
    const cJSON* asked = cJSON_GetObjectItemCaseSensitive(Fields(lines[0]), "dataTypes");
    ASSERT_EQ(cJSON_GetArraySize(asked), 1);
    EXPECT_STREQ(cJSON_GetArrayItem(asked, 0)->valuestring, "DP Status Query");
    EXPECT_EQ(Text(lines[1].get(), "type"), "Notification");
    const cJSON* told = cJSON_GetObjectItemCaseSensitive(Fields(lines[1]), "notifications");
    ASSERT_EQ(cJSON_GetArraySize(told), 1);
    EXPECT_EQ(Text(cJSON_GetArrayItem(told, 0), "type"), "DP Status Notification");
    EXPECT_EQ(Text(cJSON_GetArrayItem(told, 0), "value"), "Sync");
}

TEST_F(DpsimTest, UnknownTypeIsRecordedAsAnErrorAndNotAnswered) {
    OpenLink();
    const Message unknown = {0, 9, 0, 8, 0, 1, 0, 4};
    ASSERT_TRUE(SendCopy(*_link, unknown));
    // The answer to this one must be the first message back.
    ASSERT_TRUE(SendCopy(*_link, CfgAgent::KcpSessionCodec::Build(CfgAgent::KCP_SESSION_OPEN, 7)));
    ASSERT_TRUE(_received->WaitForMessages(2));
    CfgAgent::KcpSessionControl first;
    ASSERT_TRUE(CfgAgent::KcpSessionCodec::Read(_received->Messages()[0], first));
    EXPECT_EQ(first.controlType, CfgAgent::KCP_SESSION_OPEN_ACK);

    const std::vector<JsonPtr> lines = WaitForLines(4);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(Text(lines[0].get(), "dir"), "in");
    EXPECT_EQ(Text(lines[0].get(), "hex"), "0009000800010004");
    EXPECT_NE(Text(lines[0].get(), "error").find("unknown message type 9"), std::string::npos);
    EXPECT_EQ(Text(Fields(lines[1]), "control"), "Session Open");
}

TEST_F(DpsimTest, LengthBelowTheHeaderIsRecordedAndEndsTheConnection) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(fd, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = Dpsim::Simulator::SocketPath(kLink);
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    ASSERT_EQ(::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    const uint8_t head[] = {0, 5, 0, 2, 0xAA, 0xBB};
    ASSERT_EQ(::send(fd, head, sizeof(head), MSG_NOSIGNAL), static_cast<ssize_t>(sizeof(head)));

    // The simulator cannot frame past such a head, so it hangs up.
    pollfd wait{fd, POLLIN, 0};
    ASSERT_EQ(::poll(&wait, 1, 20000), 1);
    uint8_t byte = 0;
    EXPECT_EQ(::recv(fd, &byte, 1, 0), 0);
    ::close(fd);

    const std::vector<JsonPtr> lines = WaitForLines(1);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(Text(lines[0].get(), "dir"), "in");
    EXPECT_EQ(Text(lines[0].get(), "hex"), "00050002");
    EXPECT_NE(Text(lines[0].get(), "error").find("below the 4-byte header"), std::string::npos);
}

// The value of the one data TLV of an Update of that data type.
bool OneData(const Message& message, uint16_t dataType, std::vector<uint8_t>& value) {
    CfgAgent::KcpUpdate read;
    if (!CfgAgent::KcpUpdateCodec::Read(message, read) || read.data.size() != 1 ||
        read.data[0].type != dataType) {
        return false;
    }
    value = read.data[0].value;
    return true;
}

bool ReadVifUpdate(const Message& message, CfgAgent::KcpVifUpdate& update) {
    std::vector<uint8_t> value;
    return OneData(message, CfgAgent::KCP_VIF_UPDATE, value) &&
           CfgAgent::KcpVifUpdateCodec::Decode(value, update);
}

TEST_F(DpsimTest, ControlledVifsAreSentAndTheConnectedOnesReportedBeforeFullSyncEnd) {
    OpenLink();
    const std::string prefix = std::string("vif ") + kLink;
    EXPECT_TRUE(Ok(Ask(prefix + " connect vif-a")));
    EXPECT_TRUE(Ok(Ask(prefix + " connect vif-b")));
    EXPECT_TRUE(Ok(Ask(prefix + " disconnect vif-a")));
    ASSERT_TRUE(_received->WaitForMessages(3));
    CfgAgent::KcpVifUpdate gone;
    ASSERT_TRUE(ReadVifUpdate(_received->Messages()[2], gone));
    EXPECT_EQ(gone.operation, CfgAgent::KCP_OP_DELETE);
    ASSERT_EQ(gone.records.size(), 1u);
    EXPECT_EQ(gone.records[0].vifId, "vif-a");
    EXPECT_FALSE(gone.records[0].status.has_value());

    ASSERT_TRUE(
        SendCopy(*_link, CfgAgent::KcpSessionCodec::Build(CfgAgent::KCP_SESSION_OPEN, kSession)));
    ASSERT_TRUE(_received->WaitForMessages(6));
    const std::vector<Message> messages = _received->Messages();
    ASSERT_EQ(messages.size(), 6u);
    CfgAgent::KcpSessionControl ack;
    ASSERT_TRUE(CfgAgent::KcpSessionCodec::Read(messages[3], ack));
    EXPECT_EQ(ack.controlType, CfgAgent::KCP_SESSION_OPEN_ACK);
    CfgAgent::KcpVifUpdate report;
    ASSERT_TRUE(ReadVifUpdate(messages[4], report));
    EXPECT_EQ(report.operation, CfgAgent::KCP_OP_UPDATE);
    ASSERT_EQ(report.records.size(), 1u);
    EXPECT_EQ(report.records[0].vifId, "vif-b");
    EXPECT_EQ(report.records[0].status, std::optional<uint8_t>(CfgAgent::KCP_VIF_CONNECT));
    CfgAgent::KcpSessionControl end;
    ASSERT_TRUE(CfgAgent::KcpSessionCodec::Read(messages[5], end));
    EXPECT_EQ(end.controlType, CfgAgent::KCP_SESSION_FULL_SYNC_END);
    EXPECT_EQ(end.sessionId, kSession);

    const JsonPtr status = Ask("status");
    ASSERT_TRUE(Ok(status));
    const cJSON* link =
        cJSON_GetArrayItem(cJSON_GetObjectItemCaseSensitive(status.get(), "links"), 0);
    EXPECT_EQ(Text(link, "link"), kLink);
    EXPECT_TRUE(cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(link, "connected")));
    const cJSON* vifs = cJSON_GetObjectItemCaseSensitive(link, "vifs");
    ASSERT_EQ(cJSON_GetArraySize(vifs), 1);
    EXPECT_STREQ(cJSON_GetArrayItem(vifs, 0)->valuestring, "vif-b");
    EXPECT_EQ(Number(link, "in"), 1);
    EXPECT_EQ(Number(link, "out"), 6);
}

TEST_F(DpsimTest, OutOfSyncReachesTheAgentAndIsRecorded) {
    OpenLink();
    EXPECT_TRUE(Ok(Ask(std::string("outofsync ") + kLink)));
    ASSERT_TRUE(_received->WaitForMessages(1));
    std::vector<CfgAgent::KcpNotification> notifications;
    ASSERT_TRUE(CfgAgent::KcpNotificationCodec::Read(_received->Messages()[0], notifications));
    ASSERT_EQ(notifications.size(), 1u);
    EXPECT_EQ(notifications[0].type, CfgAgent::KCP_NOTIFY_DP_STATUS);
    EXPECT_EQ(notifications[0].dpStatus, CfgAgent::KCP_DP_OUT_OF_SYNC);

    const std::vector<JsonPtr> lines = WaitForLines(1);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(Text(lines[0].get(), "dir"), "out");
    const cJSON* told = cJSON_GetObjectItemCaseSensitive(Fields(lines[0]), "notifications");
    EXPECT_EQ(Text(cJSON_GetArrayItem(told, 0), "value"), "OutOfSync");
}

TEST_F(DpsimTest, InjectSendsTheBytesAsTheyAre) {
    OpenLink();
    EXPECT_TRUE(Ok(Ask(std::string("inject ") + kLink + " 0009000800010004")));
    ASSERT_TRUE(_received->WaitForMessages(1));
    EXPECT_EQ(_received->Messages()[0], (Message{0, 9, 0, 8, 0, 1, 0, 4}));
    const std::vector<JsonPtr> lines = WaitForLines(1);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(Text(lines[0].get(), "dir"), "out");
    EXPECT_EQ(Text(lines[0].get(), "hex"), "0009000800010004");
}

TEST_F(DpsimTest, DropMakesTheLinkGoDownAndComeBack) {
    OpenLink();
    EXPECT_TRUE(Ok(Ask(std::string("drop ") + kLink)));
    ASSERT_TRUE(_received->WaitDown());
    ASSERT_TRUE(_received->WaitUp());
}

TEST_F(DpsimTest, RefusedConnectionIsClosedAtOnce) {
    EXPECT_TRUE(Ok(Ask(std::string("refuse ") + kLink + " 60")));
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(fd, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = Dpsim::Simulator::SocketPath(kLink);
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    ASSERT_EQ(::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    pollfd wait{fd, POLLIN, 0};
    ASSERT_EQ(::poll(&wait, 1, 20000), 1);
    uint8_t byte = 0;
    EXPECT_EQ(::recv(fd, &byte, 1, 0), 0);
    ::close(fd);
    const JsonPtr status = Ask("status");
    const cJSON* link =
        cJSON_GetArrayItem(cJSON_GetObjectItemCaseSensitive(status.get(), "links"), 0);
    EXPECT_FALSE(cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(link, "connected")));
}

TEST_F(DpsimTest, BadCommandsAreRefused) {
    for (const std::string& command : std::vector<std::string>{
             "frobnicate", "drop nosuchlink", std::string("inject ") + kLink + " 0G",
             std::string("vif ") + kLink + " plug x", std::string("refuse ") + kLink + " -1"}) {
        SCOPED_TRACE(command);
        const JsonPtr answer = Ask(command);
        ASSERT_NE(answer, nullptr);
        EXPECT_TRUE(cJSON_IsFalse(cJSON_GetObjectItemCaseSensitive(answer.get(), "ok")));
        EXPECT_NE(Text(answer.get(), "error"), "<absent>");
    }
}

std::string Printed(const cJSON* json) {
    char* text = cJSON_PrintUnformatted(json);
    std::string result = text != nullptr ? text : "";
    cJSON_free(text);
    return result;
}

bool ReadUplinkUpdate(const Message& message, CfgAgent::KcpUplinkUpdate& update) {
    std::vector<uint8_t> value;
    return OneData(message, CfgAgent::KCP_UPLINK_UPDATE, value) &&
           CfgAgent::KcpUplinkUpdateCodec::Decode(value, update);
}

TEST_F(DpsimTest, VifOptionsShapeTheReportsTheAgentReceives) {
    OpenLink();
    const std::string prefix = std::string("vif ") + kLink;
    EXPECT_TRUE(Ok(Ask(prefix + " connect vif-c port=port-c switch=sw-1 type=container parent=vif-p"
                                " mac=02:00:00:00:00:0a binding=10.0.0.5/02:00:00:00:00:0a/7/16/99"
                                " binding=fd00::5/02:00:00:00:00:0b/8/2 smartnic")));
    EXPECT_TRUE(Ok(Ask(prefix + " connect vif-s type=crxport binding=10.0.0.6/02:00:00:00:00:0c/0/1"
                                " binding=10.0.0.7/02:00:00:00:00:0d/0/1 pieces=3")));
    EXPECT_TRUE(Ok(Ask(prefix + " disconnect vif-c hotmove")));
    ASSERT_TRUE(_received->WaitForMessages(5));
    const std::vector<Message> messages = _received->Messages();

    CfgAgent::KcpVifUpdate connect;
    ASSERT_TRUE(ReadVifUpdate(messages[0], connect));
    ASSERT_EQ(connect.records.size(), 1u);
    const CfgAgent::KcpVifRecord& record = connect.records[0];
    EXPECT_EQ(record.portId, "port-c");
    EXPECT_EQ(record.switchId, "sw-1");
    EXPECT_EQ(record.parentVifId, "vif-p");
    EXPECT_EQ(record.vifType, CfgAgent::KCP_VIF_CONTAINER);
    EXPECT_EQ(record.smartNic, 1);
    EXPECT_EQ(record.status, std::optional<uint8_t>(CfgAgent::KCP_VIF_CONNECT));
    ASSERT_EQ(record.macs.size(), 1u);
    EXPECT_EQ(record.macs[0][5], 0x0a);
    ASSERT_EQ(record.bindings.size(), 2u);
    EXPECT_TRUE(record.bindings[0].ipv4);
    EXPECT_EQ(record.bindings[0].ip[3], 5);
    EXPECT_EQ(record.bindings[0].vlan, 7);
    EXPECT_EQ(record.bindings[0].method, 16);
    EXPECT_EQ(record.bindings[0].timestamp, 99u);
    EXPECT_FALSE(record.bindings[1].ipv4);
    EXPECT_EQ(record.bindings[1].ip[0], 0xfd);

    for (size_t i = 1; i <= 3; ++i) {
        SCOPED_TRACE(i);
        CfgAgent::KcpUpdate piece;
        ASSERT_TRUE(CfgAgent::KcpUpdateCodec::Read(messages[i], piece));
        EXPECT_EQ(piece.more, i < 3);
    }
    CfgAgent::KcpVifUpdate gone;
    ASSERT_TRUE(ReadVifUpdate(messages[4], gone));
    EXPECT_EQ(gone.operation, CfgAgent::KCP_OP_DELETE);
    ASSERT_EQ(gone.records.size(), 1u);
    EXPECT_EQ(gone.records[0].hotmove, 1);
    EXPECT_EQ(gone.records[0].portId, "port-c");
    EXPECT_TRUE(gone.records[0].bindings.empty());

    const JsonPtr status = Ask("status");
    const cJSON* vifs = cJSON_GetObjectItemCaseSensitive(
        cJSON_GetArrayItem(cJSON_GetObjectItemCaseSensitive(status.get(), "links"), 0), "vifs");
    ASSERT_EQ(cJSON_GetArraySize(vifs), 1);
    EXPECT_STREQ(cJSON_GetArrayItem(vifs, 0)->valuestring, "vif-s");
}

std::vector<std::string> KeptVifs(const JsonPtr& status) {
    const cJSON* link = cJSON_GetArrayItem(cJSON_GetObjectItemCaseSensitive(status.get(), "links"), 0);
    std::vector<std::string> ids;
    const cJSON* vif = nullptr;
    cJSON_ArrayForEach(vif, cJSON_GetObjectItemCaseSensitive(link, "vifs")) {
        ids.push_back(vif->valuestring);
    }
    return ids;
}

TEST_F(DpsimTest, VifFileKeepsEveryLineTheLastOfARepeatedVifWinningAndReportsToTheAgent) {
    const std::string path = _root + "/vifs.txt";
    std::ofstream(path) << "vif-a port=port-a1 switch=sw-1\n"
                           "\n"
                           "vif-b type=container parent=vif-a\n"
                           "vif-a port=port-a2 switch=sw-2\n";
    const std::string command = std::string("vif ") + kLink + " connect-file " + path;
    ASSERT_TRUE(Ok(Ask(command)));
    EXPECT_EQ(KeptVifs(Ask("status")), (std::vector<std::string>{"vif-a", "vif-b"}));

    OpenLink();
    ASSERT_TRUE(
        SendCopy(*_link, CfgAgent::KcpSessionCodec::Build(CfgAgent::KCP_SESSION_OPEN, kSession)));
    ASSERT_TRUE(_received->WaitForMessages(4));
    std::vector<Message> messages = _received->Messages();
    CfgAgent::KcpVifUpdate first;
    CfgAgent::KcpVifUpdate second;
    ASSERT_TRUE(ReadVifUpdate(messages[1], first));
    ASSERT_TRUE(ReadVifUpdate(messages[2], second));
    ASSERT_EQ(first.records.size(), 1u);
    EXPECT_EQ(first.records[0].vifId, "vif-a");
    EXPECT_EQ(first.records[0].portId, "port-a2");
    EXPECT_EQ(first.records[0].switchId, "sw-2");
    ASSERT_EQ(second.records.size(), 1u);
    EXPECT_EQ(second.records[0].vifId, "vif-b");
    EXPECT_EQ(second.records[0].portId, "vif-b");
    EXPECT_EQ(second.records[0].vifType, CfgAgent::KCP_VIF_CONTAINER);

    // With the agent there, the file's VIFs go out at once, kept ones replaced.
    std::ofstream(path, std::ios::trunc) << "vif-c\nvif-b port=port-b2\n";
    const JsonPtr answer = Ask(command);
    ASSERT_TRUE(Ok(answer));
    EXPECT_TRUE(cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(answer.get(), "sent")));
    ASSERT_TRUE(_received->WaitForMessages(6));
    messages = _received->Messages();
    CfgAgent::KcpVifUpdate replaced;
    ASSERT_TRUE(ReadVifUpdate(messages[5], replaced));
    ASSERT_EQ(replaced.records.size(), 1u);
    EXPECT_EQ(replaced.records[0].portId, "port-b2");
    EXPECT_EQ(KeptVifs(Ask("status")), (std::vector<std::string>{"vif-a", "vif-b", "vif-c"}));
}

TEST_F(DpsimTest, VifFileWithABadLineOrNoFileKeepsNothing) {
    const std::string path = _root + "/vifs.txt";
    std::ofstream(path) << "vif-a\nvif-b type=fridge\n";
    const std::string prefix = std::string("vif ") + kLink + " connect-file ";
    const JsonPtr bad = Ask(prefix + path);
    EXPECT_FALSE(Ok(bad));
    EXPECT_NE(Text(bad.get(), "error").find(path + ":2:"), std::string::npos) << Text(bad.get(), "error");
    EXPECT_FALSE(Ok(Ask(prefix + _root + "/absent.txt")));
    EXPECT_TRUE(KeptVifs(Ask("status")).empty());
}

TEST_F(DpsimTest, SessionOpenReportsUplinksAndStaleModeAnswersWithTheSessionBefore) {
    const std::string prefix = std::string("uplink ") + kLink;
    // Kept without an agent, told to the one that comes.
    EXPECT_TRUE(Ok(Ask(prefix + " add up-1 switch=sw-1 name=vmnic1 alias=uplink-1")));
    EXPECT_TRUE(Ok(Ask(prefix + " add up-2")));
    OpenLink();
    EXPECT_TRUE(Ok(Ask(prefix + " remove up-2")));
    ASSERT_TRUE(_received->WaitForMessages(1));
    CfgAgent::KcpUplinkUpdate removed;
    ASSERT_TRUE(ReadUplinkUpdate(_received->Messages()[0], removed));
    EXPECT_EQ(removed.operation, CfgAgent::KCP_OP_DELETE);
    ASSERT_EQ(removed.records.size(), 1u);
    EXPECT_EQ(removed.records[0].uplinkPortId, "up-2");
    EXPECT_EQ(removed.records[0].clientName, "up-2");

    EXPECT_TRUE(Ok(Ask(std::string("stale ") + kLink + " on")));
    ASSERT_TRUE(
        SendCopy(*_link, CfgAgent::KcpSessionCodec::Build(CfgAgent::KCP_SESSION_OPEN, kSession)));
    ASSERT_TRUE(_received->WaitForMessages(4));
    const std::vector<Message> messages = _received->Messages();
    ASSERT_EQ(messages.size(), 4u);
    CfgAgent::KcpSessionControl ack;
    CfgAgent::KcpSessionControl end;
    ASSERT_TRUE(CfgAgent::KcpSessionCodec::Read(messages[1], ack));
    ASSERT_TRUE(CfgAgent::KcpSessionCodec::Read(messages[3], end));
    EXPECT_EQ(ack.controlType, CfgAgent::KCP_SESSION_OPEN_ACK);
    EXPECT_EQ(end.controlType, CfgAgent::KCP_SESSION_FULL_SYNC_END);
    EXPECT_NE(ack.sessionId, kSession);
    EXPECT_EQ(end.sessionId, ack.sessionId);
    CfgAgent::KcpUplinkUpdate kept;
    ASSERT_TRUE(ReadUplinkUpdate(messages[2], kept));
    EXPECT_EQ(kept.operation, CfgAgent::KCP_OP_UPDATE);
    ASSERT_EQ(kept.records.size(), 1u);
    EXPECT_EQ(kept.records[0].switchId, "sw-1");
    EXPECT_EQ(kept.records[0].clientName, "vmnic1");
    EXPECT_EQ(kept.records[0].alias, "uplink-1");
}

TEST_F(DpsimTest, NotificationsAreSentOnRequestOnlyToAConnectedAgent) {
    const std::string prefix = std::string("notify ") + kLink;
    EXPECT_FALSE(Ok(Ask(prefix + " portprop vif-a")));
    OpenLink();
    EXPECT_TRUE(Ok(Ask(prefix + " portprop vif-a")));
    EXPECT_TRUE(Ok(Ask(prefix + " taknicprop tn0")));
    EXPECT_TRUE(Ok(Ask(prefix + " containersync vif-b 3")));
    EXPECT_FALSE(Ok(Ask(prefix + " containersync vif-b x")));
    ASSERT_TRUE(_received->WaitForMessages(3));
    const std::vector<Message> messages = _received->Messages();
    const CfgAgent::KcpNotification expected[] = {
        {CfgAgent::KCP_NOTIFY_PORT_PROPERTY_OUT_OF_SYNC, 0, "vif-a", 0},
        {CfgAgent::KCP_NOTIFY_TAKNIC_PROPERTY_OUT_OF_SYNC, 0, "tn0", 0},
        {CfgAgent::KCP_NOTIFY_PORT_CONTAINER_FULL_SYNC, 0, "vif-b", CfgAgent::KCP_SYNC_BOTH}};
    for (size_t i = 0; i < 3; ++i) {
        std::vector<CfgAgent::KcpNotification> notifications;
        ASSERT_TRUE(CfgAgent::KcpNotificationCodec::Read(messages[i], notifications));
        ASSERT_EQ(notifications.size(), 1u);
        EXPECT_EQ(notifications[0], expected[i]) << i;
    }
}

Message PortProperties(uint8_t operation, std::vector<CfgAgent::KcpPropertyRecord> records,
                       bool more) {
    Message message;
    EXPECT_TRUE(CfgAgent::KcpPropertyUpdateCodec::BuildMessage(
        CfgAgent::KCP_PORT_PROPERTY_UPDATE, {operation, std::move(records)}, more, message));
    return message;
}

std::vector<uint8_t> TextValue(const std::string& text) {
    std::vector<uint8_t> value(text.begin(), text.end());
    value.push_back(0);
    return value;
}

TEST_F(DpsimTest, PortTableFollowsTheAgentAndIsRebuiltFromTheRecord) {
    OpenLink();
    Message list;
    ASSERT_TRUE(CfgAgent::KcpIdListCodec::BuildMessage(CfgAgent::KCP_PORT_LIST_UPDATE,
                                                       {"vif-a", "vif-b"}, false, list));
    const Message sent[] = {
        CfgAgent::KcpSessionCodec::Build(CfgAgent::KCP_SESSION_OPEN, kSession),
        list,
        PortProperties(CfgAgent::KCP_OP_FULL_SYNC, {{"vif-a", {{101, TextValue("true")}}}}, true),
        PortProperties(CfgAgent::KCP_OP_FULL_SYNC, {{"vif-b", {{101, TextValue("false")}}}}, false),
        // A property update that claims an operation the kernel does not know.
        PortProperties(9, {{"vif-a", {}}}, false),
        PortProperties(CfgAgent::KCP_OP_UPDATE, {{"vif-a", {{202, TextValue("team")}}}}, false),
    };
    for (const Message& message : sent) {
        ASSERT_TRUE(SendCopy(*_link, message));
    }
    // The open's two answers come back as well.
    const std::vector<JsonPtr> lines = WaitForLines(std::size(sent) + 2);
    ASSERT_EQ(lines.size(), std::size(sent) + 2);
    size_t errors = 0;
    for (const JsonPtr& line : lines) {
        const std::string error = Text(line.get(), "error");
        if (error != "<absent>") {
            ++errors;
            EXPECT_EQ(Text(line.get(), "hex"), Dpsim::RecordFile::Hex(sent[4]));
            EXPECT_NE(error.find("invalid operation 9"), std::string::npos) << error;
        }
    }
    EXPECT_EQ(errors, 1u);

    JsonPtr ports = Ask(std::string("ports ") + kLink);
    ASSERT_TRUE(Ok(ports));
    const cJSON* live =
        cJSON_GetArrayItem(cJSON_GetObjectItemCaseSensitive(ports.get(), "links"), 0);
    const cJSON* table = cJSON_GetObjectItemCaseSensitive(live, "ports");
    const cJSON* vifA = cJSON_GetObjectItemCaseSensitive(table, "vif-a");
    EXPECT_TRUE(cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(vifA, "blocked")));
    EXPECT_TRUE(cJSON_IsTrue(cJSON_GetObjectItemCaseSensitive(vifA, "listed")));
    EXPECT_EQ(Text(cJSON_GetObjectItemCaseSensitive(
                       cJSON_GetObjectItemCaseSensitive(vifA, "properties"), "202"),
                   "text"),
              "team");
    EXPECT_TRUE(cJSON_IsFalse(cJSON_GetObjectItemCaseSensitive(
        cJSON_GetObjectItemCaseSensitive(table, "vif-b"), "blocked")));

    Dpsim::KcpProtocol replayed;
    size_t messages = 0;
    std::string error;
    ASSERT_TRUE(Dpsim::RecordReplay::Run(_recordPath, kLink, replayed, messages, error)) << error;
    EXPECT_EQ(messages, std::size(sent));
    JsonPtr view(cJSON_CreateObject());
    cJSON_AddStringToObject(view.get(), "link", kLink);
    cJSON_AddStringToObject(view.get(), "protocol", "kcp");
    replayed.AddPorts(view.get());
    EXPECT_EQ(Printed(view.get()), Printed(live));
}

TEST_F(DpsimTest, SwitchSecurityKeepsTheLastBindingsPerPortAndSolicits) {
    auto received = std::make_shared<Received>();
    OpenLink(_otherLink, kSwsecLink, received, 1);
    CfgAgent::SwsecBindings first{"port-1", "sw-1", {{true, {10, 0, 0, 1}, {2, 0, 0, 0, 0, 1}}}};
    CfgAgent::SwsecBindings second{
        "port-1",
        "sw-1",
        {{true, {10, 0, 0, 2}, {2, 0, 0, 0, 0, 2}},
         {false, {0xfd, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2}, {2, 0, 0, 0, 0, 3}}}};
    CfgAgent::SwsecBindings other{"port-2", "sw-2", {}};
    std::vector<Message> sent(3);
    ASSERT_TRUE(CfgAgent::SwsecCodec::BuildBindings(first, sent[0]));
    ASSERT_TRUE(CfgAgent::SwsecCodec::BuildBindings(second, sent[1]));
    ASSERT_TRUE(CfgAgent::SwsecCodec::BuildBindings(other, sent[2]));
    // The one entry loses its last byte, the lengths made to match.
    Message broken = sent[0];
    broken.pop_back();
    const size_t entriesTlv = broken.size() + 1 - 4 - CfgAgent::SwsecCodec::kEntrySize;
    broken[3] = static_cast<uint8_t>(broken.size());
    broken[entriesTlv + 3] -= 1;
    sent.push_back(broken);
    for (const Message& message : sent) {
        ASSERT_TRUE(SendCopy(*_otherLink, message));
    }
    const std::vector<JsonPtr> lines = WaitForLines(sent.size());
    ASSERT_EQ(lines.size(), sent.size());
    EXPECT_EQ(Text(lines[0].get(), "type"), "Tools bindings");
    EXPECT_EQ(Text(lines[0].get(), "link"), kSwsecLink);
    EXPECT_NE(Text(lines[3].get(), "error").find("no whole number of 23-byte entries"),
              std::string::npos)
        << Text(lines[3].get(), "hex");

    JsonPtr ports = Ask(std::string("ports ") + kSwsecLink);
    const cJSON* link =
        cJSON_GetArrayItem(cJSON_GetObjectItemCaseSensitive(ports.get(), "links"), 0);
    const cJSON* bindings = cJSON_GetObjectItemCaseSensitive(link, "bindings");
    ASSERT_EQ(cJSON_GetArraySize(bindings), 2);
    const cJSON* port = cJSON_GetObjectItemCaseSensitive(bindings, "port-1");
    const cJSON* entries = cJSON_GetObjectItemCaseSensitive(port, "entries");
    ASSERT_EQ(cJSON_GetArraySize(entries), 2);
    EXPECT_EQ(Text(cJSON_GetArrayItem(entries, 0), "ip"), "10.0.0.2");
    EXPECT_EQ(Text(cJSON_GetArrayItem(entries, 1), "ip"), "fd00::2");
    EXPECT_EQ(Text(cJSON_GetArrayItem(entries, 1), "mac"), "02:00:00:00:00:03");

    EXPECT_TRUE(Ok(Ask(std::string("solicit ") + kSwsecLink + " vif-9")));
    ASSERT_TRUE(received->WaitForMessages(1));
    EXPECT_EQ(CfgAgent::SwsecCodec::ReadSolicitation(received->Messages()[0]), "vif-9");
    EXPECT_FALSE(Ok(Ask(std::string("solicit ") + kLink + " vif-9")));
}

TEST_F(DpsimTest, QueuedMessagesArriveInOrderOnceUpAndAClosedPeerLeadsToAReopen) {
    constexpr const char* kLate = "late_taklink";
    const Message queued[] = {
        CfgAgent::KcpSessionCodec::Build(CfgAgent::KCP_SESSION_OPEN, 1),
        CfgAgent::KcpSessionCodec::Build(CfgAgent::KCP_SESSION_OPEN, 2),
        CfgAgent::KcpQueryCodec::BuildStatusQuery(),
    };
    auto received = std::make_shared<Received>();
    _otherLink = MakeLink(kLate, received);
    ASSERT_TRUE(_otherLink->open());
    for (const Message& message : queued) {
        ASSERT_TRUE(SendCopy(*_otherLink, message));
    }
    const std::string latePath = _root + "/late.jsonl";
    _late = std::make_unique<Dpsim::Simulator>(std::vector<std::string>{kLate}, latePath);
    std::string error;
    ASSERT_TRUE(_late->Start(error)) << error;
    ASSERT_TRUE(received->WaitUp());

    const auto linesOf = [&](size_t count) {
        _recordPath = latePath;
        std::vector<JsonPtr> all = WaitForLines(count);
        std::vector<std::string> hexes;
        for (const JsonPtr& line : all) {
            if (Text(line.get(), "dir") == "in") {
                hexes.push_back(Text(line.get(), "hex"));
            }
        }
        return hexes;
    };
    // Each open gets two answers and the query one.
    std::vector<std::string> in = linesOf(std::size(queued) + 5);
    ASSERT_EQ(in.size(), std::size(queued));
    for (size_t i = 0; i < std::size(queued); ++i) {
        EXPECT_EQ(in[i], Dpsim::RecordFile::Hex(queued[i])) << i;
    }

    ASSERT_TRUE(_late->Find(kLate)->Drop(error)) << error;
    ASSERT_TRUE(received->WaitDown());
    ASSERT_TRUE(received->WaitUp());
    const Message after = CfgAgent::KcpSessionCodec::Build(CfgAgent::KCP_SESSION_OPEN, 3);
    ASSERT_TRUE(SendCopy(*_otherLink, after));
    in = linesOf(std::size(queued) + 5 + 3);
    ASSERT_EQ(in.size(), std::size(queued) + 1);
    EXPECT_EQ(in.back(), Dpsim::RecordFile::Hex(after));
}

}  // namespace
