#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cache/SCConfigTableObserver.h"
#include "cache/SCL2TableObserver.h"
#include "frame/Component.h"
#include "l2/bfd/BFDTable.h"
#include "zef/RefPtr.h"

namespace CfgAgent {

class L2App;
class MsgDispatcher;
class StateCacheConfigTable;
class StateCacheL2Table;

// Which pairs of local and remote TEPs the kernel must watch with BFD: a
// session is needed while any switch or routing domain spans both ends. It
// reads the L2 table's desired rows (remote TEPs) and runtime rows (local
// TEPs), keeps the sessions with their reasons, and tells the kernel,
// through the L2 application's session, when a session begins and ends.
class BFDTableApp : public zef::RefCounted<BFDTableApp, Component>,
                    public SCConfigTableObserver,
                    public SCL2TableObserver {
public:
    static constexpr const char* kName = "BFD";

    BFDTableApp(zef::RefPtr<StateCacheConfigTable> configTable, zef::RefPtr<StateCacheL2Table> l2Table,
                zef::RefPtr<L2App> l2App, zef::RefPtr<MsgDispatcher> dispatcher);
    ~BFDTableApp() override;

    void Start();
    void Stop();

    void UpdateDesiredState(const LoftDBUpdateList& list, bool isFullSync) override;
    void ProcessConfigDesiredStateUpdate(const LoftDBUpdateList& list, bool isFullSync) override;
    void ProcessConfigRuntimeStateUpdate(const LoftDBUpdateList&, bool) override {}
    void ProcessL2DesiredStateUpdate(const LoftDBUpdateList& list, bool isFullSync) override;
    void ProcessL2RuntimeStateUpdate(const LoftDBUpdateList& list, bool isFullSync) override;

    // The L2 application's three moments.
    void SyncBFDSessionsToDataplane();
    void OnVniChange(const std::string& switchId, bool joined);
    void OnLsVniChange(const std::string& switchId, uint32_t vni, bool add);

    // For the command socket and tests, under agentLock.
    const BFDTable& Table() const { return _table; }

private:
    using Tlvs = std::vector<std::vector<uint8_t>>;
    // Add or delete; the kernel's sessions follow the same two.
    enum Op { ADD, DELETE };
    // A VTEP group as the store gives it.
    struct Group {
        uint32_t label = 0;
        uint32_t type = 0;
        bool bfd = false;  // activeness by BFD
        std::vector<BfdTep> teps;
    };

    static Op OpOf(uint32_t operation);
    static bool InTnRange(uint32_t label) { return label >= 0x40000 && label < 0x60000; }

    void UpdateBFDTable(const BFDSessionRecord& record, const BFDSessionIDs& ids, Op op, Tlvs& tlvs);
    void UpdateToBFDSessionInDataplane(Tlvs& tlvs, const BfdTep& local, const BfdTep& remote,
                                       const BFDSessionIDs& ids, Op op);
    bool AddSessionTlv(Tlvs& tlvs, uint32_t switchId, const BfdTep& local, const BfdTep& remote, uint32_t vni,
                       const std::string& domain, uint32_t vgLabel, Op op);
    bool SwitchOfLogicalSwitch(const std::string& switchUuid, uint32_t& vni, uint32_t& switchId) const;
    void SendTlvs(const Tlvs& tlvs);

    // The TEPs of an object: the host's (runtime) or the others' (desired).
    std::vector<BfdTep> LocalTeps(const std::string& id) const;
    std::vector<BfdTep> RemoteTeps(const std::string& id) const;
    std::optional<Group> FindGroup(uint32_t label) const;
    static std::optional<Group> ParseGroup(const std::string& value);
    std::optional<std::string> DomainOf(const std::string& switchUuid) const;
    std::vector<std::string> SwitchesOf(const std::string& domain) const;
    bool IsEVPNLogicalSwitch(const std::string& switchUuid) const;
    bool IsTNVtepGroupMsg(uint32_t label) const;

    // The triggers.
    void VNIBasedBFDRemoteL2CacheUpdate(const std::string& switchUuid, const BfdTep& remote, Op op, Tlvs& tlvs);
    void RoutingDomainBasedBFDRemoteL2CacheUpdate(const std::string& domain, const BfdTep& remote, Op op,
                                                  Tlvs& tlvs);
    void VNIBasedBFDLocalL2CacheUpdate(const std::string& switchUuid, const BfdTep& local, Op op, Tlvs& tlvs);
    void RoutingDomainBasedBFDLocalL2CacheUpdate(const std::string& domain, const BfdTep& local, Op op,
                                                 Tlvs& tlvs);
    void RoutingDomainOfLogicalSwitchUpdate(const std::string& switchUuid, const std::string& domain, Op op,
                                            Tlvs& tlvs);
    void HandleStateCacheVNIUpdate(const std::string& switchUuid, Op op, Tlvs& tlvs);
    void UpdateBFDTablebyTNVtepGroupLabel(const std::string& switchUuid, const BfdTep& local, Op op, Tlvs& tlvs);
    void VGLabelBasedBFDRemoteL2CacheUpdate(uint32_t label, const std::string& object, Op op,
                                            const LoftDBUpdateList& batch, Tlvs& tlvs);
    void VGBasedBFDRemoteL2CacheUpdate(const Group& group, Op op, Tlvs& tlvs);
    void SetBFDInfoByTNGroupAndUpdateBFDTable(const BFDSessionIDs& ids, const Group& group, const BfdTep& local,
                                              Op op, Tlvs& tlvs);
    void SetBFDInfoAndUpdateBFDTable(const BFDSessionIDs& ids, const Group& group, const BfdTep& local,
                                     const BfdTep& remote, Op op, Tlvs& tlvs);
    void ApplyGroupLabels(const LoftDBUpdateList& records, Op op, const LoftDBUpdateList& batch, Tlvs& tlvs);

    // Configuration.
    void UpdateRoutingDomainMap(const std::string& value, const std::string& switchUuid, uint32_t operation,
                                Tlvs& tlvs);
    void PushTransportNodeBfd(const std::string& nodeId, const std::string& bfdValue);
    std::optional<std::vector<uint8_t>> BFDPB2TLV(const std::string& nodeId, const std::string& config) const;

    zef::RefPtr<StateCacheConfigTable> _configTable;
    zef::RefPtr<StateCacheL2Table> _l2Table;
    zef::RefPtr<L2App> _l2App;
    zef::RefPtr<MsgDispatcher> _dispatcher;
    BFDTable _table;
    std::map<std::string, uint32_t> _lsVniMap;
    std::map<std::string, std::string> _lsRDMap;
    std::multimap<std::string, std::string> _rdLSMap;
    std::map<std::string, std::vector<std::string>> _routingDomains;
    std::map<std::string, std::set<std::string>> _vgLSMap;  // by the label's text
};

}  // namespace CfgAgent
