#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

#include "dplink/DataplaneLink.h"

namespace zef::test {

// The agent's side of a link to the simulator: what the simulator sent and
// the link's ups and downs, each waited for with a generous bound.
class ReceivedMessages {
public:
    using Message = std::vector<uint8_t>;
    static constexpr std::chrono::seconds kBound{20};

    void OnData(const unsigned char* data, int length) {
        std::lock_guard<std::mutex> lock(_mutex);
        _messages.emplace_back(data, data + length);
        _changed.notify_all();
    }
    void OnStatus(CfgAgent::DataplaneLink::LinkStatus status) {
        std::lock_guard<std::mutex> lock(_mutex);
        _up = status == CfgAgent::DataplaneLink::LINK_UP;
        if (!_up) {
            ++_downs;
        }
        _changed.notify_all();
    }
    bool WaitDown() {
        std::unique_lock<std::mutex> lock(_mutex);
        return _changed.wait_for(lock, kBound, [&] { return _downs > 0; });
    }
    bool WaitUp() {
        std::unique_lock<std::mutex> lock(_mutex);
        return _changed.wait_for(lock, kBound, [&] { return _up; });
    }
    bool WaitForMessages(size_t count) {
        std::unique_lock<std::mutex> lock(_mutex);
        return _changed.wait_for(lock, kBound, [&] { return _messages.size() >= count; });
    }
    std::vector<Message> Messages() {
        std::lock_guard<std::mutex> lock(_mutex);
        return _messages;
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    bool _up = false;
    int _downs = 0;
    std::vector<Message> _messages;
};

}  // namespace zef::test
