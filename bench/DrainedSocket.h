#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <thread>

namespace Bench {

// A connected Unix stream socket whose far end a thread of its own reads and
// throws away, counting the bytes: the cheapest peer a link can have.
class DrainedSocket {
public:
    // Throws std::system_error when the socket pair cannot be made.
    DrainedSocket();
    ~DrainedSocket();
    DrainedSocket(const DrainedSocket&) = delete;
    DrainedSocket& operator=(const DrainedSocket&) = delete;

    // Writes every byte, blocking while the socket is full.
    void Write(std::span<const uint8_t> bytes);
    uint64_t Written() const { return _written; }
    // Returns once the reader has taken everything written so far.
    void WaitDrained() const;

private:
    void Drain();

    int _writer = -1;
    int _reader = -1;
    uint64_t _written = 0;
    std::atomic<uint64_t> _received{0};
    std::thread _thread;
};

}  // namespace Bench
