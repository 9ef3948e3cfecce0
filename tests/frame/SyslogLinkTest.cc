#include "log/SyslogLink.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

using CfgAgent::SyslogLink;
using namespace std::chrono_literals;

// A daemon's socket: a bound datagram socket that keeps what it is sent.
class Receiver {
public:
    explicit Receiver(const std::string& path) {
        _fd = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.data(), path.size());
        EXPECT_EQ(::bind(_fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        timeval wait{5, 0};
        ::setsockopt(_fd, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof(wait));
    }
    ~Receiver() { ::close(_fd); }
    std::string Next() {
        char buffer[2048];
        const ssize_t got = ::recv(_fd, buffer, sizeof(buffer), 0);
        return got > 0 ? std::string(buffer, static_cast<size_t>(got)) : std::string();
    }

private:
    int _fd = -1;
};

class SyslogLinkTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/syslog-test-XXXXXX";
        dir = mkdtemp(pattern);
        path = dir + "/log";
    }
    void TearDown() override { std::filesystem::remove_all(dir); }

    std::string dir;
    std::string path;
};

TEST_F(SyslogLinkTest, EveryLineReachesAListeningDaemonInItsFormat) {
    Receiver daemon(path);
    SyslogLink link(path, 10s);
    link.Open("cfgAgent", LOG_PID, LOG_DAEMON);
    // A daemon reads as lines come; a full queue makes the writer wait, never drop.
    std::vector<std::string> lines;
    std::thread reader([&] {
        for (int i = 0; i < 200; ++i) {
            lines.push_back(daemon.Next());
        }
    });
    for (int i = 0; i < 200; ++i) {
        link.Send(LOG_INFO, "line " + std::to_string(i));
    }
    reader.join();
    for (int i = 0; i < 200; ++i) {
        const std::string& line = lines[static_cast<size_t>(i)];
        ASSERT_EQ(line.rfind("<30>", 0), 0u) << line;  // daemon facility, info
        const std::string tail = "cfgAgent[" + std::to_string(getpid()) + "]: line " + std::to_string(i);
        ASSERT_GE(line.size(), tail.size()) << line;
        ASSERT_EQ(line.substr(line.size() - tail.size()), tail) << line;
    }
    EXPECT_EQ(link.Sent(), 200u);
    EXPECT_EQ(link.ConnectAttempts(), 1u);
}

TEST_F(SyslogLinkTest, WithoutADaemonLinesCostNoConnectUntilTheRetryIsDue) {
    SyslogLink link(path, 300ms);
    for (int i = 0; i < 1000; ++i) {
        link.Send(LOG_ERR, "nobody listens");
    }
    EXPECT_EQ(link.ConnectAttempts(), 1u);
    EXPECT_EQ(link.Dropped(), 1000u);

    Receiver daemon(path);
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (link.Sent() == 0 && std::chrono::steady_clock::now() < deadline) {
        link.Send(LOG_ERR, "anyone there");
        usleep(20000);
    }
    EXPECT_GE(link.Sent(), 1u) << "the daemon is found once the retry is due";
    EXPECT_NE(daemon.Next().find("anyone there"), std::string::npos);
}

}  // namespace
