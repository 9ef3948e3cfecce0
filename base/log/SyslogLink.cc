#include "log/SyslogLink.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cstring>
#include <ctime>

#include "host/HostPaths.h"

namespace CfgAgent {

SyslogLink::SyslogLink(std::string path, std::chrono::milliseconds retry)
    : _path(std::move(path)), _retry(retry), _facility(LOG_USER) {}

SyslogLink::~SyslogLink() { Close(); }

SyslogLink& SyslogLink::Process() {
    static SyslogLink link(HostPaths::Resolve(kPath), kRetry);
    return link;
}

void SyslogLink::Open(const char* ident, int option, int facility) {
    std::lock_guard<std::mutex> lock(_mutex);
    _ident = ident != nullptr ? ident : "";
    _withPid = (option & LOG_PID) != 0;
    _facility = facility;
}

void SyslogLink::Send(int priority, std::string_view text) {
    std::lock_guard<std::mutex> lock(_mutex);
    if (!Connected()) {
        ++_dropped;
        return;
    }
    const std::string line = Format(priority, text);
    if (::send(_fd, line.data(), line.size(), MSG_NOSIGNAL) < 0) {
        // The daemon went away or never was: try again, once, later.
        Close();
        ++_dropped;
        return;
    }
    ++_sent;
}

std::string SyslogLink::Format(int priority, std::string_view text) const {
    if ((priority & LOG_FACMASK) == 0) {
        priority |= _facility;
    }
    // The local time's conversion is made once a second.
    thread_local std::time_t second = -1;
    thread_local char stamp[32];
    const std::time_t now = std::time(nullptr);
    if (now != second) {
        std::tm local{};
        localtime_r(&now, &local);
        std::strftime(stamp, sizeof(stamp), "%b %e %H:%M:%S", &local);
        second = now;
    }
    std::string line = "<" + std::to_string(priority) + ">" + stamp + " " + _ident;
    if (_withPid) {
        line += "[" + std::to_string(getpid()) + "]";
    }
    line += ": ";
    line += text;
    return line;
}

bool SyslogLink::Connected() {
    if (_fd >= 0) {
        return true;
    }
    const auto now = std::chrono::steady_clock::now();
    if (_tried && now - _lastTry < _retry) {
        return false;
    }
    _tried = true;
    _lastTry = now;
    ++_attempts;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (_path.size() >= sizeof(address.sun_path)) {
        return false;
    }
    std::memcpy(address.sun_path, _path.data(), _path.size());
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return false;
    }
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        ::close(fd);
        return false;
    }
    _fd = fd;
    return true;
}

void SyslogLink::Close() {
    if (_fd >= 0) {
        ::close(_fd);
        _fd = -1;
    }
}

}  // namespace CfgAgent
