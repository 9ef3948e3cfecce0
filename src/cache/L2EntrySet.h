#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cache/L2Entry.h"

namespace CfgAgent {

// The indexed rows of one side of the L2 table. Rows are found by id; by
// (id, property); by (id, property, key); and by (id, property, value),
// which is the key of the value plus the value itself. Stale rows and rows
// of one object type are found by a walk.
class L2EntrySet {
public:
    L2EntrySet();
    ~L2EntrySet();
    L2EntrySet(const L2EntrySet&) = delete;
    L2EntrySet& operator=(const L2EntrySet&) = delete;

    void Insert(const std::string& id, uint32_t objectType, uint32_t propertyType,
                const std::string& value, L2ValueKey key, uint32_t version);

    // Any row of the id at all.
    bool HasId(const std::string& id) const;
    // The object's own row: property 0, no value.
    bool HasObject(const std::string& id) const;
    bool HasValue(const std::string& id, uint32_t property, L2ValueKey key,
                  const std::string& value) const;
    std::vector<L2Entry> ByKey(const std::string& id, uint32_t property, L2ValueKey key) const;
    std::vector<L2Entry> ById(const std::string& id) const;
    std::vector<L2Entry> ByProperty(const std::string& id, uint32_t property) const;
    std::vector<L2Entry> ByType(uint32_t objectType) const;
    // Every row in the set's order, `limit` at most.
    std::vector<L2Entry> All(size_t limit = SIZE_MAX) const;

    // Sets the generation of the rows with that value, or inserts the value
    // when there is none: true when it did.
    bool ConfirmOrInsert(const std::string& id, uint32_t objectType, uint32_t propertyType,
                         const std::string& value, L2ValueKey key, uint32_t version);
    // Sets the generation of the rows with that value; false when there is none.
    bool Confirm(const std::string& id, uint32_t property, L2ValueKey key, const std::string& value,
                 uint32_t version);

    // Each removes and returns what it removed.
    std::vector<L2Entry> EraseObject(const std::string& id);
    std::vector<L2Entry> EraseProperty(const std::string& id, uint32_t property);
    std::vector<L2Entry> EraseValue(const std::string& id, uint32_t property, L2ValueKey key,
                                    const std::string& value);
    // The rows last confirmed before `version`.
    std::vector<L2Entry> EraseOlderThan(uint32_t version);

    size_t Count() const;
    size_t Bytes() const { return _bytes; }

private:
    struct Rows;
    std::unique_ptr<Rows> _rows;
    size_t _bytes = 0;
};

}  // namespace CfgAgent
