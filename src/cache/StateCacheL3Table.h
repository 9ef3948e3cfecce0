#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cache/L3Entry.h"
#include "cache/L3EntrySet.h"
#include "cache/SCL3TableObserver.h"
#include "frame/Component.h"

namespace google::protobuf {
class Message;
}

namespace halden::zef::loftdb {
class ArpEntryMsg;
class BarrierMsg;
class DadProfileConfigMsg;
class FibNextHopMsg;
class GlobalConfigMsg;
class IpPrefixMsg;
class LogRouterConfigMsg;
class LogRouterPortConfigMsg;
class LogRouterPortDadRequestMsg;
class LogRouterPortFibDadStateMsg;
class MulticastConfigMsg;
class NdraProfileConfigMsg;
class PrefixListMsg;
class UuidMsg;
}  // namespace halden::zef::loftdb

namespace CfgAgent {

// The desired state of routing: routers, their ports, routes, ARP tables and
// profiles. Single-valued properties come as updates and deletes, lists
// entry by entry as adds and removes. It is strict: what contradicts its
// rows is logged with a code, dumped and dropped, and the batch goes on.
// Every full sync reaches the observers as one.
class StateCacheL3Table : public zef::RefCounted<StateCacheL3Table, Component> {
public:
    void UpdateDesiredState(const LoftDBUpdateList& list, bool isFullSync) override;
    // Consumes the records as it goes: a full load is never held twice.
    void TakeDesiredState(RecordPack records, bool isFullSync) override;

    bool RegisterDesiredStateObserver(SCL3TableObserver* observer);
    bool UnregisterDesiredStateObserver(SCL3TableObserver* observer);

    bool GetObjectsByType(uint32_t objectType, uint32_t propertyType,
                          std::vector<L3Entry>& entries);
    bool GetObjectProperty(const std::string& id, uint32_t propertyType,
                           std::vector<L3Entry>& entries);
    bool GetObject(const std::string& id, std::vector<L3Entry>& entries);

    // Each finds exactly one row; false when there is none or more than one.
    bool GetRouterPort(const std::string& id, halden::zef::loftdb::LogRouterPortConfigMsg& port);
    bool GetFibRouter(const std::string& fibId, halden::zef::loftdb::UuidMsg& router);
    bool GetFibPrefix(const std::string& fibId, halden::zef::loftdb::IpPrefixMsg& prefix);
    bool GetArpTableRouterPort(const std::string& tableId, halden::zef::loftdb::UuidMsg& port);
    bool GetGlobalConfig(halden::zef::loftdb::GlobalConfigMsg& config);
    bool GetMulticastConfig(const std::string& id, halden::zef::loftdb::MulticastConfigMsg& config);
    bool GetRouter(const std::string& id, halden::zef::loftdb::LogRouterConfigMsg& router);
    bool GetNdraProfile(const std::string& id, halden::zef::loftdb::NdraProfileConfigMsg& profile);
    bool GetDadProfile(const std::string& id, halden::zef::loftdb::DadProfileConfigMsg& profile);
    bool GetPrefixList(const std::string& id, halden::zef::loftdb::PrefixListMsg& list);
    bool GetBarrier(halden::zef::loftdb::BarrierMsg& barrier);
    bool GetFibDadState(const std::string& portId,
                        halden::zef::loftdb::LogRouterPortFibDadStateMsg& state);

    std::vector<halden::zef::loftdb::UuidMsg> GetRouterIds();
    std::vector<halden::zef::loftdb::UuidMsg> GetRouterPortIds();
    bool GetRouterRtxId(const std::string& routerId, uint32_t& rtxId);
    bool GetRouterOfPort(const std::string& portId, halden::zef::loftdb::UuidMsg& router);
    std::vector<halden::zef::loftdb::FibNextHopMsg> GetFibNextHops(const std::string& fibId);
    std::vector<halden::zef::loftdb::ArpEntryMsg> GetArpEntries(const std::string& tableId);
    std::vector<halden::zef::loftdb::LogRouterPortDadRequestMsg> GetDadRequests();
    std::vector<halden::zef::loftdb::LogRouterPortFibDadStateMsg> GetFibDadStates();

    // Every row, for the dumps; the L3 dump has no cap.
    std::vector<L3Entry> Rows();
    size_t Count();
    // The byte account, logged as it is read.
    size_t DesiredSize();

private:
    void Apply(LoftDBUpdateMsg&& record, bool isFullSync, LoftDBUpdateList& changes);
    void ApplySingle(LoftDBUpdateMsg&& record, bool isFullSync, LoftDBUpdateList& changes);
    void ApplyMulti(LoftDBUpdateMsg&& record, bool isFullSync, LoftDBUpdateList& changes);
    void Notify(const LoftDBUpdateList& changes, bool isFullSync);
    // Every row at level 5, only when that level is on.
    void Dump() const;
    // The value of the only row found, parsed; `multiple` is logged with
    // `what` and the table dumped when there are more.
    bool ParseOne(size_t count, std::string_view value, google::protobuf::Message& message,
                  const char* multiple, const std::string& what);
    bool ParseOne(const L3EntrySet::Hits& hits, google::protobuf::Message& message,
                  const char* multiple, const std::string& id);
    bool ParseOneOfType(uint32_t objectType, google::protobuf::Message& message,
                        const char* multiple);

    L3EntrySet _rows;
    uint32_t _fullSyncVersion = 0;
    std::vector<SCL3TableObserver*> _observers;
};

}  // namespace CfgAgent
