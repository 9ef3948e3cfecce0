#include "dplink/DataplaneTaklink.h"

#include <poll.h>
#include <sys/socket.h>
#include <syslog.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <thread>
#include <utility>

#include "frame/IoContexts.h"
#include "frame/StageClock.h"
#include "frame/WorkGroup.h"
#include "frame/WorkItemImpl.h"
#include "dplink/LinkSocket.h"
#include "log/Logger.h"
#include "log/SyslogLink.h"
#include "zef/taklink/TaklinkSocket.h"

namespace CfgAgent {

namespace {

using zef::taklink::TaklinkSocket;

constexpr const char* kFamilyLabel = "AF_TAKLINK";
constexpr int kPollTimeoutMs = 1000;
// The kernel hands over whole messages: a rest that does not follow within
// this is a stray or cut message, and only a new connection frames again.
constexpr int kRestTimeoutMs = 5000;
constexpr auto kIdle = std::chrono::seconds(5);
constexpr size_t kHeadLength = 4;

struct FreeBlock {
    void operator()(unsigned char* block) const { std::free(block); }
};
using Block = std::unique_ptr<unsigned char, FreeBlock>;

int MessageLength(const unsigned char* message) { return (message[2] << 8) | message[3]; }

std::string ErrorText(int error) { return std::strerror(error); }

}  // namespace

DataplaneTaklink::DataplaneTaklink(std::string name, DataCallback dataCallback,
                                   StatusCallback statusCallback, LivenessCheck livenessCheck,
                                   uint32_t bufferSize)
    : DataplaneLink(std::move(dataCallback), std::move(statusCallback), std::move(livenessCheck)),
      _name(std::move(name)),
      _bufferSize(bufferSize) {}

DataplaneTaklink::~DataplaneTaklink() {
    _sendQueue.Stop();
    while (std::optional<unsigned char*> message = _sendQueue.Get()) {
        std::free(*message);
    }
}

bool DataplaneTaklink::open() {
    {
        std::lock_guard<std::mutex> lock(_linkMutex);
        connectLink();
    }
    bool startLoops = false;
    {
        std::lock_guard<std::mutex> lock(_timerMutex);
        if (_stopped) {
            return true;
        }
        if (_reopenTimer) {
            _reopenTimer->Close();
        }
        _reopenTimer = std::make_shared<Timer>(IoContexts::Timer(), &DataplaneTaklink::onReopenTimer,
                                               nullptr, this);
        _reopenTimer->Start(kReopenMicros);
        startLoops = !std::exchange(_loopsStarted, true);
    }
    if (startLoops) {
        startLoop(&DataplaneTaklink::receiveLoop);
        startLoop(&DataplaneTaklink::sendLoop);
    }
    return true;
}

void DataplaneTaklink::close() {
    std::shared_ptr<Timer> timer;
    {
        std::lock_guard<std::mutex> lock(_timerMutex);
        timer = std::move(_reopenTimer);
    }
    if (timer) {
        timer->Close();
    }
    std::lock_guard<std::mutex> lock(_linkMutex);
    closeLinkLocked();
}

void DataplaneTaklink::scheduleReopen() {
    {
        std::lock_guard<std::mutex> lock(_timerMutex);
        if (_stopped) {
            return;
        }
        if (_reopenTimer) {
            _reopenTimer->Close();
        }
        _reopenTimer = std::make_shared<Timer>(IoContexts::Timer(), &DataplaneTaklink::onReopenTimer,
                                               nullptr, this);
        _reopenTimer->Start(kReopenMicros);
    }
    CFG_LOG(LL_INFO, "dataplane taklink reopen scheduled");
}

bool DataplaneTaklink::send(unsigned char* message, int /*length*/) {
    if (message == nullptr || !_sendQueue.Put(message)) {
        CFG_LOG(LL_ERROR, "TakLink: failed to put a message into queue").Tag("errorCode:LCP00008");
        std::free(message);
        return false;
    }
    return true;
}

void DataplaneTaklink::stop() {
    std::shared_ptr<Timer> timer;
    {
        std::lock_guard<std::mutex> lock(_timerMutex);
        if (std::exchange(_stopped, true)) {
            return;
        }
        timer = std::move(_reopenTimer);
    }
    _receiveRunning = false;
    _sendRunning = false;
    if (timer) {
        timer->Close();
    }
    {
        std::lock_guard<std::mutex> lock(_linkMutex);
        closeLinkLocked();
    }
    _sendQueue.Stop();
    wakeLoops();
    {
        std::unique_lock<std::mutex> lock(_wakeMutex);
        _wakeCondition.wait(lock, [this] { return _loopsActive == 0; });
    }
    // The cancelled wait holds the timer, and the timer this link, until the
    // timer thread has run it; a stopped context never will.
    const std::weak_ptr<Timer> pending = timer;
    timer.reset();
    const auto deadline = std::chrono::steady_clock::now() + kIdle;
    while (!pending.expired() && !IoContexts::Timer().stopped() &&
           std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void DataplaneTaklink::connectLink() {
    if (_connected && _socket) {
        CFG_LOG(LL_TRACE, "Connection of %1 is OK", kFamilyLabel);
        return;
    }
    const int fd = TaklinkSocket::Socket(zef::taklink::AF_TAKLINK, SOCK_DGRAM, 0);
    int error = errno;
    if (fd < 0) {
        CFG_LOG(LL_ERROR, "Could not open %1 socket: %2, error: %3", kFamilyLabel, fd,
                ErrorText(error))
            .Tag("errorCode:LCP00121");
        return;
    }
    auto socket = std::make_shared<LinkSocket>(fd);
    zef::taklink::TaklinkAddress address{};
    address.family = zef::taklink::AF_TAKLINK;
    std::memcpy(address.name, _name.data(), std::min(_name.size(), zef::taklink::kMaxNameLength));
    if (TaklinkSocket::Connect(fd, address, sizeof(address)) != 0) {
        error = errno;
        CFG_LOG(LL_ERROR, "Could not connect to %1 socket (\"%2\"), error: %3", kFamilyLabel, _name,
                ErrorText(error))
            .Tag("errorCode:LCP00122");
        _connected = false;
        return;
    }
    CFG_LOG(LL_INFO, "connected to %1 socket %2", kFamilyLabel, _name);
    const int size = static_cast<int>(_bufferSize);
    if (TaklinkSocket::SetOption(fd, SOL_SOCKET, SO_SNDBUF, &size, sizeof(size)) != 0) {
        CFG_LOG(LL_ERROR, "Could not set %1 send buffer size: %2", kFamilyLabel, ErrorText(errno))
            .Tag("errorCode:LCP00123");
    } else {
        CFG_LOG(LL_DEBUG, "%1 send buffer set to %2 bytes", kFamilyLabel, size);
    }
    if (TaklinkSocket::SetOption(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof(size)) != 0) {
        CFG_LOG(LL_ERROR, "Could not set %1 receive buffer size: %2", kFamilyLabel,
                ErrorText(errno))
            .Tag("errorCode:LCP00123");
    } else {
        CFG_LOG(LL_DEBUG, "%1 receive buffer set to %2 bytes", kFamilyLabel, size);
    }
    _socket = std::move(socket);
    ++_connection;
    _connected = true;
    wakeLoops();
    if (_statusCallback) {
        _statusCallback(this, LINK_UP);
    }
}

std::pair<std::shared_ptr<const LinkSocket>, uint64_t> DataplaneTaklink::current() {
    std::lock_guard<std::mutex> lock(_linkMutex);
    return {_socket, _connection};
}

bool DataplaneTaklink::isCurrent(uint64_t connection) {
    std::lock_guard<std::mutex> lock(_linkMutex);
    return _connected && connection == _connection;
}

void DataplaneTaklink::closeLink(uint64_t usedConnection) {
    std::lock_guard<std::mutex> lock(_linkMutex);
    if (usedConnection != _connection) {
        return;
    }
    closeLinkLocked();
}

void DataplaneTaklink::closeLinkLocked() {
    if (!_connected) {
        return;
    }
    // The loops still holding the socket see it end and let it go; the
    // last of them closes it.
    _socket->Shutdown();
    _socket.reset();
    _connected = false;
    if (_statusCallback) {
        _statusCallback(this, LINK_DOWN);
    }
}

uint64_t DataplaneTaklink::wakeGeneration() {
    std::lock_guard<std::mutex> lock(_wakeMutex);
    return _wakeGeneration;
}

void DataplaneTaklink::idle(uint64_t generation) {
    std::unique_lock<std::mutex> lock(_wakeMutex);
    _wakeCondition.wait_for(lock, kIdle, [&] { return _wakeGeneration != generation; });
}

void DataplaneTaklink::wakeLoops() {
    {
        std::lock_guard<std::mutex> lock(_wakeMutex);
        ++_wakeGeneration;
    }
    _wakeCondition.notify_all();
}

void DataplaneTaklink::startLoop(void (DataplaneTaklink::*loop)()) {
    {
        std::lock_guard<std::mutex> lock(_wakeMutex);
        ++_loopsActive;
    }
    WorkGroup* group = WorkGroup::Instance();
    if (group == nullptr ||
        !group->Enqueue(std::make_shared<WorkItemImpl<DataplaneTaklink>>(this, loop))) {
        loopEnded();
    }
}

void DataplaneTaklink::loopEnded() {
    {
        std::lock_guard<std::mutex> lock(_wakeMutex);
        --_loopsActive;
    }
    _wakeCondition.notify_all();
}

bool DataplaneTaklink::readFull(int fd, unsigned char* data, size_t length, bool retryOnSignal,
                                ssize_t& result) {
    size_t done = 0;
    while (done < length) {
        short revents = 0;
        const int polled = TaklinkSocket::Poll(fd, POLLIN, kRestTimeoutMs, revents);
        if (polled < 0 && retryOnSignal && errno == EINTR) {
            continue;
        }
        if (polled == 0) {
            CFG_LOG(LL_ERROR, "taklink %1: %2 of %3 bytes came, the rest not within %4 ms", _name, done,
                    length, kRestTimeoutMs);
            errno = ETIMEDOUT;
            result = -1;
            return false;
        }
        const ssize_t got = TaklinkSocket::Recv(fd, data + done, length - done, 0);
        if (got < 1) {
            if (got < 0 && retryOnSignal && errno == EINTR) {
                continue;
            }
            result = got;
            return false;
        }
        done += static_cast<size_t>(got);
    }
    return true;
}

void DataplaneTaklink::receiveLoop() {
    struct Ended {
        DataplaneTaklink* link;
        ~Ended() { link->loopEnded(); }
    } ended{this};

    // A connection this link closed itself ends quietly.
    auto recvError = [this](uint64_t connection, ssize_t result, int error) {
        if (!isCurrent(connection)) {
            return;
        }
        // A peer that closes leaves errno untouched.
        CFG_LOG(LL_ERROR, "taklink %1: recv error: %2:%3", _name, result,
                ErrorText(result == 0 ? ECONNRESET : error))
            .Tag("errorCode:LCP00125");
        closeLink(connection);
    };

    while (_receiveRunning) {
        const uint64_t generation = wakeGeneration();
        const auto [socket, connection] = current();
        if (!socket) {
            idle(generation);
            continue;
        }
        const int fd = socket->Fd();
        short revents = 0;
        const int polled = TaklinkSocket::Poll(fd, POLLIN, kPollTimeoutMs, revents);
        if (polled < 0) {
            const int error = errno;
            if (error == EINTR) {
                continue;
            }
            CFG_LOG(LL_ERROR, "taklink %1: poll error: %2:%3", _name, polled, ErrorText(error))
                .Tag("errorCode:LCP00124");
            closeLink(connection);
            continue;
        }
        if (polled == 0 || (revents & POLLIN) == 0) {
            continue;
        }
        unsigned char head[kHeadLength];
        ssize_t result = 0;
        if (!readFull(fd, head, sizeof(head), false, result)) {
            recvError(connection, result, errno);
            continue;
        }
        const int length = MessageLength(head);
        if (length < static_cast<int>(kHeadLength)) {
            // Cannot hold its own header: the stream can no longer be framed.
            recvError(connection, length, EBADMSG);
            continue;
        }
        Block block(static_cast<unsigned char*>(std::calloc(static_cast<size_t>(length), 1)));
        if (!block) {
            SyslogLink::Process().Send(LOG_ERR, "CFGAGENT_ALLOC_FAIL : CfgAgent error: no memory!");
            std::fflush(nullptr);
            std::exit(1);
        }
        std::memcpy(block.get(), head, sizeof(head));
        if (!readFull(fd, block.get() + kHeadLength, static_cast<size_t>(length) - kHeadLength,
                      true, result)) {
            recvError(connection, result, errno);
            continue;
        }
        CFG_LOG(LL_DEBUG, "takLink %1: received %2 byte from kernel", _name, length);
        if (_dataCallback) {
            _dataCallback(block.get(), length);
        }
    }
}

void DataplaneTaklink::sendLoop() {
    struct Ended {
        DataplaneTaklink* link;
        ~Ended() { link->loopEnded(); }
    } ended{this};

    while (_sendRunning) {
        const uint64_t generation = wakeGeneration();
        if (!_connected) {
            idle(generation);
            continue;
        }
        std::optional<unsigned char*> next = _sendQueue.Get();
        if (!next) {
            continue;
        }
        const Block message(*next);
        const int length = MessageLength(message.get());
        const auto [socket, connection] = current();
        if (!socket) {
            CFG_LOG(LL_ERROR, "TakLink: %1: link down", _name).Tag("errorCode:LCP00127");
            continue;
        }
        const int fd = socket->Fd();
        CFG_LOG(LL_DEBUG, "TakLink: %1: get a message from controller: %2, length: %3", _name,
                static_cast<const void*>(message.get()), length);
        StageScope stage(StageClock::LinkSend);
        int offset = 0;
        while (offset < length) {
            const ssize_t sent = TaklinkSocket::Send(fd, message.get() + offset,
                                                     static_cast<size_t>(length - offset), 0);
            if (sent < 0) {
                if (errno == EINTR) {
                    CFG_LOG(LL_ERROR, "TakLink: %1: hit signal, continue", _name);
                    continue;
                }
                if (isCurrent(connection)) {
                    CFG_LOG(LL_ERROR, "TakLink: %1: link down", _name).Tag("errorCode:LCP00127");
                    closeLink(connection);
                }
                break;
            }
            offset += static_cast<int>(sent);
            CFG_LOG(LL_DEBUG, "TakLink: %1: sending %2 bytes to kernel, left %3, offset %4", _name,
                    sent, length - offset, offset);
        }
    }
}

void DataplaneTaklink::onReopenTimer() {
    {
        std::lock_guard<std::mutex> lock(_timerMutex);
        if (_stopped) {
            return;
        }
    }
    bool alive = true;
    uint64_t checked = 0;
    {
        std::lock_guard<std::mutex> lock(_linkMutex);
        checked = _connection;
        if (_socket && _livenessCheck) {
            alive = _livenessCheck(_socket->Fd());
        }
    }
    if (!alive) {
        closeLink(checked);
    }
    {
        std::lock_guard<std::mutex> lock(_linkMutex);
        connectLink();
    }
    std::lock_guard<std::mutex> lock(_timerMutex);
    if (_reopenTimer && !_stopped) {
        _reopenTimer->Start(kReopenMicros);
    }
}

}  // namespace CfgAgent
