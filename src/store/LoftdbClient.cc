#include "store/LoftdbClient.h"

#include <google/protobuf/stubs/strutil.h>

#include <algorithm>
#include <chrono>
#include <set>
#include <string_view>
#include <unordered_map>

#include "frame/AgentConfig.h"
#include "frame/DelayLog.h"
#include "frame/NodeType.h"
#include "frame/StageClock.h"
#include "frame/WorkGroup.h"
#include "frame/WorkItemImpl.h"
#include "log/Logger.h"
#include "frame/vocabulary/ObjectType.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "frame/vocabulary/UuidText.h"
#include "loftdb_firewall.pb.h"
#include "loftdb_runtime.pb.h"
#include "loftdb_store.pb.h"
#include "store/Decoder.h"
#include "store/StoreTypes.h"
#include "zef/loftdb/LoftDbClient.h"
#include "zef/loftdb/ObjectTypes.h"
#include "zef/loftdb/OpReflection.h"
#include "zef/upm/UPMService.h"

namespace CfgAgent {

using halden::zef::loftdb::ModifyRequestMsg;
using halden::zef::loftdb::MonitorStatementMsg;
using halden::zef::loftdb::MonitorUpdateMsg;

namespace {

using Select = StoreTypes::Select;

// The select of a monitor: the key and one element of each list, or the
// whole object, asked for with SELECT.
std::string SelectFor(uint32_t type, Select select) {
    auto object = zef::loftdb::ObjectTypes::NewObject(type);
    if (!object || select == Select::None) {
        return {};
    }
    auto op = zef::loftdb::OpReflection::NewOpMessage(object->GetDescriptor());
    if (select == Select::Lists) {
        op->ParseFromString(zef::loftdb::OpReflection::SelectAllLists(object->GetDescriptor()));
        const auto* key = op->GetDescriptor()->FindFieldByNumber(1);
        if (key != nullptr && key->cpp_type() == google::protobuf::FieldDescriptor::CPPTYPE_MESSAGE) {
            zef::loftdb::OpReflection::SetSelf(*op->GetReflection()->MutableMessage(op.get(), key),
                                               zef::loftdb::OpReflection::kSelect);
        }
    } else {
        zef::loftdb::OpReflection::SetSelf(*op, zef::loftdb::OpReflection::kSelect);
    }
    return op->SerializeAsString();
}

MonitorStatementMsg Statement(const StoreTypes::Row& row) {
    MonitorStatementMsg statement;
    statement.mutable_object()->set_object_type(row.type);
    std::string selected = SelectFor(row.type, row.select);
    if (!selected.empty()) {
        statement.mutable_object()->set_select(selected);
    }
    statement.set_mode(row.mode);
    return statement;
}

bool WatchedFromStart(const StoreTypes::Row& row) {
    return row.watch == StoreTypes::Watch::Always ||
           (row.watch == StoreTypes::Watch::SmartnicHost && NodeType::Get() == NodeType::kSmartnicHost);
}

bool IsFibLike(uint32_t type) {
    return type == LOG_SWITCH_FIB || type == ROUTING_DOMAIN_FIB || type == FIB ||
           type == ARP_TABLE_CONFIG;
}

bool Annul(uint32_t earlier, uint32_t later) {
    return (earlier == OP_DELETE && later == OP_UPDATE) || (earlier == OP_REMOVE && later == OP_ADD) ||
           (earlier == OP_UPDATE && later == OP_DELETE) || (earlier == OP_ADD && later == OP_REMOVE);
}

// A full load brings millions of entries: they are known by a hash of
// (id, value), and a hash met twice is checked against the entries.
uint64_t MergeHash(const LoftDBUpdateMsg& record) {
    const uint64_t id = std::hash<std::string_view>{}(record.objectId);
    return id * 0x9E3779B97F4A7C15ull ^ std::hash<std::string_view>{}(record.propertyValue);
}

bool SameEntry(const LoftDBUpdateMsg& a, const LoftDBUpdateMsg& b) {
    return a.objectId == b.objectId && a.propertyValue == b.propertyValue;
}

}  // namespace

LoftdbClient::LoftdbClient(std::shared_ptr<UpdateQueue> queue, const std::string& endpoint)
    : updateQueue(std::move(queue)),
      upmService(std::make_shared<zef::upm::UPMService>()),
      vdbId(NodeType::Get() == NodeType::kSmartnic ? 0 : 1),
      writeQueue(std::make_shared<MsgQueue<std::unique_ptr<WriteEntry>>>(
          MsgQueue<std::unique_ptr<WriteEntry>>::kNoLimit, true, true)),
      client(std::make_shared<zef::loftdb::LoftDbClient>(
          NodeType::Get() == NodeType::kSmartnic ? "sn-cfg-agent" : "cfg-agent", endpoint)) {
    StoreTypes::Check();
}

LoftdbClient::~LoftdbClient() {
    writing = false;
    writeQueue->Stop();
    client->Stop();
}

void LoftdbClient::Start() {
    CFG_LOG(LL_INFO, "LoftdbClient: start");
    client->RegisterChannelStatus([this](bool up) { OnChannelStatus(up); });
    if (NodeType::Get() != NodeType::kSmartnic) {
        RegisterMonitors();
    }
    client->StartAsync();
    CFG_LOG(LL_INFO, "LoftdbClient: registered monitor objects");
    writing = true;
    if (WorkGroup* group = WorkGroup::Instance()) {
        group->Enqueue(std::make_shared<WorkItemImpl<LoftdbClient>>(this, &LoftdbClient::WriteLoop));
    }
}

void LoftdbClient::RegisterMonitors() {
    CFG_LOG(LL_INFO, "LoftdbClient: RegisterMonitorCB vdb id %1", vdbId);
    if (vdbId != 1) {
        client->SetVdb(vdbId);
    }
    client->RegisterMonitor(
        clientId, [this](const MonitorUpdateMsg& update) { MonitorUpdateCB(update); },
        [this] { MonitorBarrierCB(); }, vdbId);
    std::vector<MonitorStatementMsg> all;
    for (const StoreTypes::Row& row : StoreTypes::Rows()) {
        if (WatchedFromStart(row)) {
            all.push_back(Statement(row));
        }
    }
    {
        std::lock_guard<std::recursive_mutex> guard(statementsMutex);
        statements = all;
    }
    if (!client->ConfigureMonitor(all, {}, clientId, vdbId)) {
        CFG_LOG(LL_ERROR, "LoftdbClient: RegisterMonitorCB: Failed to configure monitor for vdb %1",
                vdbId);
    }
}

void LoftdbClient::RegisterCradleVifMonitor() {
    const MonitorStatementMsg statement = Statement(*StoreTypes::Find(CRADLE_CHANNEL_VIF_CONFIG));
    if (client->ConfigureMonitor({statement}, {}, clientId, 1)) {
        std::lock_guard<std::recursive_mutex> guard(statementsMutex);
        statements.push_back(statement);
        CFG_LOG(LL_DEBUG, "LoftdbClient: register Cradle VIF monitor callback");
    }
}

std::vector<MonitorStatementMsg> LoftdbClient::Statements() const {
    std::lock_guard<std::recursive_mutex> guard(statementsMutex);
    return statements;
}

void LoftdbClient::Stop() {
    CFG_LOG(LL_INFO, "LoftdbClient: stop");
    client->ConfigureMonitor({}, Statements(), clientId, vdbId);
    CFG_LOG(LL_INFO, "LoftdbClient: unregistered monitor objects");
    // The write loop drains what is queued, then leaves.
    writing = false;
    writeQueue->Stop();
    client->Stop();
}

bool LoftdbClient::MergesAtBarrier(ComponentType component) {
    return component == L2CACHE || component == L3CACHE;
}

void LoftdbClient::Route(LoftDBUpdateList records, std::span<const ComponentType> to) {
    if (records.empty()) {
        return;
    }
    for (ComponentType component : to) {
        if (MergesAtBarrier(component)) {
            LoftDBUpdateList& list = pendingLists[component];
            // The last receiver takes the records themselves.
            if (component == to.back()) {
                list.splice(list.end(), records);
            } else {
                list.insert(list.end(), records.begin(), records.end());
            }
        } else if (component == CONFIGCACHE) {
            RouteConfig(records);
        } else {
            pending[component].Append(records);
        }
    }
}

void LoftdbClient::RouteConfig(const LoftDBUpdateList& records) {
    RecordPack& others = pending[CONFIGCACHE];
    for (const LoftDBUpdateMsg& record : records) {
        if (record.objectType == ENTITY_GROUP_RELATION && record.propertyType == CONTINER_LOGICAL_SWITCH_PORT) {
            groupRecords.push_back(record);
        } else if (record.operation == OP_DELETE) {
            configDeletes.Append(record);
        } else {
            others.Append(record);
        }
    }
}

void LoftdbClient::MonitorUpdateCB(const MonitorUpdateMsg& update) {
    StoreWaitEnded();
    const uint32_t type = update.object_type();
    if (type == OBJECT_TYPE_INVALID) {
        CFG_LOG(LL_ERROR, "LoftdbClient: received INVALID type msg from LoftDB")
            .Tag("errorCode:LCP00028");
        return;
    }
    const StoreTypes::Row* row = StoreTypes::Find(type);
    if (row == nullptr || (row->watch == StoreTypes::Watch::SmartnicHost && !WatchedFromStart(*row))) {
        ++unwatchedUpdates;
        return;
    }
    for (const StoreTypes::Delivery* delivery : {&row->delivery, &row->second}) {
        if (delivery->decode == nullptr) {
            continue;
        }
        LoftDBUpdateList records;
        {
            StageScope stage(StageClock::Decode);
            records = delivery->decode(update);
            stage.Passes(records.size());
        }
        StageScope stage(StageClock::Transaction);
        Route(std::move(records), delivery->Receivers());
    }
    if (row->startsCradleVifWatch) {
        RegisterCradleVifMonitor();
    }
    StoreWaitBegins();
}

void LoftdbClient::StoreWaitBegins() {
    if (StageClock::Enabled()) {
        callbackEnded = StageClock::Now();
    }
}

void LoftdbClient::StoreWaitEnded() {
    if (callbackEnded != 0) {
        StageClock::Add(StageClock::StoreWait, StageClock::Now() - callbackEnded);
        callbackEnded = 0;
    }
}

void LoftdbClient::Merge(LoftDBUpdateList& list) {
    using Seen = std::unordered_multimap<uint64_t, LoftDBUpdateList::iterator>;
    Seen seen;
    seen.reserve(list.size());
    for (auto it = list.begin(); it != list.end();) {
        if (!IsFibLike(it->objectType)) {
            ++it;
            continue;
        }
        const uint64_t hash = MergeHash(*it);
        auto [first, last] = seen.equal_range(hash);
        auto earlier = std::find_if(first, last, [&](const Seen::value_type& entry) { return SameEntry(*entry.second, *it); });
        const bool known = earlier != last;
        if (known && Annul(earlier->second->operation, it->operation)) {
            CFG_LOG(LL_DEBUG, "LoftdbClient: merge %1 msg (object id %2) property %3: %4",
                    ObjTypeToString(it->objectType), UuidBytesToString(it->objectId),
                    PropertyTypeToString(it->propertyType), google::protobuf::CEscape(it->propertyValue));
            list.erase(earlier->second);
            seen.erase(earlier);
            it = list.erase(it);
            continue;
        }
        if (known && earlier->second->operation == it->operation) {
            CFG_LOG(LL_ERROR,
                    "LoftdbClient: find the same loftdb update %1 msg (object id %2) property %3 "
                    "operation %4: %5",
                    ObjTypeToString(it->objectType), UuidBytesToString(it->objectId),
                    PropertyTypeToString(it->propertyType), it->operation,
                    google::protobuf::CEscape(it->propertyValue))
                .Tag("errorCode:LCP00028");
        }
        if (known) {
            earlier->second = it;
        } else {
            seen.emplace(hash, it);
        }
        ++it;
    }
}

void LoftdbClient::CloseConfigShare() {
    if (configDeletes.Empty() && groupRecords.empty() && pending.count(CONFIGCACHE) == 0) {
        return;
    }
    RecordPack& share = pending[CONFIGCACHE];
    // Group relations become the containers they make, behind the rest.
    RevertUPMContainerMapping(groupRecords);
    for (const LoftDBUpdateMsg& record : groupRecords) {
        (record.operation == OP_DELETE ? configDeletes : share).Append(record);
    }
    groupRecords.clear();
    // Deletes first, so that a table never holds an object and its
    // replacement at once; each kind keeps its order.
    configDeletes.Splice(share);
    share = std::move(configDeletes);
    configDeletes = RecordPack();
}

void LoftdbClient::RevertUPMContainerMapping(LoftDBUpdateList& list) {
    std::set<std::string> touched;
    for (auto it = list.begin(); it != list.end();) {
        if (it->objectType != ENTITY_GROUP_RELATION || it->propertyType != CONTINER_LOGICAL_SWITCH_PORT) {
            ++it;
            continue;
        }
        const std::string& group = it->propertyValue;
        touched.insert(group);
        std::list<std::string>& members = containerMembers[group];
        if (it->operation == OP_UPDATE) {
            members.push_back(it->objectId);
        } else {
            members.remove(it->objectId);
        }
        it = list.erase(it);
    }
    for (const std::string& group : touched) {
        auto found = containerMembers.find(group);
        if (found == containerMembers.end() || found->second.empty()) {
            list.emplace_back(CONTAINER, group, OP_DELETE, std::string(), std::string());
            containerMembers.erase(group);
            CFG_LOG(LL_INFO, "LoftdbClient: RevertUPMContainerMapping CLEAR (%1)",
                    UuidBytesToString(group));
            continue;
        }
        halden::zef::loftdb::ContainerMsg container;
        container.mutable_id()->ParseFromString(group);
        for (const std::string& member : found->second) {
            container.add_members()->ParseFromString(member);
        }
        list.emplace_back(CONTAINER, group, OP_UPDATE, std::string(), std::string());
        list.emplace_back(CONTAINER, group, OP_UPDATE, CONTINER_LOGICAL_SWITCH_PORT,
                          container.SerializeAsString());
        CFG_LOG(LL_INFO, "LoftdbClient: RevertUPMContainerMapping SET (%1) %2",
                UuidBytesToString(group), container.ShortDebugString());
    }
}

void LoftdbClient::MonitorBarrierCB() {
    StoreWaitEnded();
    StageScope stage(StageClock::Transaction);
    lastBarrierTime = static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::seconds>(
            std::chrono::steady_clock::now().time_since_epoch())
            .count());
    std::atomic_thread_fence(std::memory_order_seq_cst);
    const bool isFullSync = channelUp.load() && !fullSyncDone;
    if (isFullSync) {
        fullSyncDone = true;
        containerMembers.clear();
        for (uint32_t component = CONFIGCACHE; component <= BFD; ++component) {
            pending[static_cast<ComponentType>(component)];
        }
    }
    for (auto& [cache, list] : pendingLists) {
        Merge(list);
        pending[cache].Append(list);
    }
    pendingLists.clear();
    CloseConfigShare();
    auto transaction = std::make_unique<Transaction>();
    transaction->updates = std::move(pending);
    transaction->isFullSync = isFullSync;
    transaction->transactionId = transactionId;
    if (StageClock::Enabled()) {
        transaction->closedAt = StageClock::Now();
    }
    updateQueue->Put(std::move(transaction));
    pending.clear();
    if (isFullSync) {
        CFG_LOG(LL_INFO, "LoftdbClient: Transaction end (fullsync) ID %1", transactionId);
    } else {
        CFG_LOG(LL_INFO, "LoftdbClient: Transaction end (delta update) ID %1", transactionId);
    }
    ++transactionId;
}

void LoftdbClient::OnChannelStatus(bool up) {
    channelUp = up;
    if (!up) {
        fullSyncDone = false;
    }
    CFG_LOG(LL_WARN, "LoftdbClient: loftdb channel status turns to %1", up ? "UP" : "DOWN");
}

void LoftdbClient::Write(const std::vector<ModifyRequestMsg>& list) {
    if (list.empty()) {
        return;
    }
    std::lock_guard<std::recursive_mutex> guard(writeMutex);
    auto entry = std::make_unique<WriteEntry>();
    entry->list = list;
    entry->id = writeMessageId;
    if (!writeQueue->Put(std::move(entry))) {
        CFG_LOG(LL_ERROR, "LoftdbClient: Fail to put message list into loftdb write queue");
        return;
    }
    if (AgentConfig::Settings().instrumentLoftdbClient) {
        CFG_LOG(LL_INFO, "LoftdbClient: LoftDB write message ID %1", writeMessageId);
    }
    ++writeMessageId;
}

void LoftdbClient::WriteLoop() {
    CFG_LOG(LL_INFO, "LoftdbClient: start thread to write message list to loftdb");
    while (writing || writeQueue->Size() != 0) {
        std::optional<std::unique_ptr<WriteEntry>> next = writeQueue->Get();
        if (!next || !*next || (*next)->list.empty()) {
            continue;
        }
        DelayLog delay(AgentConfig::Settings().instrumentLoftdbClient,
                       "LoftDB modifies message ID " + std::to_string((*next)->id));
        client->Modify((*next)->list, nullptr);
    }
}

void LoftdbClient::WriteProcessedBarrier(uint32_t verticalId, uint64_t barrierNum) {
    if (NodeType::Get() != NodeType::kOther) {
        return;
    }
    CFG_LOG(LL_INFO,
            "LoftdbClient: Get processed barrier update when main vdb is %1, caching for verticalId "
            "%2, barrierNum %3.",
            vdbId, verticalId, barrierNum);
    halden::zef::loftdb::ProcessedBarrierMsg barrier;
    barrier.set_id(verticalId);
    barrier.set_barrier_num(barrierNum);
    ModifyRequestMsg request;
    auto* put = request.add_modify()->mutable_put();
    put->mutable_object()->set_object_type(PROCESSED_BARRIER);
    put->mutable_object()->set_body(barrier.SerializeAsString());
    if (vdbId != 0) {
        put->add_vdb_id(vdbId);
    }
    Write({request});
}

void LoftdbClient::WriteRuntimeState(std::vector<ModifyRequestMsg> list, std::vector<ModifyRequestMsg> last) {
    if (NodeType::Get() != NodeType::kOther) {
        return;
    }
    list.insert(list.end(), std::make_move_iterator(last.begin()),
                std::make_move_iterator(last.end()));
    Write(list);
}

bool LoftdbClient::Echo(const std::string& text, EchoCallback done) {
    if (!client->IsConnected()) {
        return false;
    }
    halden::zef::loftdb::EchoMsg echo;
    echo.set_payload(text);
    client->Echo(echo, [done = std::move(done)](bool ok, const halden::zef::loftdb::EchoMsg& answer) {
        done(ok ? 0 : 1, ok ? answer.payload() : std::string("echo failed"));
    });
    return true;
}

void LoftdbClient::ReadObject(uint32_t objectType, const std::string& key, ReadCallback done) {
    halden::zef::loftdb::ObjectRequestMsg request;
    request.set_object_type(objectType);
    request.add_id(key);
    client->Read(request, std::move(done), vdbId);
}

}  // namespace CfgAgent
