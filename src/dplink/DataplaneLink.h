#pragma once

#include <functional>
#include <cstdint>
#include <mutex>
#include <span>

#include "frame/RefCounter.h"

namespace CfgAgent {

// A counted channel to one kernel module that carries whole framed messages
// both ways and keeps trying to come back when the peer goes away. Bytes 2 and
// 3 of every message hold its total length, big-endian; nothing else of a
// message is looked at.
class DataplaneLink : public RefCounter<DataplaneLink> {
public:
    enum LinkStatus : int {
        LINK_UP = 0,
        LINK_DOWN = 1,
    };

    // Called on the receive thread with a block that is freed when it returns.
    using DataCallback = std::function<void(const unsigned char* message, int length)>;
    // Called with the link mutex held: it may `send`, never `open` or `close`.
    using StatusCallback = std::function<void(DataplaneLink* link, LinkStatus status)>;
    // False means the connection behind the descriptor is dead.
    using LivenessCheck = std::function<bool(int descriptor)>;

    DataplaneLink(DataCallback dataCallback, StatusCallback statusCallback,
                  LivenessCheck livenessCheck);
    virtual ~DataplaneLink();
    DataplaneLink(const DataplaneLink&) = delete;
    DataplaneLink& operator=(const DataplaneLink&) = delete;

    virtual bool open() = 0;
    virtual void close() = 0;
    virtual void scheduleReopen() = 0;
    // Takes ownership of `message`, a block from malloc. `length` is not used:
    // the length on the wire is the one in the message.
    virtual bool send(unsigned char* message, int length) = 0;
    // Sends a copy of `message` in a block of its own.
    bool sendCopy(std::span<const uint8_t> message);
    // Ends the loops and the timer for good and waits for them; the owner's
    // last call before it releases the link. Not from a callback of the link.
    virtual void stop() = 0;

protected:
    DataCallback _dataCallback;
    StatusCallback _statusCallback;
    LivenessCheck _livenessCheck;
    std::mutex _linkMutex;
};

}  // namespace CfgAgent
