#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cache/ConfigEntry.h"

namespace CfgAgent {

// The indexed rows of one side of the config table. Lookups by (id, type),
// (id, property), (type, property) and id; stale rows are found by a walk.
// Rows are kept per object, so that an object's id and bookkeeping are
// stored once however many properties it has.
class ConfigEntrySet {
public:
    ConfigEntrySet();
    ~ConfigEntrySet();
    ConfigEntrySet(const ConfigEntrySet&) = delete;
    ConfigEntrySet& operator=(const ConfigEntrySet&) = delete;

    void Insert(ConfigEntry entry);
    // Removes and returns every row of the object.
    std::vector<ConfigEntry> EraseObject(const std::string& id, uint32_t type);
    // Removes and returns every row of that property of the object.
    std::vector<ConfigEntry> EraseProperty(const std::string& id, uint32_t property);
    // Removes and returns the rows last confirmed before `version`.
    std::vector<ConfigEntry> EraseOlderThan(uint32_t version);

    bool HasObject(const std::string& id, uint32_t type) const;
    std::optional<ConfigEntry> FindProperty(const std::string& id, uint32_t property) const;
    // The stored value of one property of one object, without a copy; valid
    // until the set changes.
    const std::string* FindValue(const std::string& id, uint32_t type, uint32_t property) const;
    // The type of the first object with that id, if any.
    std::optional<uint32_t> TypeOf(const std::string& id) const;
    void SetValue(const std::string& id, uint32_t property, std::string value);
    void Confirm(const std::string& id, uint32_t type, uint32_t property, uint32_t version);

    std::vector<ConfigEntry> ByType(uint32_t type, uint32_t property) const;
    std::vector<ConfigEntry> ById(const std::string& id) const;
    std::vector<ConfigEntry> ByIdAndType(const std::string& id, uint32_t type) const;
    // Every row, objects in the order they came, `limit` at most.
    std::vector<ConfigEntry> All(size_t limit = SIZE_MAX) const;

    size_t Count() const { return _count; }
    size_t Bytes() const { return _bytes; }

private:
    struct Index;
    std::unique_ptr<Index> _index;
    size_t _count = 0;
    size_t _bytes = 0;
};

}  // namespace CfgAgent
