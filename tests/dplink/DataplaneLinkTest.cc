#include <gtest/gtest.h>
#include <stdlib.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "dplink/LinkTestPeer.h"
#include "host/HostPaths.h"
#include "frame/WorkGroup.h"
#include "log/LogLevel.h"
#include "dplink/DataplaneTaklink.h"
#include "zef/RefPtr.h"
#include "zef/metrics/MetricsRegistry.h"

namespace PortTest {
namespace {

using namespace std::chrono_literals;
using CfgAgent::DataplaneLink;
using CfgAgent::DataplaneTaklink;
using Message = LinkTestPeer::Message;

// The reconnect timer ticks every 5 seconds; a broken case waits this out.
constexpr auto kBound = 20s;

// What a link reports to its application.
class Recorder {
public:
    void OnData(const unsigned char* data, int length) {
        std::lock_guard<std::mutex> lock(_mutex);
        _messages.emplace_back(data, data + length);
        _changed.notify_all();
    }
    void OnStatus(DataplaneLink::LinkStatus status) {
        std::lock_guard<std::mutex> lock(_mutex);
        _statuses.push_back(status);
        _changed.notify_all();
    }
    bool WaitForStatuses(size_t count, std::chrono::milliseconds bound = kBound) {
        std::unique_lock<std::mutex> lock(_mutex);
        return _changed.wait_for(lock, bound, [&] { return _statuses.size() >= count; });
    }
    bool WaitForMessages(size_t count, std::chrono::milliseconds bound = kBound) {
        std::unique_lock<std::mutex> lock(_mutex);
        return _changed.wait_for(lock, bound, [&] { return _messages.size() >= count; });
    }
    std::vector<DataplaneLink::LinkStatus> Statuses() {
        std::lock_guard<std::mutex> lock(_mutex);
        return _statuses;
    }
    std::vector<Message> Messages() {
        std::lock_guard<std::mutex> lock(_mutex);
        return _messages;
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<DataplaneLink::LinkStatus> _statuses;
    std::vector<Message> _messages;
};

// A framed message: type in bytes 0-1, total length in 2-3, then a pattern.
Message Framed(size_t length, unsigned char seed) {
    Message message(length);
    message[0] = 0x01;
    message[1] = seed;
    message[2] = static_cast<unsigned char>(length >> 8);
    message[3] = static_cast<unsigned char>(length & 0xFF);
    for (size_t i = 4; i < length; ++i) {
        message[i] = static_cast<unsigned char>(seed + i);
    }
    return message;
}

bool SendTo(DataplaneLink& link, const Message& message) {
    return link.sendCopy({message.data(), message.size()});
}

const auto UP = DataplaneLink::LINK_UP;
const auto DOWN = DataplaneLink::LINK_DOWN;
using Statuses = std::vector<DataplaneLink::LinkStatus>;

class DataplaneLinkTest : public ::testing::Test {
protected:
    void SetUp() override {
        _savedConsole = CfgAgent::LogLevel::console.exchange(0);
        char root[] = "/tmp/dplinkXXXXXX";
        ASSERT_NE(mkdtemp(root), nullptr);
        _root = root;
        setenv(CfgAgent::HostPaths::kRootVariable, _root.c_str(), 1);
        CfgAgent::WorkGroup::SetThreadCounts({1, 8});
        CfgAgent::WorkGroup::Start(_registry);
    }

    void TearDown() override {
        for (zef::RefPtr<DataplaneLink>& link : _links) {
            link->stop();
        }
        _links.clear();
        CfgAgent::WorkGroup::Stop();
        unsetenv(CfgAgent::HostPaths::kRootVariable);
        std::error_code ignored;
        std::filesystem::remove_all(_root, ignored);
        CfgAgent::LogLevel::console.store(_savedConsole);
    }

    static std::string EndpointPath(const std::string& name) {
        return CfgAgent::HostPaths::Resolve("/var/run/halden/dplink/") + name;
    }

    zef::RefPtr<DataplaneLink> MakeLink(const std::string& name,
                                        const std::shared_ptr<Recorder>& recorder,
                                        DataplaneLink::LivenessCheck check = nullptr) {
        auto link = zef::MakeRef<DataplaneTaklink>(
            name, [recorder](const unsigned char* data, int length) { recorder->OnData(data, length); },
            [recorder](DataplaneLink*, DataplaneLink::LinkStatus status) { recorder->OnStatus(status); },
            std::move(check), 4096);
        zef::RefPtr<DataplaneLink> handle(link.get());
        _links.push_back(handle);
        return handle;
    }

    std::shared_ptr<Recorder> _recorder = std::make_shared<Recorder>();
    std::string _root;

private:
    int _savedConsole = 0;
    zef::metrics::MetricsRegistry _registry;
    std::vector<zef::RefPtr<DataplaneLink>> _links;
};

// --- connecting and reconnecting ---

TEST_F(DataplaneLinkTest, MessagesQueuedWhileDownLeaveInOrderOnceConnected) {
    zef::RefPtr<DataplaneLink> link = MakeLink("kcp_taklink", _recorder);
    EXPECT_TRUE(link->open());
    const std::vector<Message> queued = {Framed(16, 1), Framed(700, 2), Framed(5, 3)};
    for (const Message& message : queued) {
        ASSERT_TRUE(SendTo(*link, message));
    }

    LinkTestPeer peer(EndpointPath("kcp_taklink"));
    ASSERT_TRUE(peer.Listening());
    ASSERT_TRUE(_recorder->WaitForStatuses(1));
    ASSERT_TRUE(peer.WaitForMessages(3, kBound));
    const Message later = Framed(40, 4);
    ASSERT_TRUE(SendTo(*link, later));
    ASSERT_TRUE(peer.WaitForMessages(4, kBound));

    EXPECT_EQ(peer.Messages(), (std::vector<Message>{queued[0], queued[1], queued[2], later}));
    EXPECT_EQ(_recorder->Statuses(), Statuses{UP});
}

TEST_F(DataplaneLinkTest, FailedConnectAndCloseOfADownLinkFireNoStatus) {
    zef::RefPtr<DataplaneLink> link = MakeLink("absent_taklink", _recorder);
    EXPECT_TRUE(link->open());
    link->close();
    link->close();
    EXPECT_TRUE(_recorder->Statuses().empty());

    // A closed link comes back only through scheduleReopen.
    LinkTestPeer peer(EndpointPath("absent_taklink"));
    ASSERT_TRUE(peer.Listening());
    link->scheduleReopen();
    ASSERT_TRUE(_recorder->WaitForStatuses(1));
    EXPECT_TRUE(peer.WaitForAccepts(1, kBound));
    EXPECT_EQ(_recorder->Statuses(), Statuses{UP});
}

TEST_F(DataplaneLinkTest, PeerCloseIsAReceiveErrorAndTheLinkComesBack) {
    LinkTestPeer peer(EndpointPath("l2_taklink"));
    ASSERT_TRUE(peer.Listening());
    zef::RefPtr<DataplaneLink> link = MakeLink("l2_taklink", _recorder);
    EXPECT_TRUE(link->open());
    EXPECT_EQ(_recorder->Statuses(), Statuses{UP});
    ASSERT_TRUE(peer.WaitForAccepts(1, kBound));

    peer.CloseConnection();
    ASSERT_TRUE(_recorder->WaitForStatuses(3));
    EXPECT_EQ(_recorder->Statuses(), (Statuses{UP, DOWN, UP}));
    ASSERT_TRUE(peer.WaitForAccepts(2, kBound));

    const Message message = Framed(64, 9);
    ASSERT_TRUE(SendTo(*link, message));
    ASSERT_TRUE(peer.WaitForMessages(1, kBound));
    EXPECT_EQ(peer.Messages(), std::vector<Message>{message});
}

TEST_F(DataplaneLinkTest, FailedLivenessCheckClosesAndReconnects) {
    LinkTestPeer peer(EndpointPath("swsec_taklink"));
    ASSERT_TRUE(peer.Listening());
    auto alive = std::make_shared<std::atomic<bool>>(true);
    zef::RefPtr<DataplaneLink> link =
        MakeLink("swsec_taklink", _recorder, [alive](int) { return alive->exchange(true); });
    EXPECT_TRUE(link->open());
    alive->store(false);
    ASSERT_TRUE(_recorder->WaitForStatuses(3));
    EXPECT_EQ(_recorder->Statuses(), (Statuses{UP, DOWN, UP}));
    EXPECT_TRUE(peer.WaitForAccepts(2, kBound));
}

// --- receiving ---

TEST_F(DataplaneLinkTest, MessageSentInTwoPiecesArrivesWhole) {
    LinkTestPeer peer(EndpointPath("l3_taklink"));
    ASSERT_TRUE(peer.Listening());
    zef::RefPtr<DataplaneLink> link = MakeLink("l3_taklink", _recorder);
    ASSERT_TRUE(link->open());
    ASSERT_TRUE(peer.WaitForAccepts(1, kBound));

    const Message big = Framed(3000, 7);
    ASSERT_TRUE(peer.Send(big.data(), 1000));
    EXPECT_FALSE(_recorder->WaitForMessages(1, 300ms)) << "a partial message was delivered";
    ASSERT_TRUE(peer.Send(big.data() + 1000, 2000));
    const Message small = Framed(4, 8);
    ASSERT_TRUE(peer.Send(small));

    ASSERT_TRUE(_recorder->WaitForMessages(2));
    EXPECT_EQ(_recorder->Messages(), (std::vector<Message>{big, small}));
    EXPECT_EQ(_recorder->Statuses(), Statuses{UP});
}

TEST_F(DataplaneLinkTest, AMessageCutShortTakesTheLinkDownAndTheNextConnectionFramesAgain) {
    LinkTestPeer peer(EndpointPath("cut_taklink"));
    ASSERT_TRUE(peer.Listening());
    zef::RefPtr<DataplaneLink> link = MakeLink("cut_taklink", _recorder);
    ASSERT_TRUE(link->open());
    ASSERT_TRUE(peer.WaitForAccepts(1, kBound));

    // The head claims 300 bytes; 8 follow, then nothing.
    const Message cut = Framed(300, 5);
    ASSERT_TRUE(peer.Send(cut.data(), 12));
    ASSERT_TRUE(_recorder->WaitForStatuses(3)) << "down, then up again on the reopen timer";
    ASSERT_TRUE(peer.WaitForAccepts(2, kBound));
    const Message whole = Framed(16, 6);
    ASSERT_TRUE(peer.Send(whole));
    ASSERT_TRUE(_recorder->WaitForMessages(1));
    EXPECT_EQ(_recorder->Messages(), std::vector<Message>{whole});
    EXPECT_EQ(_recorder->Statuses(), (Statuses{UP, DOWN, UP}));
}

TEST_F(DataplaneLinkTest, LengthShorterThanTheHeaderTakesTheLinkDown) {
    LinkTestPeer peer(EndpointPath("trace_taklink"));
    ASSERT_TRUE(peer.Listening());
    zef::RefPtr<DataplaneLink> link = MakeLink("trace_taklink", _recorder);
    ASSERT_TRUE(link->open());
    ASSERT_TRUE(peer.WaitForAccepts(1, kBound));

    const unsigned char bad[] = {0x00, 0x01, 0x00, 0x03};
    ASSERT_TRUE(peer.Send(bad, sizeof(bad)));
    ASSERT_TRUE(_recorder->WaitForStatuses(2));
    EXPECT_EQ(_recorder->Statuses(), (Statuses{UP, DOWN}));
    EXPECT_TRUE(_recorder->Messages().empty());
}

// --- names ---

TEST_F(DataplaneLinkTest, NameThatFillsTheSocketPathConnectsOneMoreFailsCleanly) {
    const size_t room = 107 - EndpointPath("").size();
    const std::string fits(room, 'f');
    LinkTestPeer peer(EndpointPath(fits));
    ASSERT_TRUE(peer.Listening());
    zef::RefPtr<DataplaneLink> fitting = MakeLink(fits, _recorder);
    EXPECT_TRUE(fitting->open());
    EXPECT_EQ(_recorder->Statuses(), Statuses{UP});

    auto tooLongRecorder = std::make_shared<Recorder>();
    for (const std::string& name : {std::string(room + 1, 'g'), std::string(200, 'h')}) {
        zef::RefPtr<DataplaneLink> tooLong = MakeLink(name, tooLongRecorder);
        EXPECT_TRUE(tooLong->open());
        EXPECT_TRUE(SendTo(*tooLong, Framed(8, 1)));
        tooLong->close();
        tooLong->stop();
    }
    EXPECT_TRUE(tooLongRecorder->Statuses().empty());
}

// --- stopping ---

TEST_F(DataplaneLinkTest, StopEndsBothLoopsAndTheTimerAndReleasesTheLink) {
    LinkTestPeer peer(EndpointPath("stop_taklink"));
    ASSERT_TRUE(peer.Listening());
    auto recorder = std::make_shared<Recorder>();
    std::weak_ptr<Recorder> watch = recorder;
    auto link = zef::MakeRef<DataplaneTaklink>(
        "stop_taklink",
        [recorder](const unsigned char* data, int length) { recorder->OnData(data, length); },
        [recorder](DataplaneLink*, DataplaneLink::LinkStatus status) { recorder->OnStatus(status); },
        nullptr, 4096);
    ASSERT_TRUE(link->open());
    ASSERT_TRUE(SendTo(*link, Framed(12, 5)));
    ASSERT_TRUE(peer.WaitForMessages(1, kBound));

    // Never connected, with messages still queued: stop must free them.
    auto idle = zef::MakeRef<DataplaneTaklink>("idle_taklink", nullptr, nullptr, nullptr, 4096);
    ASSERT_TRUE(idle->open());
    ASSERT_TRUE(SendTo(*idle, Framed(32, 6)));
    ASSERT_TRUE(SendTo(*idle, Framed(33, 7)));

    link->stop();
    idle->stop();
    EXPECT_EQ(recorder->Statuses(), (Statuses{UP, DOWN}));
    EXPECT_FALSE(SendTo(*link, Framed(12, 6)));

    // The loops, the timer and the link itself let go: the callbacks die with it.
    recorder.reset();
    link.reset();
    idle.reset();
    const auto deadline = std::chrono::steady_clock::now() + kBound;
    while (!watch.expired() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace PortTest
