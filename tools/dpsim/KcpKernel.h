#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "port/kcp/KcpNotification.h"
#include "port/kcp/KcpUplinkRecord.h"
#include "port/kcp/KcpVifRecord.h"

namespace Dpsim {

// The messages the switching module sends of its own accord.
class KcpKernel {
public:
    using Message = std::vector<uint8_t>;

    // The VIF Update of a VIF connecting, with its Status, MACs and bindings.
    // With more than one piece the report is split the way the kernel cuts a
    // large property value: every piece repeats the headers and the VIF
    // record head and holds one slice of a single property, the bindings if
    // there are any, else the MACs; nothing else of the record goes out.
    static bool VifConnect(const CfgAgent::KcpVifRecord& record, size_t pieces,
                           std::vector<Message>& messages, std::string& error);
    // A DELETE without properties, which the agent reads as the disconnect.
    static bool VifDisconnect(CfgAgent::KcpVifRecord head, bool hotmove, Message& message);
    static bool UplinkUpdate(const CfgAgent::KcpUplinkRecord& uplink, bool add, Message& message);
    // A DP Status Notification; `outOfSync` false says Sync.
    static Message DpStatus(bool outOfSync);
    static Message Notify(const CfgAgent::KcpNotification& notification);
};

}  // namespace Dpsim
