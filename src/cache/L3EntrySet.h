#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cache/L3Entry.h"

namespace CfgAgent {

// The indexed rows of the L3 table. One ordered index on (object type,
// object, property, value) serves the lookups by (id, property), by
// (id, property, value), by id and by (type, property); stale rows are found
// by a walk. An id is stored once, however many rows and types it has.
class L3EntrySet {
public:
    // A stored row; valid until the set changes.
    struct Row;

    // What a lookup found: the first row, and whether there are none, one or
    // more (`count` stops at 2).
    struct Hits {
        const Row* first = nullptr;
        size_t count = 0;
    };

    L3EntrySet();
    ~L3EntrySet();
    L3EntrySet(const L3EntrySet&) = delete;
    L3EntrySet& operator=(const L3EntrySet&) = delete;

    void Insert(const std::string& id, uint32_t objectType, uint32_t propertyType,
                std::string_view value, uint32_t version);

    Hits Property(const std::string& id, uint32_t propertyType) const;
    Hits Value(const std::string& id, uint32_t propertyType, std::string_view value) const;
    static std::string_view ValueOf(const Row* row);

    void Confirm(const Row* row, uint32_t version);
    void Replace(const Row* row, std::string_view value);
    // Removes the row and gives its value.
    std::string Erase(const Row* row);
    // Removes every row at `version`, handing each over as it goes.
    void EraseAt(uint32_t version, const std::function<void(L3Entry&&)>& erased);

    std::vector<L3Entry> ByType(uint32_t objectType, uint32_t propertyType) const;
    std::vector<L3Entry> ByProperty(const std::string& id, uint32_t propertyType) const;
    std::vector<L3Entry> ById(const std::string& id) const;
    // Every row, grouped by object type.
    std::vector<L3Entry> All() const;

    size_t Count() const;
    size_t Bytes() const { return _bytes; }

private:
    struct Rows;
    std::unique_ptr<Rows> _rows;
    size_t _bytes = 0;
};

}  // namespace CfgAgent
