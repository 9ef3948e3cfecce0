#pragma once

namespace CfgAgent {

// One connected socket of a kernel link, closed when its last holder lets
// go: a loop that still reads or writes it keeps the descriptor, so its
// number cannot pass to another connection under the loop's feet.
class LinkSocket {
public:
    explicit LinkSocket(int fd) : _fd(fd) {}
    ~LinkSocket();
    LinkSocket(const LinkSocket&) = delete;
    LinkSocket& operator=(const LinkSocket&) = delete;

    int Fd() const { return _fd; }
    // Wakes every thread blocked on the socket; the descriptor stays open.
    void Shutdown() const;

private:
    const int _fd;
};

}  // namespace CfgAgent
