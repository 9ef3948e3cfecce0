#pragma once

#include <cstdint>
#include <string>

namespace CfgAgent {

// One data TLV of a Notification message. Which fields count depends on
// the type: dpStatus for DP Status, id for the two OutOfSync kinds (a VIF ID
// or a taknic name), id and syncType for the container fullSync.
struct KcpNotification {
    uint16_t type = 0;  // KcpNotificationType
    uint8_t dpStatus = 0;
    std::string id;
    uint16_t syncType = 0;  // KcpSyncType

    bool operator==(const KcpNotification&) const = default;
};

}  // namespace CfgAgent
