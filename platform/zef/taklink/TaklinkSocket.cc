#include "zef/taklink/TaklinkSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "host/HostPaths.h"

namespace zef::taklink {

const char* TaklinkSocket::EndpointFolder() { return "/var/run/halden/dplink/"; }

int TaklinkSocket::Socket(int family, int type, int protocol) {
    if (family != AF_TAKLINK || type != SOCK_DGRAM || protocol != 0) {
        errno = EAFNOSUPPORT;
        return -1;
    }
    // A stream keeps the message boundaries to the reader; a datagram would
    // cut a message longer than the read.
    return ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

int TaklinkSocket::Connect(int fd, const TaklinkAddress& address, size_t addressLength) {
    if (addressLength != sizeof(TaklinkAddress) || address.family != AF_TAKLINK) {
        errno = EINVAL;
        return -1;
    }
    const std::string name(address.name, strnlen(address.name, kMaxNameLength));
    const std::string path = CfgAgent::HostPaths::Resolve(EndpointFolder()) + name;
    sockaddr_un unixAddress{};
    if (path.size() >= sizeof(unixAddress.sun_path)) {
        errno = ENAMETOOLONG;
        return -1;
    }
    unixAddress.sun_family = AF_UNIX;
    std::memcpy(unixAddress.sun_path, path.data(), path.size());
    return ::connect(fd, reinterpret_cast<const sockaddr*>(&unixAddress), sizeof(unixAddress));
}

int TaklinkSocket::SetOption(int fd, int level, int option, const void* value, size_t length) {
    return ::setsockopt(fd, level, option, value, static_cast<socklen_t>(length));
}

ssize_t TaklinkSocket::Send(int fd, const void* data, size_t length, int flags) {
    // A kernel endpoint raises no signal when it goes away; a local peer would.
    return ::send(fd, data, length, flags | MSG_NOSIGNAL);
}

ssize_t TaklinkSocket::Recv(int fd, void* data, size_t length, int flags) {
    return ::recv(fd, data, length, flags);
}

int TaklinkSocket::Poll(int fd, short events, int timeoutMs, short& revents) {
    pollfd entry{fd, events, 0};
    const int result = ::poll(&entry, 1, timeoutMs);
    revents = result > 0 ? entry.revents : 0;
    return result;
}

int TaklinkSocket::Shutdown(int fd) { return ::shutdown(fd, SHUT_RDWR); }

int TaklinkSocket::Close(int fd) { return ::close(fd); }

}  // namespace zef::taklink
