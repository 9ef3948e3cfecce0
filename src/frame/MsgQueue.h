#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>

#include "log/Logger.h"

namespace CfgAgent {

// Blocking FIFO between producers and one loop. Its mutex is a leaf: never
// held across a call out.
template <typename T>
class MsgQueue {
public:
    static constexpr uint32_t kNoLimit = 0xFFFFFFFF;

    MsgQueue(uint32_t limit, bool blockWhenFull, bool blockWhenEmpty)
        : limit(limit), blockWhenFull(blockWhenFull), blockWhenEmpty(blockWhenEmpty) {}
    MsgQueue(const MsgQueue&) = delete;
    MsgQueue& operator=(const MsgQueue&) = delete;
    ~MsgQueue() { Stop(); }

    bool Put(T item) {
        std::unique_lock<std::mutex> lock(_mutex);
        if (stopping) {
            return false;
        }
        while (limit != kNoLimit && _queue.size() >= limit) {
            if (!blockWhenFull) {
                CFG_LOG(LL_ERROR, "Msg Queue is full!").Tag("errorCode:LCP00008");
                return false;
            }
            ++putWaiters;
            _notFull.wait(lock);
            --putWaiters;
            if (stopping) {
                _left.notify_all();
                return false;
            }
        }
        _queue.push_back(std::move(item));
        if (getWaiters != 0) {
            _notEmpty.notify_all();
        }
        return true;
    }

    // The oldest item; nothing when stopped, or empty and non-blocking.
    std::optional<T> Get() {
        std::unique_lock<std::mutex> lock(_mutex);
        while (_queue.empty()) {
            if (!blockWhenEmpty || stopping) {
                return std::nullopt;
            }
            ++getWaiters;
            _notEmpty.wait(lock);
            --getWaiters;
            if (stopping) {
                _left.notify_all();
                return std::nullopt;
            }
        }
        T item = std::move(_queue.front());
        _queue.pop_front();
        if (putWaiters != 0) {
            _notFull.notify_all();
        }
        return item;
    }

    // Ends the loop on the other side: every waiter leaves with nothing, and a
    // later Get on the empty queue returns at once. Returns when no waiter is left.
    void Stop() {
        std::unique_lock<std::mutex> lock(_mutex);
        stopping = true;
        _notEmpty.notify_all();
        _notFull.notify_all();
        _left.wait(lock, [this] { return getWaiters == 0 && putWaiters == 0; });
    }

    size_t Size() const {
        std::lock_guard<std::mutex> lock(_mutex);
        return _queue.size();
    }

private:
    std::deque<T> _queue;
    const uint32_t limit;
    const bool blockWhenFull;
    int putWaiters = 0;
    const bool blockWhenEmpty;
    int getWaiters = 0;
    bool stopping = false;
    mutable std::mutex _mutex;
    std::condition_variable _notEmpty;
    std::condition_variable _notFull;
    std::condition_variable _left;
};

}  // namespace CfgAgent
