#pragma once

#include <boost/property_tree/ptree_fwd.hpp>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "cache/SCConfigTableObserver.h"
#include "frame/AsyncTimer.h"
#include "frame/Component.h"
#include "dplink/DataplaneLink.h"
#include "port/session/IConfigApp.h"
#include "port/ipdisc/IIpDiscoveryOwner.h"
#include "port/ipdisc/IpDiscEntry.h"
#include "port/conversion/UplinkInfo.h"
#include "zef/RefPtr.h"

namespace zef {
class AsioZefProvider;
}
namespace zef::upm {
class UPMService;
}

namespace CfgAgent {

class DaemonHealthMonitor;
class DVSPropConvertor;
class ILoftdbClient;
class IpDiscovery;
class MsgDispatcher;
class StateCacheConfigTable;
struct KcpVifRecord;

// Owns the port control session with the kernel: the handshake, the kernel's
// reports of VIFs and uplinks turned into runtime state, and desired state of
// switches and ports handed to the converter. Runtime records are held back
// until the kernel's report and IP discovery are both complete.
class ConfigApp : public zef::RefCounted<ConfigApp, Component>,
                  public SCConfigTableObserver,
                  public IConfigApp,
                  public IIpDiscoveryOwner {
public:
    static constexpr uint32_t kBufferSize = 10240;
    static constexpr uint64_t kStatusQueryMicros = 60000000;
    static constexpr uint64_t kHotmoveStatusMicros = 10000000;
    static constexpr std::chrono::milliseconds kHotmoveHold{60000};

    enum SessionState : uint32_t {
        SESSION_NONE = 0,
        SESSION_OPEN_SENT = 1,
        SESSION_ACKED = 2,
        SESSION_REPORTED = 3,
    };

    // Without a provider there is no health monitor, without UPM no profiles.
    ConfigApp(zef::RefPtr<StateCacheConfigTable> configTable, zef::RefPtr<MsgDispatcher> dispatcher,
              ILoftdbClient& loftdbClient, zef::AsioZefProvider* provider = nullptr,
              std::shared_ptr<zef::upm::UPMService> upm = nullptr);
    ~ConfigApp() override;

    // Registers and makes the links; nothing talks to the kernel yet.
    bool Init(const boost::property_tree::ptree& config);
    // The late start: opens the links and starts the status query.
    void Start();
    void Stop();

    void UpdateDesiredState(const LoftDBUpdateList& objects, bool isFullSync) override;
    void ProcessConfigDesiredStateUpdate(const LoftDBUpdateList& updates, bool isFullSync) override;
    void ProcessConfigRuntimeStateUpdate(const LoftDBUpdateList&, bool) override {}
    bool SendToDP(std::span<const uint8_t> message) override;
    void OnIpDiscoveryReady(const LoftDBUpdateList& records, bool vifConnectionUpdate) override;
    bool PortOfVif(const std::string& vifId, std::string& portId, std::string& switchId) override;

    // The kernel link's callbacks.
    void OnData(const unsigned char* message, int length);
    void OnLinkStatus(DataplaneLink* link, DataplaneLink::LinkStatus status);
    // As if the kernel reported that it lost sync: a new session and a full sync.
    void SimulateOutOfSync();
    // Timer ticks.
    void OnStatusQueryTimer();
    void OnHotmoveStatusTimer();

    // For the command socket and tests, under agentLock.
    const zef::RefPtr<DVSPropConvertor>& Convertor() const { return _dvsPropConvertor; }
    const zef::RefPtr<IpDiscovery>& Discovery() const { return _ipDiscovery; }
    uint32_t SessionStateValue() const { return _sessionState; }
    bool DpFullSyncDone() const { return _dpFullSyncDone; }
    bool IpDisFullSyncDone() const { return _ipDisFullSyncDone; }
    std::vector<std::string> PendingHotmoveStatus() const;
    // Whether the health monitor counts the store as connected; false without one.
    bool LoftdbConnected() const;

private:
    using Timer = AsyncTimer<ConfigApp>;

    void StartKernelSession();
    void HandleSessionControl(std::span<const uint8_t> message);
    void HandleFullSyncEnd();
    void HandleUpdate(std::span<const uint8_t> message);
    void HandleUpdateData(std::span<const uint8_t> message);
    void ReportVifInfo(const std::vector<KcpVifRecord>& records, uint8_t operation);
    void HandleVifRecords(const std::vector<KcpVifRecord>& records, uint8_t operation);
    bool HandleVifRecord(const KcpVifRecord& record, bool isDelete, LoftDBUpdateList& batch,
                         std::vector<std::string>& hotmoves, std::vector<std::string>& connected);
    void DropHotmoveStatus(const std::vector<std::string>& connected, LoftDBUpdateList& batch);
    void DeliverVifBatch(LoftDBUpdateList batch, const std::vector<std::string>& hotmoves);
    void HandleUplinks(std::span<const uint8_t> value);
    void HandleNotification(std::span<const uint8_t> message);
    void StartFullSyncWithDp(bool isFullSync, bool batchEmpty);
    void CloseHotmoveStatusTimer();

    zef::RefPtr<StateCacheConfigTable> _configTable;
    zef::RefPtr<MsgDispatcher> _dispatcher;
    ILoftdbClient& _loftdbClient;
    zef::RefPtr<DVSPropConvertor> _dvsPropConvertor;
    zef::RefPtr<IpDiscovery> _ipDiscovery;
    zef::RefPtr<DataplaneLink> _link;
    zef::RefPtr<DaemonHealthMonitor> _healthMonitor;

    bool _dpFullSyncDone = false;
    bool _storeSyncHandled = false;
    bool _linkUp = false;
    bool _ipDisFullSyncDone = false;
    LoftDBUpdateList _fullSyncUpdateList;
    LoftDBUpdateList _deltaUpdateList;
    std::map<std::string, LoftDBUpdateMsg> _ipDisPendingMap;
    std::vector<IpDiscEntry> _ipDisBindingList;
    LoftDBUpdateList _vifConnectList;
    std::atomic<uint32_t> _sessionState{SESSION_NONE};
    std::vector<std::vector<uint8_t>> _fragmentList;
    std::vector<UplinkInfo> _uplinkList;
    std::vector<std::pair<std::string, std::chrono::system_clock::time_point>> _hotmoveStatusList;
    std::shared_ptr<Timer> _statusQueryTimer;
    std::shared_ptr<Timer> _hotmoveStatusTimer;
    std::atomic<uint32_t> _sessionId;
};

}  // namespace CfgAgent
