#include "DrainedSocket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Bench {

DrainedSocket::DrainedSocket() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    _writer = ends[0];
    _reader = ends[1];
    _thread = std::thread([this] { Drain(); });
}

DrainedSocket::~DrainedSocket() {
    ::shutdown(_writer, SHUT_WR);
    _thread.join();
    ::close(_writer);
    ::close(_reader);
}

void DrainedSocket::Write(std::span<const uint8_t> bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t sent = ::send(_writer, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent < 0) {
            throw std::system_error(errno, std::generic_category(), "send");
        }
        done += static_cast<size_t>(sent);
    }
    _written += bytes.size();
}

void DrainedSocket::WaitDrained() const {
    while (_received.load(std::memory_order_acquire) < _written) {
        std::this_thread::yield();
    }
}

void DrainedSocket::Drain() {
    uint8_t buffer[64 * 1024];
    for (;;) {
        const ssize_t got = ::recv(_reader, buffer, sizeof(buffer), 0);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return;
        }
        _received.fetch_add(static_cast<uint64_t>(got), std::memory_order_release);
    }
}

}  // namespace Bench
