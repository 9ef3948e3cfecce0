#include "cache/L3EntrySet.h"

#include <boost/multi_index/composite_key.hpp>
#include <boost/multi_index/mem_fun.hpp>
#include <boost/multi_index/member.hpp>
#include <boost/multi_index/ordered_index.hpp>
#include <boost/multi_index_container.hpp>
#include <cstring>
#include <map>
#include <tuple>
#include <unordered_map>

namespace CfgAgent {

namespace bmi = boost::multi_index;

// A million routes make several million rows: the object is a number shared
// by its rows, and the value, a next hop or a prefix of 10 to 40 bytes and so
// mostly beyond a string's inline buffer, a block of its own size.
struct L3EntrySet::Row {
    std::unique_ptr<char[]> data;
    uint32_t size = 0;
    uint32_t slot = 0;
    uint32_t objectType = 0;
    uint32_t propertyType = 0;
    mutable uint32_t fullSyncVersion = 0;

    std::string_view Value() const { return {data.get(), size}; }
};

namespace {

using Row = L3EntrySet::Row;

using Container = bmi::multi_index_container<
    Row, bmi::indexed_by<bmi::ordered_non_unique<bmi::composite_key<
             Row, bmi::member<Row, uint32_t, &Row::objectType>,
             bmi::member<Row, uint32_t, &Row::slot>, bmi::member<Row, uint32_t, &Row::propertyType>,
             bmi::const_mem_fun<Row, std::string_view, &Row::Value>>>>>;

constexpr uint32_t kNoSlot = UINT32_MAX;

std::unique_ptr<char[]> Copy(std::string_view value) {
    if (value.empty()) {
        return nullptr;
    }
    auto data = std::make_unique_for_overwrite<char[]>(value.size());
    std::memcpy(data.get(), value.data(), value.size());
    return data;
}

}  // namespace

// A slot is one (id, object type): the type leads the index, so that the rows
// of a type are one range. An id with several types, as a router port and
// its address detection objects, chains its slots.
struct L3EntrySet::Rows {
    struct Slot {
        const std::string* id = nullptr;
        uint32_t objectType = 0;
        uint32_t rows = 0;
        uint32_t next = kNoSlot;
    };

    Container container;
    std::unordered_map<std::string, uint32_t> firstSlot;
    std::vector<Slot> slots;
    std::vector<uint32_t> freeSlots;
    // Rows per generation: at most two live, and a full sync that confirmed
    // every row needs no walk for stale ones.
    std::map<uint32_t, size_t> rowsAt;
    // The id looked up last, found or not: an object's records come one
    // after another, and a new object is looked up before it is inserted.
    mutable std::string lastId;
    mutable uint32_t lastFirst = kNoSlot;
    mutable bool lastValid = false;

    uint32_t First(const std::string& id) const {
        if (lastValid && lastId == id) {
            return lastFirst;
        }
        auto it = firstSlot.find(id);
        lastId.assign(id);
        lastFirst = it == firstSlot.end() ? kNoSlot : it->second;
        lastValid = true;
        return lastFirst;
    }

    template <typename Fn>
    void ForSlots(const std::string& id, Fn&& fn) const {
        for (uint32_t slot = First(id); slot != kNoSlot; slot = slots[slot].next) {
            fn(slot, slots[slot].objectType);
        }
    }

    uint32_t NewSlot(const std::string* id, uint32_t objectType, uint32_t next) {
        uint32_t slot = static_cast<uint32_t>(slots.size());
        if (freeSlots.empty()) {
            slots.emplace_back();
        } else {
            slot = freeSlots.back();
            freeSlots.pop_back();
        }
        slots[slot] = {id, objectType, 0, next};
        return slot;
    }

    uint32_t Acquire(const std::string& id, uint32_t objectType) {
        uint32_t slot = First(id);
        while (slot != kNoSlot && slots[slot].objectType != objectType) {
            slot = slots[slot].next;
        }
        if (slot == kNoSlot) {
            auto it = firstSlot.try_emplace(id, kNoSlot).first;
            slot = NewSlot(&it->first, objectType, it->second);
            it->second = slot;
            lastFirst = slot;  // First(id) just made it the last id
        }
        ++slots[slot].rows;
        return slot;
    }

    void Count(uint32_t version, int delta) {
        auto it = rowsAt.try_emplace(version, 0).first;
        it->second += delta;
        if (it->second == 0) {
            rowsAt.erase(it);
        }
    }

    void Release(uint32_t slot) {
        if (--slots[slot].rows != 0) {
            return;
        }
        auto it = firstSlot.find(*slots[slot].id);
        if (it->second == slot) {
            it->second = slots[slot].next;
        } else {
            uint32_t before = it->second;
            while (slots[before].next != slot) {
                before = slots[before].next;
            }
            slots[before].next = slots[slot].next;
        }
        if (it->second == kNoSlot) {
            firstSlot.erase(it);
        }
        slots[slot] = {};
        freeSlots.push_back(slot);
        lastValid = false;
    }

    L3Entry Entry(const Row& row) const {
        return {*slots[row.slot].id, row.objectType, row.propertyType, std::string(row.Value()),
                row.fullSyncVersion};
    }

    template <typename Range>
    static void Tally(Range range, L3EntrySet::Hits& hits) {
        for (auto it = range.first; it != range.second && hits.count < 2; ++it) {
            if (hits.count++ == 0) {
                hits.first = &*it;
            }
        }
    }

    template <typename Range>
    void Append(Range range, uint32_t propertyType, bool anyProperty,
                std::vector<L3Entry>& entries) const {
        for (auto it = range.first; it != range.second; ++it) {
            if (anyProperty || it->propertyType == propertyType) {
                entries.push_back(Entry(*it));
            }
        }
    }
};

L3EntrySet::L3EntrySet() : _rows(std::make_unique<Rows>()) {}

L3EntrySet::~L3EntrySet() = default;

void L3EntrySet::Insert(const std::string& id, uint32_t objectType, uint32_t propertyType,
                        std::string_view value, uint32_t version) {
    Row row;
    row.data = Copy(value);
    row.size = static_cast<uint32_t>(value.size());
    row.slot = _rows->Acquire(id, objectType);
    row.objectType = objectType;
    row.propertyType = propertyType;
    row.fullSyncVersion = version;
    _rows->container.insert(std::move(row));
    _rows->Count(version, 1);
    _bytes += id.size() + value.size() + 12;
}

L3EntrySet::Hits L3EntrySet::Property(const std::string& id, uint32_t propertyType) const {
    Hits hits;
    _rows->ForSlots(id, [&](uint32_t slot, uint32_t objectType) {
        Rows::Tally(_rows->container.equal_range(std::make_tuple(objectType, slot, propertyType)),
                    hits);
    });
    return hits;
}

L3EntrySet::Hits L3EntrySet::Value(const std::string& id, uint32_t propertyType,
                                   std::string_view value) const {
    Hits hits;
    _rows->ForSlots(id, [&](uint32_t slot, uint32_t objectType) {
        Rows::Tally(
            _rows->container.equal_range(std::make_tuple(objectType, slot, propertyType, value)),
            hits);
    });
    return hits;
}

std::string_view L3EntrySet::ValueOf(const Row* row) {
    return row->Value();
}

void L3EntrySet::Confirm(const Row* row, uint32_t version) {
    _rows->Count(row->fullSyncVersion, -1);
    _rows->Count(version, 1);
    row->fullSyncVersion = version;
}

void L3EntrySet::Replace(const Row* row, std::string_view value) {
    _bytes = _bytes - row->size + value.size();
    _rows->container.modify(_rows->container.iterator_to(*row), [value](Row& changed) {
        changed.data = Copy(value);
        changed.size = static_cast<uint32_t>(value.size());
    });
}

std::string L3EntrySet::Erase(const Row* row) {
    std::string value(row->Value());
    const uint32_t slot = row->slot;
    _bytes -= _rows->slots[slot].id->size() + value.size() + 12;
    _rows->Count(row->fullSyncVersion, -1);
    _rows->container.erase(_rows->container.iterator_to(*row));
    _rows->Release(slot);
    return value;
}

void L3EntrySet::EraseAt(uint32_t version, const std::function<void(L3Entry&&)>& erased) {
    if (_rows->rowsAt.erase(version) == 0) {
        return;
    }
    for (auto it = _rows->container.begin(); it != _rows->container.end();) {
        if (it->fullSyncVersion != version) {
            ++it;
            continue;
        }
        L3Entry entry = _rows->Entry(*it);
        _bytes -= entry.Bytes();
        const uint32_t slot = it->slot;
        it = _rows->container.erase(it);
        _rows->Release(slot);
        erased(std::move(entry));
    }
}

std::vector<L3Entry> L3EntrySet::ByType(uint32_t objectType, uint32_t propertyType) const {
    std::vector<L3Entry> entries;
    _rows->Append(_rows->container.equal_range(std::make_tuple(objectType)), propertyType, false,
                  entries);
    return entries;
}

std::vector<L3Entry> L3EntrySet::ByProperty(const std::string& id, uint32_t propertyType) const {
    std::vector<L3Entry> entries;
    _rows->ForSlots(id, [&](uint32_t slot, uint32_t objectType) {
        _rows->Append(_rows->container.equal_range(std::make_tuple(objectType, slot, propertyType)),
                      propertyType, true, entries);
    });
    return entries;
}

std::vector<L3Entry> L3EntrySet::ById(const std::string& id) const {
    std::vector<L3Entry> entries;
    _rows->ForSlots(id, [&](uint32_t slot, uint32_t objectType) {
        _rows->Append(_rows->container.equal_range(std::make_tuple(objectType, slot)), 0, true,
                      entries);
    });
    return entries;
}

std::vector<L3Entry> L3EntrySet::All() const {
    std::vector<L3Entry> entries;
    entries.reserve(_rows->container.size());
    _rows->Append(std::make_pair(_rows->container.begin(), _rows->container.end()), 0, true,
                  entries);
    return entries;
}

size_t L3EntrySet::Count() const {
    return _rows->container.size();
}

}  // namespace CfgAgent
