#pragma once

#include <cstdint>
#include <span>

namespace CfgAgent {

// The port session as the converters and other applications use it.
class IConfigApp {
public:
    // Puts a whole KCP message on the port link; false when it could not be queued.
    virtual bool SendToDP(std::span<const uint8_t> message) = 0;

protected:
    ~IConfigApp() = default;
};

}  // namespace CfgAgent
