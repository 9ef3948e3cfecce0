#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Dpsim {

// The kernel's default side of KCP: what it answers to each agent message.
class KcpKernel {
public:
    using Message = std::vector<uint8_t>;

    // Messages to send back, in order; none for what needs no answer or does
    // not decode. `connectedVifs` are reported between the ACK and the end of
    // the full sync of a Session Open.
    static std::vector<Message> Answer(std::span<const uint8_t> message,
                                       const std::vector<std::string>& connectedVifs = {});

    // The VIF Update the kernel sends when a VNIC connects or disconnects.
    static bool VifUpdate(const std::string& vifId, bool connect, Message& message);
    // A DP Status Notification; `outOfSync` false says Sync.
    static Message DpStatus(bool outOfSync);
};

}  // namespace Dpsim
