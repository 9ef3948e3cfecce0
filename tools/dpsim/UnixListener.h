#pragma once

#include <string>

namespace Dpsim {

// A listening Unix stream socket at a path, its folder made and any socket
// an earlier run left there removed.
class UnixListener {
public:
    // The listening descriptor, or -1 with the reason.
    static int Listen(const std::string& path, int backlog, std::string& error);
    // Closes a listener and the wake-up descriptor beside it, each set to -1,
    // and removes the socket file; safe to repeat.
    static void Close(const std::string& path, int& listenFd, int& wakeFd);
};

}  // namespace Dpsim
