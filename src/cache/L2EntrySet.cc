#include "cache/L2EntrySet.h"

#include <boost/multi_index/composite_key.hpp>
#include <boost/multi_index/member.hpp>
#include <boost/multi_index/ordered_index.hpp>
#include <boost/multi_index_container.hpp>

#include <cstring>
#include <string_view>
#include <tuple>
#include <unordered_map>

namespace CfgAgent {

namespace bmi = boost::multi_index;

namespace {

// A stored row. Millions of them make a full table, so the object id is a
// number shared by the object's rows, and the value, mostly 20 to 40 bytes
// and so beyond a string's inline buffer, a block of its own size.
struct Row {
    uint64_t key0 = 0;
    uint64_t key1 = 0;
    std::unique_ptr<char[]> data;
    uint32_t size = 0;
    uint32_t slot = 0;
    uint32_t objectType = 0;
    uint32_t propertyType = 0;
    mutable uint32_t fullSyncVersion = 0;

    std::string_view Value() const { return {data.get(), size}; }
};

using Container = bmi::multi_index_container<
    Row, bmi::indexed_by<bmi::ordered_non_unique<bmi::composite_key<
             Row, bmi::member<Row, uint32_t, &Row::slot>, bmi::member<Row, uint32_t, &Row::propertyType>,
             bmi::member<Row, uint64_t, &Row::key0>, bmi::member<Row, uint64_t, &Row::key1>>>>>;

}  // namespace

// One ordered index serves every lookup by a prefix of (id, property, key).
struct L2EntrySet::Rows {
    struct Slot {
        const std::string* id = nullptr;
        uint32_t rows = 0;
    };

    Container container;
    std::unordered_map<std::string, uint32_t> slotOf;
    std::vector<Slot> slots;
    std::vector<uint32_t> freeSlots;

    std::optional<uint32_t> Find(const std::string& id) const {
        auto it = slotOf.find(id);
        if (it == slotOf.end()) {
            return std::nullopt;
        }
        return it->second;
    }

    uint32_t Acquire(const std::string& id) {
        auto [it, added] = slotOf.try_emplace(id, 0);
        if (added) {
            if (freeSlots.empty()) {
                it->second = static_cast<uint32_t>(slots.size());
                slots.emplace_back();
            } else {
                it->second = freeSlots.back();
                freeSlots.pop_back();
            }
            slots[it->second].id = &it->first;
        }
        ++slots[it->second].rows;
        return it->second;
    }

    void Release(uint32_t slot) {
        if (--slots[slot].rows == 0) {
            slotOf.erase(*slots[slot].id);
            slots[slot].id = nullptr;
            freeSlots.push_back(slot);
        }
    }

    L2Entry Entry(const Row& row) const {
        return {*slots[row.slot].id, row.objectType, row.propertyType, std::string(row.Value()),
                {{row.key0, row.key1}}, row.fullSyncVersion};
    }

    template <typename Range, typename Keep>
    std::vector<L2Entry> Copy(Range range, Keep keep) const {
        std::vector<L2Entry> entries;
        for (auto it = range.first; it != range.second; ++it) {
            if (keep(*it)) {
                entries.push_back(Entry(*it));
            }
        }
        return entries;
    }

    template <typename Range, typename Keep>
    std::vector<L2Entry> Erase(Range range, Keep keep, size_t& bytes) {
        std::vector<L2Entry> erased;
        for (auto it = range.first; it != range.second;) {
            if (!keep(*it)) {
                ++it;
                continue;
            }
            erased.push_back(Entry(*it));
            bytes -= erased.back().Bytes();
            const uint32_t slot = it->slot;
            it = container.erase(it);
            Release(slot);
        }
        return erased;
    }
};

namespace {

constexpr auto kAny = [](const Row&) { return true; };

auto SameValue(const std::string& value) {
    return [&value](const Row& row) { return row.Value() == value; };
}

}  // namespace

L2EntrySet::L2EntrySet() : _rows(std::make_unique<Rows>()) {}

L2EntrySet::~L2EntrySet() = default;

namespace {

Row MakeRow(uint32_t slot, uint32_t objectType, uint32_t propertyType, const std::string& value,
            L2ValueKey key, uint32_t version) {
    Row row;
    row.key0 = key.part[0];
    row.key1 = key.part[1];
    if (!value.empty()) {
        row.data = std::make_unique_for_overwrite<char[]>(value.size());
        std::memcpy(row.data.get(), value.data(), value.size());
    }
    row.size = static_cast<uint32_t>(value.size());
    row.slot = slot;
    row.objectType = objectType;
    row.propertyType = propertyType;
    row.fullSyncVersion = version;
    return row;
}

}  // namespace

void L2EntrySet::Insert(const std::string& id, uint32_t objectType, uint32_t propertyType,
                        const std::string& value, L2ValueKey key, uint32_t version) {
    _rows->container.emplace(
        MakeRow(_rows->Acquire(id), objectType, propertyType, value, key, version));
    _bytes += id.size() + value.size() + 28;
}

bool L2EntrySet::ConfirmOrInsert(const std::string& id, uint32_t objectType,
                                 uint32_t propertyType, const std::string& value, L2ValueKey key,
                                 uint32_t version) {
    const uint32_t slot = _rows->Acquire(id);
    auto range = _rows->container.equal_range(
        std::make_tuple(slot, propertyType, key.part[0], key.part[1]));
    bool found = false;
    for (auto it = range.first; it != range.second; ++it) {
        if (it->Value() == value) {
            it->fullSyncVersion = version;
            found = true;
        }
    }
    if (found) {
        _rows->Release(slot);
        return false;
    }
    // The end of the equal keys is where the row goes: no second descent.
    _rows->container.emplace_hint(range.second,
                                  MakeRow(slot, objectType, propertyType, value, key, version));
    _bytes += id.size() + value.size() + 28;
    return true;
}

bool L2EntrySet::HasId(const std::string& id) const { return _rows->Find(id).has_value(); }

bool L2EntrySet::HasObject(const std::string& id) const {
    static const std::string kNone;
    return HasValue(id, 0, {}, kNone);
}

bool L2EntrySet::HasValue(const std::string& id, uint32_t property, L2ValueKey key,
                          const std::string& value) const {
    auto slot = _rows->Find(id);
    if (!slot) {
        return false;
    }
    auto range = _rows->container.equal_range(
        std::make_tuple(*slot, property, key.part[0], key.part[1]));
    for (auto it = range.first; it != range.second; ++it) {
        if (it->Value() == value) {
            return true;
        }
    }
    return false;
}

std::vector<L2Entry> L2EntrySet::ByKey(const std::string& id, uint32_t property,
                                       L2ValueKey key) const {
    auto slot = _rows->Find(id);
    if (!slot) {
        return {};
    }
    return _rows->Copy(_rows->container.equal_range(
                           std::make_tuple(*slot, property, key.part[0], key.part[1])),
                       kAny);
}

std::vector<L2Entry> L2EntrySet::ById(const std::string& id) const {
    auto slot = _rows->Find(id);
    if (!slot) {
        return {};
    }
    return _rows->Copy(_rows->container.equal_range(std::make_tuple(*slot)), kAny);
}

std::vector<L2Entry> L2EntrySet::ByProperty(const std::string& id, uint32_t property) const {
    auto slot = _rows->Find(id);
    if (!slot) {
        return {};
    }
    return _rows->Copy(_rows->container.equal_range(std::make_tuple(*slot, property)), kAny);
}

std::vector<L2Entry> L2EntrySet::ByType(uint32_t objectType) const {
    return _rows->Copy(std::make_pair(_rows->container.begin(), _rows->container.end()),
                       [objectType](const Row& row) { return row.objectType == objectType; });
}

std::vector<L2Entry> L2EntrySet::All(size_t limit) const {
    std::vector<L2Entry> entries;
    for (const Row& row : _rows->container) {
        if (entries.size() >= limit) {
            break;
        }
        entries.push_back(_rows->Entry(row));
    }
    return entries;
}

bool L2EntrySet::Confirm(const std::string& id, uint32_t property, L2ValueKey key,
                         const std::string& value, uint32_t version) {
    auto slot = _rows->Find(id);
    if (!slot) {
        return false;
    }
    bool found = false;
    auto range = _rows->container.equal_range(
        std::make_tuple(*slot, property, key.part[0], key.part[1]));
    for (auto it = range.first; it != range.second; ++it) {
        if (it->Value() == value) {
            it->fullSyncVersion = version;
            found = true;
        }
    }
    return found;
}

std::vector<L2Entry> L2EntrySet::EraseObject(const std::string& id) {
    auto slot = _rows->Find(id);
    if (!slot) {
        return {};
    }
    return _rows->Erase(_rows->container.equal_range(std::make_tuple(*slot)), kAny, _bytes);
}

std::vector<L2Entry> L2EntrySet::EraseProperty(const std::string& id, uint32_t property) {
    auto slot = _rows->Find(id);
    if (!slot) {
        return {};
    }
    return _rows->Erase(_rows->container.equal_range(std::make_tuple(*slot, property)), kAny,
                        _bytes);
}

std::vector<L2Entry> L2EntrySet::EraseValue(const std::string& id, uint32_t property,
                                            L2ValueKey key, const std::string& value) {
    auto slot = _rows->Find(id);
    if (!slot) {
        return {};
    }
    return _rows->Erase(_rows->container.equal_range(
                            std::make_tuple(*slot, property, key.part[0], key.part[1])),
                        SameValue(value), _bytes);
}

std::vector<L2Entry> L2EntrySet::EraseOlderThan(uint32_t version) {
    return _rows->Erase(std::make_pair(_rows->container.begin(), _rows->container.end()),
                        [version](const Row& row) { return row.fullSyncVersion < version; },
                        _bytes);
}

size_t L2EntrySet::Count() const { return _rows->container.size(); }

}  // namespace CfgAgent
