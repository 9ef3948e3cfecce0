#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "frame/AsyncTimer.h"
#include "frame/vocabulary/LoftDBUpdateMsg.h"
#include "port/IDVSPropConvertor.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"

namespace CfgAgent {

class IStateCacheConfigTable;
class PortList;
struct PortEntry;

// The agent's picture of the ports on the host and the conversion of their
// desired state into kernel properties. Everything runs under agentLock.
class DVSPropConvertor : public zef::RefCounted<DVSPropConvertor, zef::IRefCountable>,
                         public IDVSPropConvertor {
public:
    static constexpr uint64_t kHotmoveSyncMicros = 10000000;

    explicit DVSPropConvertor(IStateCacheConfigTable& configTable);
    ~DVSPropConvertor() override;

    void Start();
    void Stop();

    void ProcessConfigPropertyUpdate(uint32_t objectType, const std::string& id,
                                     uint32_t operation, uint32_t propertyType,
                                     const std::string& value) override;
    void ProcessConfigEntityUpdate(uint32_t objectType, const std::string& id,
                                   uint32_t operation) override;
    void SendPortUnblockUpdate(const std::vector<std::string>& ports,
                               const std::vector<std::string>& switches) override;
    void ProcessVifInfoUpdate(const VifInfo& vif, uint32_t operation, bool dpFullSyncDone) override;
    void ProcessUplinkUpdate(const UplinkInfo& uplink, uint32_t operation) override;
    void ProcessUplinkFullSync(const std::vector<UplinkInfo>& uplinks) override;
    void FullSync(bool force) override;
    void OnVifReportComplete() override;
    void SetPortOutOfSync(const std::string& vifId) override;
    void SetTaknicOutOfSync(const std::string& name) override;
    void QueueHotmovePortSync(const std::string& vifId, uint32_t flags) override;
    void RemoveFromHotmoveQueue(const std::string& portId) override;
    void ResetSync() override;
    void OnDaemonHealthStateUpdate(uint32_t value, uint32_t source) override;

    // Whole lists of the session's desired state batches, by object type.
    void ProcessOffloadedHostSwitches(const LoftDBUpdateList& list, bool isFullSync);
    void ProcessCcpSession(const LoftDBUpdateList& list);

    // For the command socket, under agentLock.
    std::vector<PortEntry> Ports() const;
    // The kernel's port and host switch of a connected VIF.
    bool PortOfVif(const std::string& vifId, std::string& portId, std::string& switchId) const;
    std::vector<UplinkInfo> Uplinks() const;
    std::map<std::string, uint32_t> HotmoveQueue() const { return _hotmovePortSyncQueue; }
    bool CcpSessionUp() const;

    // The hotmove sync timer's tick.
    void OnHotmoveSyncTimer();

private:
    using Timer = AsyncTimer<DVSPropConvertor>;

    void HandleVifConnection(const VifInfo& vif);
    void HandleVifDisconnection(const std::string& vifId);
    void RemovePort(const PortEntry& entry);
    bool IsValidPortId(const std::string& portId) const;
    PortEntry CreatePortEntry(const VifInfo& vif) const;
    std::string SwitchOfLogicalPort(const std::string& lspId) const;
    bool HasLogicalPort(const std::string& vifId) const;
    void AddUplink(const UplinkInfo& uplink, const char* format);
    void DeleteUplink(const std::string& name, const char* format);
    void StartHotmoveSyncTimer();
    void LogCcpChange(bool before) const;

    IStateCacheConfigTable& _configTable;
    std::unique_ptr<PortList> _portList;
    std::set<std::string> _fullSyncVifs;
    std::map<std::string, bool> _taknicList;  // name to outOfSync
    std::map<std::string, uint32_t> _hotmovePortSyncQueue;
    std::shared_ptr<Timer> _hotmoveSyncTimer;
    std::set<std::string> _offloadedHostSwitches;
    std::map<std::string, UplinkInfo> _uplinks;
    bool _ccpSessionConnected = false;
    bool _loftdbHealthy = false;
    bool _proxyHealthy = false;
};

}  // namespace CfgAgent
