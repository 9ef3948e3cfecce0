#pragma once

#include <chrono>
#include <cstdint>

namespace CfgAgent {

// The first session ID of a link's owner: the time in microseconds since the
// epoch, cut to 32 bits and spread by the golden ratio, so that a restarted
// agent does not reuse the IDs a kernel may still hold messages of.
class SessionIdSeed {
public:
    static constexpr uint32_t Of(uint64_t micros) { return static_cast<uint32_t>(micros) * 0x9E3779B1u; }
    static uint32_t Now() {
        return Of(static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(
                                            std::chrono::system_clock::now().time_since_epoch())
                                            .count()));
    }
};

}  // namespace CfgAgent
