#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace zef::taklink {

// The kernel link family's number; the only family these calls accept.
constexpr int AF_TAKLINK = 27;
// Longest endpoint name; the address always keeps a terminating zero after it.
constexpr size_t kMaxNameLength = 107;

// The address of one kernel endpoint: 110 bytes, the family in host order,
// then the zero-terminated name.
struct TaklinkAddress {
    uint16_t family;
    char name[kMaxNameLength + 1];
};
static_assert(sizeof(TaklinkAddress) == 110);

// The calls of the kernel link family. The host kernel here has no such
// family, so each endpoint is a local stream socket named after the endpoint
// under the host's runtime folder; callers see only the family's calls, and
// every failure comes back as -1 with errno set.
class TaklinkSocket {
public:
    static int Socket(int family, int type, int protocol);
    static int Connect(int fd, const TaklinkAddress& address, size_t addressLength);
    static int SetOption(int fd, int level, int option, const void* value, size_t length);
    static ssize_t Send(int fd, const void* data, size_t length, int flags);
    static ssize_t Recv(int fd, void* data, size_t length, int flags);
    // One descriptor; `revents` gets what came back.
    static int Poll(int fd, short events, int timeoutMs, short& revents);
    // Ends both directions: whoever waits on the descriptor wakes.
    static int Shutdown(int fd);
    static int Close(int fd);

    // Where the endpoint `name` lives on this host.
    static const char* EndpointFolder();
};

}  // namespace zef::taklink
