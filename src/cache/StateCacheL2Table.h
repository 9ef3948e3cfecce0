#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cache/L2Entry.h"
#include "cache/L2EntrySet.h"
#include "cache/SCL2TableObserver.h"
#include "frame/Component.h"

namespace CfgAgent {

// Overlay forwarding entries of logical switches and routing domains: on the
// desired side what the store says of the rest of the network, on the
// runtime side what this host reports of itself. It keeps the two apart, so
// that the host never gets back as remote what it published as local.
class StateCacheL2Table : public zef::RefCounted<StateCacheL2Table, Component> {
public:
    // The dispatcher's entry; what this host reports itself is left out.
    void UpdateDesiredState(const LoftDBUpdateList& list, bool isFullSync) override;
    void TakeDesiredState(RecordPack records, bool isFullSync) override;
    // From the L2 application: what the kernel reports of this host.
    void UpdateRuntimeState(const LoftDBUpdateList& list, bool isFullSync);
    // Drops an object's runtime rows and tells the runtime observers; false
    // when there was no such object.
    bool RemoveLocalObject(const std::string& id);

    bool RegisterDesiredStateObserver(SCL2TableObserver* observer);
    bool RegisterRuntimeStateObserver(SCL2TableObserver* observer);
    bool UnregisterDesiredStateObserver(SCL2TableObserver* observer);
    bool UnregisterRuntimeStateObserver(SCL2TableObserver* observer);

    // The identity of an entry's value; both parts 0 for a property that has none.
    static L2ValueKey GetL2PropertyValueKeyFromString(const std::string& value,
                                                      uint32_t propertyType);

    bool GetDesiredObjectsByType(uint32_t objectType, std::vector<L2Entry>& entries);
    bool GetRuntimeObjectsByType(uint32_t objectType, std::vector<L2Entry>& entries);
    bool GetDesiredObject(const std::string& id, std::vector<L2Entry>& entries);
    bool GetRuntimeObject(const std::string& id, std::vector<L2Entry>& entries);
    // The first desired value of that property whose key's first part is `key`
    // and second part 0: a MAC, an IPv4 address, a label.
    bool GetDesiredValueByKey(const std::string& id, uint32_t propertyType, uint64_t key,
                              std::string& value);
    bool GetDesiredValueByKey128(const std::string& id, uint32_t propertyType, L2ValueKey key,
                                 std::string& value);
    bool GetRuntimeValueByKey128(const std::string& id, uint32_t propertyType, L2ValueKey key,
                                 std::string& value);
    // The object's own runtime row.
    bool HasRuntimeObject(const std::string& id);
    bool HasRuntimeValue(const std::string& id, uint32_t propertyType, const std::string& value);
    bool GetDesiredPropertyValues(const std::string& id, uint32_t propertyType,
                                  std::vector<std::string>& values);
    bool GetRuntimePropertyValues(const std::string& id, uint32_t propertyType,
                                  std::vector<std::string>& values);

    // Rows for dumps, `limit` at most, and the counts they are capped from.
    std::vector<L2Entry> DesiredRows(size_t limit);
    std::vector<L2Entry> RuntimeRows(size_t limit);
    size_t DesiredCount();
    size_t RuntimeCount();
    // The byte accounts, logged as they are read.
    size_t DesiredSize();
    size_t RuntimeSize();
    // The store's first full load has reached the table.
    bool FullLoadDone();

private:
    // One side: its rows, generation, first-update flag and observers.
    struct Side {
        L2EntrySet rows;
        uint32_t version = 0;
        bool updated = false;
        std::vector<SCL2TableObserver*> observers;
    };

    void UpdateDesiredStateInner(const LoftDBUpdateList& list, bool isFullSync, bool filter);
    // The value of the first row with that key; false when there is none.
    static bool FirstByKey(Side& side, const std::string& id, uint32_t propertyType,
                           L2ValueKey key, std::string& value);
    void UpdateL2CacheTable(const LoftDBUpdateList& list, bool isFullSync, Side& side,
                            const char* versionLine, LoftDBUpdateList& changes);
    // A full sync's new generation; the one before is returned.
    static uint32_t BeginFullSync(Side& side, const char* versionLine);
    static void EndFullSync(Side& side, uint32_t before, LoftDBUpdateList& changes);
    // Each takes the record: a change moves on into `changes`.
    void Apply(LoftDBUpdateMsg& record, bool isFullSync, Side& side, LoftDBUpdateList& changes);
    void ApplyDelta(LoftDBUpdateMsg& record, Side& side, LoftDBUpdateList& changes);
    void ApplyFullSync(LoftDBUpdateMsg& record, Side& side, LoftDBUpdateList& changes);
    void ReplaceGroup(LoftDBUpdateMsg& record, Side& side, LoftDBUpdateList& changes);
    void NotifyDesiredChanges(const LoftDBUpdateList& changes, bool isFullSync);
    // What this host reports itself, left out of a desired list.
    bool ReportedHere(const LoftDBUpdateMsg& record);
    std::unique_ptr<LoftDBUpdateList> FilterRuntime(const LoftDBUpdateList& list);
    void FilterDesiredState(const LoftDBUpdateList& list);
    void NotifyDesired(const LoftDBUpdateList& changes, bool flag);
    void NotifyRuntime(const LoftDBUpdateList& changes, bool flag);

    Side _desired;
    Side _runtime;
};

}  // namespace CfgAgent
