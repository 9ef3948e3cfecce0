#pragma once

#include <map>

#include "cache/ConfigEntrySet.h"
#include "cache/IStateCacheConfigTable.h"
#include "cache/ObserverRegistry.h"
#include "cache/SCConfigTableObserver.h"
#include "frame/Component.h"

namespace CfgAgent {

// Objects and properties of the config store types, as opaque values keyed by
// id, on a desired and a runtime side. It turns the store's stream, full
// syncs included, into the smallest stream of changes for its observers.
class StateCacheConfigTable : public zef::RefCounted<StateCacheConfigTable, Component>,
                              public IStateCacheConfigTable {
public:
    void UpdateDesiredState(const LoftDBUpdateList& list, bool isFullSync) override;
    void TakeDesiredState(RecordPack records, bool isFullSync) override;
    void UpdateRuntimeState(const LoftDBUpdateList& list, bool isFullSync) override;

    bool RegisterDesiredStateObserver(uint32_t objectType, SCConfigTableObserver* observer) override;
    bool RegisterRuntimeStateObserver(uint32_t objectType, SCConfigTableObserver* observer) override;
    bool UnregisterDesiredStateObserver(SCConfigTableObserver* observer) override;
    bool UnregisterRuntimeStateObserver(SCConfigTableObserver* observer) override;

    bool GetObjectsByType(uint32_t objectType, uint32_t propertyType,
                          std::vector<ConfigEntry>& rows) override;
    bool GetObjectProperty(uint32_t objectType, uint32_t propertyType, const std::string& id,
                           std::string& value) override;
    bool GetPropertyValue(const std::string& id, uint32_t propertyType, std::string& value) override;
    std::vector<ConfigEntry> GetObjectById(const std::string& id) override;
    bool GetRuntimeValue(const std::string& id, uint32_t propertyType, std::string& value) override;
    std::vector<std::string> GetIdsOfType(uint32_t objectType) override;
    bool GetObjectType(const std::string& id, uint32_t& objectType) override;

    std::vector<ConfigEntry> DesiredRows(size_t limit) override;
    std::vector<ConfigEntry> RuntimeRows() override;
    size_t DesiredCount() override;
    bool FullLoadDone() override;
    size_t DesiredSize() override;
    size_t RuntimeSize() override;

private:
    // One side: its rows, generation, first-update flag and observers.
    struct Side {
        ConfigEntrySet rows;
        uint32_t version = 0;
        bool updated = false;
        ObserverRegistry<SCConfigTableObserver> observers;
    };

    // Applies and consumes the records; false when the call must end without
    // notifying.
    bool Apply(Side& side, LoftDBUpdateList& list, bool isFullSync, bool diffProperties,
               LoftDBUpdateList& changes);
    // A property's new value; true when the record itself is the change.
    bool ApplyValue(Side& side, LoftDBUpdateMsg& record, bool isFullSync, bool diffProperties,
                    bool heard, LoftDBUpdateList& changes);
    void Notify(Side& side, LoftDBUpdateList changes, bool flag, bool desired);
    // Each observer's share of the changes, in the order it must hear them.
    static std::map<SCConfigTableObserver*, LoftDBUpdateList> SortChanges(
        Side& side, LoftDBUpdateList changes, bool flag);
    void Update(Side& side, RecordPack records, bool isFullSync, bool desired);
    bool RegisterObserver(Side& side, const char* sideName, uint32_t objectType,
                          SCConfigTableObserver* observer);
    bool UnregisterObserver(Side& side, const char* sideName, SCConfigTableObserver* observer);

    Side _desired;
    Side _runtime;
};

}  // namespace CfgAgent
