#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "frame/AsyncTimer.h"
#include "frame/MsgQueue.h"
#include "dplink/DataplaneLink.h"
#include "dplink/LinkSocket.h"

namespace CfgAgent {

// A link over one connected socket of the kernel link family, served by a
// receive loop and a send loop on the work group and a reconnect timer on the
// agent's timer context.
class DataplaneTaklink : public DataplaneLink {
public:
    static constexpr uint64_t kReopenMicros = 5000000;

    DataplaneTaklink(std::string name, DataCallback dataCallback, StatusCallback statusCallback,
                     LivenessCheck livenessCheck, uint32_t bufferSize);
    ~DataplaneTaklink() override;

    bool open() override;
    void close() override;
    void scheduleReopen() override;
    bool send(unsigned char* message, int length) override;
    void stop() override;

    const std::string& name() const { return _name; }

    // Bodies of the work items and the timer.
    void receiveLoop();
    void sendLoop();
    void onReopenTimer();

private:
    using Timer = AsyncTimer<DataplaneTaklink>;

    void connectLink();
    // The current connection's socket, null when down, and its number.
    std::pair<std::shared_ptr<const LinkSocket>, uint64_t> current();
    bool isCurrent(uint64_t connection);
    // `usedConnection` is the connection the caller failed on; a link that
    // has reconnected since is left alone.
    void closeLink(uint64_t usedConnection);
    void closeLinkLocked();
    uint64_t wakeGeneration();
    // Up to 5 seconds, cut short by a new connection or by stop.
    void idle(uint64_t generation);
    void wakeLoops();
    void startLoop(void (DataplaneTaklink::*loop)());
    void loopEnded();
    bool readFull(int fd, unsigned char* data, size_t length, bool retryOnSignal, ssize_t& result);

    const std::string _name;
    const uint32_t _bufferSize;
    std::shared_ptr<LinkSocket> _socket;  // under the link mutex
    std::atomic<uint64_t> _connection{0};
    std::atomic<bool> _connected{false};
    std::atomic<bool> _receiveRunning{true};
    std::atomic<bool> _sendRunning{true};
    MsgQueue<unsigned char*> _sendQueue{MsgQueue<unsigned char*>::kNoLimit, true, true};

    std::mutex _timerMutex;
    std::shared_ptr<Timer> _reopenTimer;
    bool _loopsStarted = false;
    bool _stopped = false;

    std::mutex _wakeMutex;
    std::condition_variable _wakeCondition;
    uint64_t _wakeGeneration = 0;
    int _loopsActive = 0;
};

}  // namespace CfgAgent
