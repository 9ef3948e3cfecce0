#pragma once

#include <boost/property_tree/ptree_fwd.hpp>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "cache/SCConfigTableObserver.h"
#include "cache/SCL2TableObserver.h"
#include "dplink/DataplaneLink.h"
#include "frame/Component.h"
#include "l2/app/IL2App.h"
#include "l2/app/L2VtepGroups.h"
#include "l2/codec/VxlanTypes.h"
#include "zef/RefPtr.h"

namespace CfgAgent {

template <typename T>
class AsyncTimer;
class L2AlarmReporter;
class L2TlvBatch;
class MsgDispatcher;
class StateCacheConfigTable;
class StateCacheL2Table;
class Tlv;
struct VxlanControllerIp;
struct VxlanMacEntry;
struct VxlanQuery;
struct VxlanRdVtepUpdate;
struct VxlanVtepEntry;

// Keeps the kernel's overlay module in step with the store both ways: remote
// VTEPs, MACs and addresses of each joined VNI go down; VNI joins, what the
// host learns and its own VTEPs of routing domains come up into the L2
// table's runtime side, and from there to the store.
class L2App : public zef::RefCounted<L2App, Component>,
              public SCConfigTableObserver,
              public SCL2TableObserver,
              public IL2App {
public:
    static constexpr uint32_t kBufferSize = 4096;
    static constexpr uint64_t kStateQueryMicros = 60000000;
    static constexpr uint32_t kNoSwitchId = 0xFFFFFFFF;
    static constexpr const char* kName = "L2App";

    enum SessionState : uint32_t {
        SESSION_NONE = 0,
        SESSION_OPEN_SENT = 1,
        SESSION_ACKED = 2,
        SESSION_RUNNING = 3,
    };

    struct Vni {
        uint32_t switchId = 0;
        std::string switchUuid;  // the logical switch, serialized; empty until known
    };
    struct RoutingDomain {
        uint32_t switchId = kNoSwitchId;
        std::vector<std::string> switches;
    };

    using LinkFactory = std::function<zef::RefPtr<DataplaneLink>(DataplaneLink::DataCallback,
                                                                 DataplaneLink::StatusCallback)>;

    L2App(zef::RefPtr<StateCacheConfigTable> configTable, zef::RefPtr<StateCacheL2Table> l2Table,
          zef::RefPtr<MsgDispatcher> dispatcher);
    ~L2App() override;

    // Registers and makes the link (the taklink at "taklink.path" unless a
    // factory is given); nothing talks to the kernel yet.
    void Init(const boost::property_tree::ptree& config, LinkFactory makeLink = {});
    // The late start: opens the link and starts the state query.
    void Start();
    void Stop();

    void UpdateDesiredState(const LoftDBUpdateList& objects, bool isFullSync) override;
    void ProcessConfigDesiredStateUpdate(const LoftDBUpdateList& records, bool isFullSync) override;
    void ProcessConfigRuntimeStateUpdate(const LoftDBUpdateList&, bool) override {}
    void ProcessL2DesiredStateUpdate(const LoftDBUpdateList& records, bool isFullSync) override;
    void ProcessL2RuntimeStateUpdate(const LoftDBUpdateList&, bool) override {}

    void SetBfdCallbacks(FullSyncCallback fullSync, VniChangeCallback vniChange, LsVniCallback lsVni) override;
    bool SwitchIdOfVni(uint32_t vni, uint32_t& switchId) const override;
    bool SwitchIdOfRoutingDomain(const std::string& domainId, uint32_t& switchId) const override;
    void SendMessages(const std::vector<Bytes>& messages) override;
    void SendUpdateTlvs(const std::vector<Bytes>& tlvs) override;

    // The link's callbacks and the timer's tick.
    void OnData(const unsigned char* message, int length);
    void OnLinkStatus(DataplaneLink* link, DataplaneLink::LinkStatus status);
    void OnStateQueryTimer();
    // As if the kernel reported that it lost sync: a new session.
    void SimulateOutOfSync();

    // For the command socket and tests, under agentLock.
    uint32_t SessionStateValue() const { return _sessionState; }
    uint32_t SessionId() const { return _sessionId; }
    const std::map<uint32_t, Vni>& VniMap() const { return _vniMap; }
    const std::map<std::string, RoutingDomain>& RoutingDomains() const { return _routingDomains; }
    const std::set<uint32_t>& InstanceSet() const { return _instanceSet; }
    size_t QueuedMessageCount() const;
    const L2VtepGroups& VtepGroups() const { return _vtepGroups; }

private:
    using Timer = AsyncTimer<L2App>;
    struct Batch;
    // One entry of a kernel MAC or VTEP update, as the store's value.
    struct KernelEntry {
        uint32_t propertyType;
        bool removed;
        std::string value;
    };

    bool Send(std::span<const uint8_t> message, int dumpLevel);
    void SendAll(const std::vector<Bytes>& messages, int dumpLevel);
    void SendBatch(const L2TlvBatch& batch);
    void StartSession();
    void SendConfigure();
    void SendRoutingDomainLists();

    // Kernel messages.
    void HandleInternal(uint16_t type, std::span<const uint8_t> message);
    void HandleSessionControl(std::span<const uint8_t> message);
    void HandleFullSyncEnd();
    // The held updates of VNIs whose switch is known.
    LoftDBUpdateList ReleaseQueuedMessages();
    void HandleVniMembership(std::span<const uint8_t> message);
    void VniLeave(uint32_t vni);
    void VniJoin(uint32_t vni, uint32_t switchId);
    // What a joined VNI of a known switch gets: its rows, MAC limit and
    // routing domain.
    void RealizeSwitch(uint32_t vni, const Vni& entry);
    void HandleInstanceChange(std::span<const uint8_t> message);
    void ApplyQueuedInstances();
    void HandleStateReport(std::span<const uint8_t> message);
    void HandleUpdate(std::span<const uint8_t> message);
    bool ReadKernelEntries(const Tlv& data, uint32_t& vni, std::vector<KernelEntry>& entries) const;
    void HandleMacOrVtepUpdate(const Tlv& data, LoftDBUpdateList& records);
    void HandleRdVtepUpdate(const Tlv& data, LoftDBUpdateList& records);
    void HandleGlobalRdVteps(const VxlanRdVtepUpdate& update, LoftDBUpdateList& records);
    void RecordLocalRdVtep(const std::string& domain, uint32_t switchId, const VxlanVtepEntry& vtep,
                           bool removed, LoftDBUpdateList& records);
    void HandleQuery(std::span<const uint8_t> message);
    void AnswerQuery(const VxlanQuery& query, const std::string& switchUuid, L2TlvBatch& answers);
    bool DesiredMac(const std::string& switchUuid, uint64_t mac, VxlanMacEntry& entry) const;

    // Desired state towards the kernel.
    void SendVniMembershipChange(uint32_t vni, uint32_t switchId);
    VxlanControllerIp ControllerIp(uint32_t switchId, uint32_t vni) const;
    Bytes LinkChange(uint32_t switchId, uint32_t vni) const;
    void SyncSwitchToKernel(uint32_t vni, const Vni& entry);
    void AddSwitchChange(const LoftDBUpdateMsg& record, Batch& batch);
    void AddSwitchRow(const LoftDBUpdateMsg& row, uint32_t vni, uint32_t switchId, Batch& batch);
    void AddDomainRow(const LoftDBUpdateMsg& row, bool isDelete, Batch& batch);
    void SyncRoutingDomainToKernel(const std::string& domain);
    void SyncGlobalRoutingDomain();
    // From the switch's stored MAC management.
    void SendMacLimit(const std::string& value, uint32_t vni, uint32_t switchId);
    void DropVtepPairs(std::vector<const LoftDBUpdateMsg*>& records) const;
    void ApplyCcpSession(const LoftDBUpdateMsg& record);
    void ApplyGlobalConfig(const LoftDBUpdateMsg& record);

    // Routing domains.
    void Attach(const std::string& switchUuid, const std::string& domain, LoftDBUpdateList& runtime);
    void Detach(const std::string& switchUuid, const std::string& domain);
    void ReleaseDomainGroups(const std::string& domain, uint32_t switchId);
    void WriteLocalRdVteps(const std::string& domain, uint32_t switchId, LoftDBUpdateList& runtime);
    void SendRoutingDomainId(const std::string& switchUuid, const std::string& domain);
    void SendRoutingDomainItem(uint32_t vni, const VxlanUuid& domain);
    bool GlobalInstance(uint32_t& switchId) const;

    // Logical switches as the config table knows them.
    void OnSwitchVni(const LoftDBUpdateMsg& record, LoftDBUpdateList& runtime);
    void OnSwitchVniDelete(const LoftDBUpdateMsg& record);
    void OnSwitchRoutingDomain(const LoftDBUpdateMsg& record, LoftDBUpdateList& runtime);
    void OnSwitchMacManagement(const LoftDBUpdateMsg& record);
    bool VniOfSwitch(const std::string& switchUuid, uint32_t& vni) const;
    // The joined VNI of the record's switch; null, logged, when the switch
    // has no VNI (at `noVniLevel`) or the kernel did not join it.
    const Vni* JoinedVniOf(const LoftDBUpdateMsg& record, int noVniLevel, const char* noVniLine, uint32_t& vni) const;
    std::string SwitchOfVni(uint32_t vni) const;
    void SetSwitchOfVni(uint32_t vni, Vni& entry, const std::string& switchUuid, const char* line);

    zef::RefPtr<StateCacheConfigTable> _configTable;
    zef::RefPtr<StateCacheL2Table> _l2Table;
    zef::RefPtr<MsgDispatcher> _dispatcher;
    zef::RefPtr<DataplaneLink> _link;
    std::unique_ptr<L2AlarmReporter> _alarmReporter;
    std::shared_ptr<Timer> _stateQueryTimer;

    std::atomic<uint32_t> _sessionId;
    std::atomic<uint32_t> _sessionState{SESSION_NONE};
    bool _inFullSync = false;
    bool _globalRDFullSync = false;
    std::map<uint32_t, Vni> _vniMap;
    // The VNIs the kernel joined since the session opened.
    std::set<uint32_t> _joinedInSession;
    std::map<uint32_t, LoftDBUpdateList> _queuedMessages;
    std::set<uint32_t> _instanceSet;
    std::set<uint32_t> _queuedInstances;
    std::map<std::string, RoutingDomain> _routingDomains;
    std::map<std::string, std::string> _lsToRoutingDomain;
    LoftDBUpdateList _queuedRDVtep;
    LoftDBUpdateList _queuedGlobalRDVtep;
    // The host's own VTEP of each instance's domains, by switch ID.
    std::map<uint32_t, std::string> _localRDVTEP;
    std::map<uint32_t, std::string> _localRDVTEPv6;
    L2VtepGroups _vtepGroups;
    uint32_t _l2GlobalReplicationMode = 0;
    bool _hasReplicationMode = false;
    // The control plane session: status 1 is connected.
    uint32_t _ccpStatus = 2;
    std::string _ccpSessionId;
    uint32_t _ccpAddressType = 0;
    uint32_t _ccpIpv4 = 0;
    VxlanIp _ccpIpv6{};
    // Logical switch and VNI, both ways, as the configuration says.
    std::map<std::string, uint32_t> _vniOfSwitch;
    std::map<uint32_t, std::string> _switchOfVni;

    FullSyncCallback _fullSyncCallback;
    VniChangeCallback _vniChangeCallback;
    LsVniCallback _lsVniCallback;
};

}  // namespace CfgAgent
