#pragma once

#include <atomic>

namespace zef::upm {

// Profile and group membership queries of the host. Membership answers come
// with the Parts that ask them; the service has a life cycle of its own.
class UPMService {
public:
    void Start() { _running = true; }
    void Stop() { _running = false; }
    bool IsRunning() const { return _running; }

private:
    std::atomic<bool> _running{false};
};

}  // namespace zef::upm
