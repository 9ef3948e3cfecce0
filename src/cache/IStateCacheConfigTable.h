#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cache/ConfigEntry.h"
#include "frame/vocabulary/LoftDBUpdateMsg.h"

namespace CfgAgent {

class SCConfigTableObserver;

// The config table as applications and the command socket see it.
class IStateCacheConfigTable {
public:
    virtual void UpdateDesiredState(const LoftDBUpdateList& list, bool isFullSync) = 0;
    virtual void UpdateRuntimeState(const LoftDBUpdateList& list, bool isFullSync) = 0;

    virtual bool RegisterDesiredStateObserver(uint32_t objectType, SCConfigTableObserver* observer) = 0;
    virtual bool RegisterRuntimeStateObserver(uint32_t objectType, SCConfigTableObserver* observer) = 0;
    virtual bool UnregisterDesiredStateObserver(SCConfigTableObserver* observer) = 0;
    virtual bool UnregisterRuntimeStateObserver(SCConfigTableObserver* observer) = 0;

    // Every desired row of that type and property; false when there is none.
    virtual bool GetObjectsByType(uint32_t objectType, uint32_t propertyType,
                                  std::vector<ConfigEntry>& rows) = 0;
    // The value of one property of one object.
    virtual bool GetObjectProperty(uint32_t objectType, uint32_t propertyType,
                                   const std::string& id, std::string& value) = 0;
    // The first non-object row of that property of the object.
    virtual bool GetPropertyValue(const std::string& id, uint32_t propertyType,
                                  std::string& value) = 0;
    virtual std::vector<ConfigEntry> GetObjectById(const std::string& id) = 0;
    virtual bool GetRuntimeValue(const std::string& id, uint32_t propertyType, std::string& value) = 0;
    // Ids as UUID text.
    virtual std::vector<std::string> GetIdsOfType(uint32_t objectType) = 0;
    virtual bool GetObjectType(const std::string& id, uint32_t& objectType) = 0;

    // Rows for dumps: desired ones up to `limit`, all runtime ones.
    virtual std::vector<ConfigEntry> DesiredRows(size_t limit) = 0;
    virtual std::vector<ConfigEntry> RuntimeRows() = 0;
    virtual size_t DesiredCount() = 0;
    // The store's first full load has reached the table.
    virtual bool FullLoadDone() = 0;
    // The byte accounts, logged as they are read.
    virtual size_t DesiredSize() = 0;
    virtual size_t RuntimeSize() = 0;

protected:
    ~IStateCacheConfigTable() = default;
};

}  // namespace CfgAgent
