#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame/IDaemonHealthListener.h"
#include "port/conversion/UplinkInfo.h"
#include "port/conversion/VifInfo.h"

namespace CfgAgent {

// The port bookkeeping and property conversion, as the port session and the
// health monitor drive it. Callers hold agentLock.
class IDVSPropConvertor : public IDaemonHealthListener {
public:
    virtual void ProcessConfigPropertyUpdate(uint32_t objectType, const std::string& id,
                                             uint32_t operation, uint32_t propertyType,
                                             const std::string& value) = 0;
    virtual void ProcessConfigEntityUpdate(uint32_t objectType, const std::string& id,
                                           uint32_t operation) = 0;
    // Re-decides the block state of these ports and of every port of these switches.
    virtual void SendPortUnblockUpdate(const std::vector<std::string>& ports,
                                       const std::vector<std::string>& switches) = 0;
    virtual void ProcessVifInfoUpdate(const VifInfo& vif, uint32_t operation,
                                      bool dpFullSyncDone) = 0;
    virtual void ProcessUplinkUpdate(const UplinkInfo& uplink, uint32_t operation) = 0;
    virtual void ProcessUplinkFullSync(const std::vector<UplinkInfo>& uplinks) = 0;
    virtual void FullSync(bool force) = 0;
    // The kernel's report of a session is complete: what it left out is gone.
    virtual void OnVifReportComplete() = 0;
    virtual void SetPortOutOfSync(const std::string& vifId) = 0;
    virtual void SetTaknicOutOfSync(const std::string& name) = 0;
    // Bit 0 asks for port properties, bit 1 for the port's container list.
    virtual void QueueHotmovePortSync(const std::string& vifId, uint32_t flags) = 0;
    virtual void RemoveFromHotmoveQueue(const std::string& portId) = 0;
    // A new kernel session starts: the VIFs seen in the last one are forgotten.
    virtual void ResetSync() = 0;

protected:
    ~IDVSPropConvertor() = default;
};

}  // namespace CfgAgent
