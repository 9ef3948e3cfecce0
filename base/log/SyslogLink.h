#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

namespace CfgAgent {

// A way to a syslog daemon: datagrams to its socket, in the daemon's line
// format. Where no daemon listens a line costs only a check: the socket is
// tried once, and again only after the retry interval, never once per line.
class SyslogLink {
public:
    static constexpr const char* kPath = "/dev/log";
    static constexpr std::chrono::seconds kRetry{10};

    SyslogLink(std::string path, std::chrono::milliseconds retry);
    ~SyslogLink();
    SyslogLink(const SyslogLink&) = delete;
    SyslogLink& operator=(const SyslogLink&) = delete;

    // The process's link: /dev/log under the host root.
    static SyslogLink& Process();

    // The ident and facility of every later line; LOG_PID adds the process id.
    void Open(const char* ident, int option, int facility);
    // `priority` is a severity, or'ed with a facility when it names one.
    void Send(int priority, std::string_view text);

    uint64_t Sent() const { return _sent.load(); }
    uint64_t Dropped() const { return _dropped.load(); }
    uint64_t ConnectAttempts() const { return _attempts.load(); }

private:
    std::string Format(int priority, std::string_view text) const;
    bool Connected();
    void Close();

    const std::string _path;
    const std::chrono::milliseconds _retry;
    std::mutex _mutex;
    std::string _ident;
    bool _withPid = false;
    int _facility;
    int _fd = -1;
    bool _tried = false;
    std::chrono::steady_clock::time_point _lastTry{};
    std::atomic<uint64_t> _sent{0};
    std::atomic<uint64_t> _dropped{0};
    std::atomic<uint64_t> _attempts{0};
};

}  // namespace CfgAgent
