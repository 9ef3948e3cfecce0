#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>

#include "log/Logger.h"
#include "zef/RefPtr.h"

namespace CfgAgent {

// Nanoseconds per unit of an owner's timer interval: microseconds unless an
// owner specialises this.
template <typename T>
struct AsyncTimerUnit {
    static constexpr int64_t kNanos = 1000;
};

// A one-shot timer on an io_context that calls back a member of its counted
// owner. An owner that wants a period starts it again from the callback, and
// drops its handle in its Stop (the timer holds a reference to the owner).
template <typename T>
class AsyncTimer : public std::enable_shared_from_this<AsyncTimer<T>> {
public:
    using Callback = void (T::*)();
    using CallbackWithId = void (T::*)(uint64_t);
    static constexpr uint64_t kNoId = std::numeric_limits<uint64_t>::max();

    AsyncTimer(boost::asio::io_context& context, Callback callback, CallbackWithId callbackWithId,
               T* owner, uint64_t id = kNoId)
        : _timer(context),
          _callback(callback),
          _callbackWithId(callbackWithId),
          _owner(owner),
          _id(id) {
        CFG_LOG(LL_DEBUG, "AsyncTimer construct, timerObj is %1, pObj is %2",
                static_cast<const void*>(this), static_cast<const void*>(owner));
    }
    ~AsyncTimer() {
        boost::system::error_code ignored;
        _timer.cancel(ignored);
        CFG_LOG(LL_DEBUG, "AsyncTimer destruct, timerObj is %1, pObj is %2",
                static_cast<const void*>(this), static_cast<const void*>(_owner.get()));
    }
    AsyncTimer(const AsyncTimer&) = delete;
    AsyncTimer& operator=(const AsyncTimer&) = delete;

    void Start(uint64_t interval) {
        _cancelled = false;
        const int64_t nanos = SaturatingNanos(interval);
        // A new start supersedes the pending wait; its handler sees a stale
        // generation and stays quiet.
        const uint64_t generation = ++_generation;
        _timer.expires_at(SaturatingDeadline(nanos));
        try {
            _timer.async_wait([self = this->shared_from_this(), generation](
                                  const boost::system::error_code& error) {
                self->OnExpiry(error, generation);
            });
        } catch (const boost::system::system_error& e) {
            CFG_LOG(LL_ERROR, "async_wait failed, interval %1 us, error : %2", nanos, e.what())
                .Tag("errorCode:LCP00113");
        }
    }

    void Cancel() {
        _cancelled = true;
        boost::system::error_code error;
        _timer.cancel(error);
        if (error) {
            CFG_LOG(LL_ERROR, "cancel timer failed : %1", error.message());
            return;
        }
        CFG_LOG(LL_DEBUG, "Timer cancelled");
    }

    // For good: a closed timer never calls back again, whatever Start says.
    void Close() {
        _closed = true;
        if (!_cancelled) {
            Cancel();
        }
    }

    bool IsClosed() const { return _closed; }

private:
    static int64_t SaturatingNanos(uint64_t interval) {
        constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
        constexpr uint64_t kUnit = static_cast<uint64_t>(AsyncTimerUnit<T>::kNanos);
        return interval > static_cast<uint64_t>(kMax) / kUnit ? kMax
                                                                : static_cast<int64_t>(interval * kUnit);
    }

    static std::chrono::steady_clock::time_point SaturatingDeadline(int64_t nanos) {
        using Clock = std::chrono::steady_clock;
        const int64_t now =
            std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch())
                .count();
        const int64_t deadline =
            nanos > std::numeric_limits<int64_t>::max() - now ? std::numeric_limits<int64_t>::max()
                                                              : now + nanos;
        return Clock::time_point(std::chrono::nanoseconds(deadline));
    }

    void OnExpiry(const boost::system::error_code& error, uint64_t generation) {
        if (_cancelled || _closed || generation != _generation) {
            CFG_LOG(LL_DEBUG, "Ignoring timer callback triggered for cancelled timer");
            return;
        }
        if (error) {
            CFG_LOG(LL_ERROR, "timer callback failed, Error code : %1, %2", error.category().name(),
                    error.message())
                .Tag("errorCode:LCP00113");
            return;
        }
        if (_id == kNoId) {
            (_owner.get()->*_callback)();
        } else {
            (_owner.get()->*_callbackWithId)(_id);
        }
    }

    boost::asio::steady_timer _timer;
    Callback _callback;
    CallbackWithId _callbackWithId;
    zef::RefPtr<T> _owner;
    const uint64_t _id;
    std::atomic<bool> _cancelled{false};
    std::atomic<bool> _closed{false};
    std::atomic<uint64_t> _generation{0};
};

}  // namespace CfgAgent
