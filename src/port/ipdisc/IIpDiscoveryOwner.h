#pragma once

#include <string>

#include "frame/vocabulary/LoftDBUpdateMsg.h"

namespace CfgAgent {

// What IP discovery asks of the port session that owns it. Called under agentLock.
class IIpDiscoveryOwner {
public:
    // Discovered bindings (`vifConnectionUpdate` false) or the VIF
    // connections of the kernel's full sync (true).
    virtual void OnIpDiscoveryReady(const LoftDBUpdateList& records, bool vifConnectionUpdate) = 0;
    // The kernel's port and host switch of a connected VIF; false when it is not connected.
    virtual bool PortOfVif(const std::string& vifId, std::string& portId,
                           std::string& switchId) = 0;

protected:
    ~IIpDiscoveryOwner() = default;
};

}  // namespace CfgAgent
