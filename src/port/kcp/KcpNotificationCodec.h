#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "port/kcp/KcpNotification.h"
#include "dplink/Tlv.h"

namespace CfgAgent {

class KcpNotificationCodec {
public:
    static bool Build(const std::vector<KcpNotification>& notifications,
                      std::vector<uint8_t>& message);
    // False unless the bytes hold a Notification message. A type this codec
    // does not know is kept with its type alone.
    static bool Read(std::span<const uint8_t> bytes, std::vector<KcpNotification>& notifications);
    // One data TLV; false when its value is too short for its type, which
    // ends the walk over the message.
    static bool ReadData(const Tlv& data, KcpNotification& notification);
};

}  // namespace CfgAgent
