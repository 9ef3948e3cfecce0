#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "frame/AsyncTimer.h"
#include "frame/vocabulary/LoftDBUpdateMsg.h"
#include "port/conversion/DPUpdate.h"
#include "port/conversion/ExtraConfigTable.h"
#include "port/conversion/IDVSPropConvertor.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"
#include "zef/RefPtr.h"

namespace halden::zef::loftdb {
class LogSwitchPortAttachmentMsg;
}

namespace CfgAgent {

class IConfigApp;
class IStateCacheConfigTable;
class KCPMsgConvertor;
class PortList;
struct PortEntry;

// The agent's picture of the ports on the host and the conversion of their
// desired state into kernel properties: a property goes to a port only once
// its VIF is connected, and a port's whole set is pushed again whenever the
// kernel may have lost it. Everything runs under agentLock.
class DVSPropConvertor : public zef::RefCounted<DVSPropConvertor, zef::IRefCountable>,
                         public IDVSPropConvertor {
public:
    static constexpr uint64_t kResyncMicros = 10000000;
    static constexpr uint64_t kHotmoveSyncMicros = 10000000;

    DVSPropConvertor(IStateCacheConfigTable& configTable, IConfigApp& configApp);
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
    // GLOBAL_CONFIG objects: their opaque pairs reach the host switches.
    void ProcessGlobalOpaqueConfig(const LoftDBUpdateList& list, bool isFullSync);
    void ProcessCcpSession(const LoftDBUpdateList& list);

    // Pushes the properties of every port marked out of sync, or of all.
    void OnResyncProperty(bool fullSync);
    // Timer ticks.
    void OnResyncTimer();
    void OnHotmoveSyncTimer();

    // For the command socket and tests, under agentLock.
    std::vector<PortEntry> Ports() const;
    std::vector<UplinkInfo> Uplinks() const;
    std::map<std::string, uint32_t> HotmoveQueue() const { return _hotmovePortSyncQueue; }
    bool CcpSessionUp() const;
    // The kernel's port and host switch of a connected VIF.
    bool PortOfVif(const std::string& vifId, std::string& portId, std::string& switchId) const;

    const ExtraConfigTable& PortExtraConfigs() const { return _lspExtraConfigs; }
    const ExtraConfigTable& SwitchExtraConfigs() const { return _lsExtraConfigs; }
    // Child switch attachments: parent LS to (child LS, VLAN), UUID texts.
    const std::multimap<std::string, std::pair<std::string, uint32_t>>& SwitchAttachments() const {
        return _lsAttachmentMap;
    }

    // The block decision for one port: key 101 "true" or "false".
    void BuildBlockUpdate(const PortEntry& port, DPUpdate& update);
    // Every property of one port; false when none could be built.
    bool BuildPortProperties(const PortEntry& port, DPUpdate& update);

private:
    using Timer = AsyncTimer<DVSPropConvertor>;
    using Handler = bool (DVSPropConvertor::*)(const std::string& id, uint32_t operation,
                                               uint32_t propertyType, const std::string& value,
                                               DPUpdate& update);

    void InitHandlerMap();
    void HandleVifConnection(const VifInfo& vif);
    void HandleVifDisconnection(const std::string& vifId);
    bool IsValidPortId(const std::string& portId) const;
    PortEntry CreatePortEntry(const VifInfo& vif) const;
    bool HasLogicalPort(const std::string& vifId) const;
    void AddUplink(const UplinkInfo& uplink, const char* format);
    void DeleteUplink(const std::string& name, const char* format);
    void StartHotmoveSyncTimer();
    void ReportCcpChange(bool before);
    bool Send(const DPUpdate& update);

    // Handlers of stored properties.
    bool HandleLogicalSwitchUpdate(const std::string& id, uint32_t operation, uint32_t propertyType,
                                   const std::string& value, DPUpdate& update);
    bool HandleLogicalPortSwitchId(const std::string& id, uint32_t operation, uint32_t propertyType,
                                   const std::string& value, DPUpdate& update);
    bool HandleLogicalPortAdminState(const std::string& id, uint32_t operation,
                                     uint32_t propertyType, const std::string& value,
                                     DPUpdate& update);
    bool HandleLogicalPortAttachment(const std::string& id, uint32_t operation,
                                     uint32_t propertyType, const std::string& value,
                                     DPUpdate& update);
    bool HandleMacManagement(const std::string& id, uint32_t operation, uint32_t propertyType,
                             const std::string& value, DPUpdate& update);
    bool HandleLogicalPortExtraConfig(const std::string& id, uint32_t operation,
                                      uint32_t propertyType, const std::string& value,
                                      DPUpdate& update);
    bool HandleLogicalSwitchExtraConfig(const std::string& id, uint32_t operation,
                                        uint32_t propertyType, const std::string& value,
                                        DPUpdate& update);
    bool HandleChildLogicalSwitch(const std::string& id, uint32_t operation, uint32_t propertyType,
                                  const std::string& value, DPUpdate& update);
    bool HandleTransportSwitches(const std::string& id, uint32_t operation, uint32_t propertyType,
                                 const std::string& value, DPUpdate& update);
    // The host switches of every stored transport node, and their properties.
    std::vector<std::string> HostSwitchIds();
    void AddForwardingModes(const std::string& transportSwitches,
                            std::vector<DPGlobalProperty>& properties);
    // One extra config pair of a port, or its removal.
    void AddExtraConfig(const PortEntry& port, const std::string& key,
                        const std::optional<std::string>& value, DPUpdate& update);
    void AddSwitchExtraConfigs(const PortEntry& port, const Uuid& ls,
                               const std::vector<ExtraConfigTable::Change>& removed,
                               DPUpdate& update);
    // One switch property for one port; false when it adds nothing.
    bool AddSwitchProperty(const PortEntry& port, const Uuid& ls, uint32_t operation,
                           uint32_t propertyType, const std::string& value, DPUpdate& update);
    bool SwitchHasVniOrVlan(const Uuid& ls);
    DPProperty RemainingVlan(const Uuid& ls, uint32_t removed);
    Uuid LogicalPortOf(const std::string& portId) const;
    void AddSwitchSet(const PortEntry& port, DPUpdate& update);
    bool IsServicePlaneSwitch(const Uuid& ls);
    Uuid ServicePlaneSwitch();
    void OfferSwitchToSpfPorts(const Uuid& ls);
    void SendMacLearnStatic(const PortEntry& port, bool enable);
    void ConnectSpfPort(const VifInfo& vif);
    void UpdateTaknics(const std::string& value, uint32_t operation);
    bool OffloadedOnThisHost(const std::string& hostSwitch) const;
    std::optional<uint32_t> VtepLabelOf(const std::string& device);
    // The known opaque keys as HDS properties of every host switch; a key
    // no longer stored goes out empty, which removes it.
    void AddGlobalOpaque(std::vector<DPGlobalProperty>& properties, const std::vector<std::string>& hostSwitches,
                         bool withRemovals) const;
    void ResyncTaknics(bool fullSync);
    bool TieDvPort(const Uuid& lsp, const halden::zef::loftdb::LogSwitchPortAttachmentMsg& attachment,
                   DPUpdate& update);
    std::vector<PortEntry> PortsOfLogicalPort(const std::string& id) const;

    IStateCacheConfigTable& _configTable;
    zef::RefPtr<KCPMsgConvertor> _kcpMsgConvertor;
    std::unique_ptr<PortList> _portList;
    std::set<std::string> _fullSyncVifs;
    struct Taknic {
        std::string hostSwitch;
        bool outOfSync = true;
    };
    std::map<std::string, Taknic> _taknicList;  // by device name
    std::map<uint16_t, std::string> _globalOpaque;  // HDS key to value
    std::map<uint32_t, Handler> _cfgUpdateHandlerMap;
    std::map<std::string, uint32_t> _hotmovePortSyncQueue;
    std::shared_ptr<Timer> _hotmoveSyncTimer;
    std::shared_ptr<Timer> _resyncTimer;
    std::set<std::string> _offloadedHostSwitches;
    std::map<std::string, UplinkInfo> _uplinks;
    ExtraConfigTable _lspExtraConfigs{ExtraConfigTable::PORTS};
    ExtraConfigTable _lsExtraConfigs{ExtraConfigTable::SWITCHES};
    std::multimap<std::string, std::pair<std::string, uint32_t>> _lsAttachmentMap;
    bool _ccpSessionConnected = false;
    bool _loftdbHealthy = false;
    bool _proxyHealthy = false;
};

}  // namespace CfgAgent
