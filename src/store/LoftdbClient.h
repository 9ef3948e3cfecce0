#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "frame/KeyHash.h"
#include "frame/MsgQueue.h"
#include "frame/vocabulary/ComponentType.h"
#include "frame/vocabulary/LoftDBUpdateMsg.h"
#include "frame/vocabulary/RecordPack.h"
#include "store/ILoftdbClient.h"
#include "store/UpdateQueue.h"
#include "zef/IRefCountable.h"
#include "zef/RefCounted.h"

namespace halden::zef::loftdb {
class MonitorStatementMsg;
class MonitorUpdateMsg;
}  // namespace halden::zef::loftdb

namespace zef::loftdb {
class LoftDbClient;
}
namespace zef::upm {
class UPMService;
}

namespace CfgAgent {

// Gathers the store's monitor updates per component until the store's
// barrier closes the transaction, cleans the transaction and hands it whole
// to the dispatcher; writes runtime state back through a queue of its own.
class LoftdbClient : public zef::RefCounted<LoftdbClient, zef::IRefCountable>, public ILoftdbClient {
public:
    static constexpr int kClientId = 101;

    // A write of the queue: the requests and their write message id.
    struct WriteEntry {
        std::vector<halden::zef::loftdb::ModifyRequestMsg> list;
        uint64_t id = 0;
    };

    LoftdbClient(std::shared_ptr<UpdateQueue> updateQueue, const std::string& endpoint);
    ~LoftdbClient();

    void Start();
    void Stop();

    void Write(const std::vector<halden::zef::loftdb::ModifyRequestMsg>& list) override;
    void WriteRuntimeState(std::vector<halden::zef::loftdb::ModifyRequestMsg> list,
                           std::vector<halden::zef::loftdb::ModifyRequestMsg> last) override;
    void RegisterCradleVifMonitor() override;
    bool Echo(const std::string& text, EchoCallback done) override;
    void ReadObject(uint32_t objectType, const std::string& key, ReadCallback done) override;
    uint32_t VdbId() const override { return vdbId; }
    // The answer to a store barrier: vertical 1 firewall, 3 routing, 10 IDS.
    void WriteProcessedBarrier(uint32_t verticalId, uint64_t barrierNum);

    uint64_t LastBarrierTime() const override { return lastBarrierTime.load(); }
    std::shared_ptr<zef::upm::UPMService> UpmService() const { return upmService; }
    // Each statement registered, in order.
    std::vector<halden::zef::loftdb::MonitorStatementMsg> Statements() const;
    // Updates of a type the agent does not read, dropped since the start.
    uint64_t UnwatchedUpdates() const { return unwatchedUpdates.load(); }

    // The library's callbacks; they run on its one thread.
    void MonitorUpdateCB(const halden::zef::loftdb::MonitorUpdateMsg& update);
    void MonitorBarrierCB();
    void OnChannelStatus(bool up);
    // The write loop, a work item.
    void WriteLoop();

private:
    void RegisterMonitors();
    // Files a decoded update's records with each receiver.
    void Route(LoftDBUpdateList records, std::span<const ComponentType> to);
    void RouteConfig(const LoftDBUpdateList& records);
    // The config cache's share at the barrier: deletes, then the rest.
    void CloseConfigShare();
    static bool MergesAtBarrier(ComponentType component);
    void Merge(LoftDBUpdateList& list);
    void RevertUPMContainerMapping(LoftDBUpdateList& list);
    // The store's share of a transaction: the library's time between two
    // callbacks, from the end of an update to the next callback.
    void StoreWaitBegins();
    void StoreWaitEnded();

    const int clientId = kClientId;
    std::atomic<bool> channelUp{false};
    bool fullSyncDone = false;
    std::vector<halden::zef::loftdb::MonitorStatementMsg> statements;
    // The open transaction: each component's records packed as they come.
    // The two caches whose records merge at the barrier keep lists; the
    // config cache keeps its deletes and its group relations apart.
    std::map<ComponentType, RecordPack> pending;
    std::map<ComponentType, LoftDBUpdateList> pendingLists;
    RecordPack configDeletes;
    LoftDBUpdateList groupRecords;
    std::shared_ptr<UpdateQueue> updateQueue;
    std::unordered_map<std::string, std::list<std::string>, SerializedIdHash> containerMembers;
    std::atomic<uint64_t> lastBarrierTime{0};
    // Updates of a type the agent does not read, dropped.
    std::atomic<uint64_t> unwatchedUpdates{0};
    std::shared_ptr<zef::upm::UPMService> upmService;
    const uint32_t vdbId;
    std::shared_ptr<MsgQueue<std::unique_ptr<WriteEntry>>> writeQueue;
    mutable std::recursive_mutex statementsMutex;
    std::recursive_mutex writeMutex;
    uint64_t transactionId = 0;
    uint64_t callbackEnded = 0;  // on the library's thread only
    uint64_t writeMessageId = 0;
    std::atomic<bool> writing{false};
    // Last: it goes first, so no callback runs into a half-destroyed client.
    std::shared_ptr<zef::loftdb::LoftDbClient> client;
};

}  // namespace CfgAgent
