#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace CfgAgent {

// What the health monitor needs of the store client: an echo, and the time
// of the last barrier, which counts as an answer too.
class IStoreEcho {
public:
    // Called on the store library's thread; `status` 0 is an answer, `text` its text.
    using EchoCallback = std::function<void(int status, const std::string& text)>;

    // False when the request could not be sent.
    virtual bool Echo(const std::string& text, EchoCallback done) = 0;
    // Steady-clock seconds at the last barrier; 0 before the first.
    virtual uint64_t LastBarrierTime() const = 0;

protected:
    ~IStoreEcho() = default;
};

}  // namespace CfgAgent
