#pragma once

#include <boost/asio/io_context.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "TestSupport.h"
#include "frame/AsyncTimer.h"
#include "frame/RefCounter.h"
#include "zef/RefPtr.h"

namespace FrameTest {

// What a timer owner saw. Shared, because an owner may die on an io thread
// after the case that made it has ended.
struct TimerProbe {
    Signal fired;
    std::mutex mutex;
    std::vector<uint64_t> ids;
    bool destroyed = false;

    std::vector<uint64_t> Ids() {
        std::lock_guard<std::mutex> lock(mutex);
        return ids;
    }
    bool Destroyed() {
        std::lock_guard<std::mutex> lock(mutex);
        return destroyed;
    }
};

class TimerOwner : public CfgAgent::RefCounter<TimerOwner> {
public:
    using Timer = CfgAgent::AsyncTimer<TimerOwner>;

    TimerOwner(boost::asio::io_context& context, std::shared_ptr<TimerProbe> probe,
               uint64_t id = Timer::kNoId)
        : probe(std::move(probe)),
          timer(std::make_shared<Timer>(context, &TimerOwner::OnTimer, &TimerOwner::OnTimerId,
                                        this, id)) {}
    ~TimerOwner() {
        std::lock_guard<std::mutex> lock(probe->mutex);
        probe->destroyed = true;
    }

    // Breaks the owner <-> timer cycle, as a real owner's Stop does.
    void Stop() {
        if (timer) {
            timer->Close();
            timer.reset();
        }
    }

    void OnTimer() { Record(Timer::kNoId); }
    void OnTimerId(uint64_t id) { Record(id); }

    std::shared_ptr<TimerProbe> probe;
    std::shared_ptr<Timer> timer;
    // Runs on the io thread after the call is recorded.
    std::function<void(TimerOwner&)> onFire;

private:
    void Record(uint64_t id) {
        {
            std::lock_guard<std::mutex> lock(probe->mutex);
            probe->ids.push_back(id);
        }
        probe->fired.Raise();
        if (onFire) {
            onFire(*this);
        }
    }
};

inline zef::RefPtr<TimerOwner> MakeOwner(boost::asio::io_context& context,
                                         std::shared_ptr<TimerProbe> probe,
                                         uint64_t id = TimerOwner::Timer::kNoId) {
    return zef::MakeRef<TimerOwner>(context, std::move(probe), id);
}

}  // namespace FrameTest
