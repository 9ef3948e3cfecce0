#include "UnixListener.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace Dpsim {

int UnixListener::Listen(const std::string& path, int backlog, std::string& error) {
    sockaddr_un address{};
    if (path.size() >= sizeof(address.sun_path)) {
        error = "socket path too long: " + path;
        return -1;
    }
    std::error_code failure;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), failure);
    if (failure) {
        error = "cannot make the folder of " + path + ": " + failure.message();
        return -1;
    }
    // A socket left by an earlier run would refuse the bind.
    std::filesystem::remove(path, failure);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(fd, backlog) != 0) {
        error = "cannot listen on " + path + ": " + std::strerror(errno);
        if (fd >= 0) {
            ::close(fd);
        }
        return -1;
    }
    return fd;
}

void UnixListener::Close(const std::string& path, int& listenFd, int& wakeFd) {
    if (listenFd >= 0) {
        ::close(listenFd);
        listenFd = -1;
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    if (wakeFd >= 0) {
        ::close(wakeFd);
        wakeFd = -1;
    }
}

}  // namespace Dpsim
