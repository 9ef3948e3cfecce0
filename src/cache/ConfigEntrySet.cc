#include "cache/ConfigEntrySet.h"

#include <boost/multi_index/composite_key.hpp>
#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/member.hpp>
#include <boost/multi_index/sequenced_index.hpp>
#include <boost/multi_index_container.hpp>

namespace CfgAgent {

namespace bmi = boost::multi_index;

namespace {

struct ByIdType {};
struct ByIdProperty {};
struct ByTypeProperty {};
struct ById {};

// A stored row. Value and generation are no index keys: they change in place,
// since re-indexing a row costs as much as the largest group of equal keys
// (every switch shares one (type, property) key).
struct Row {
    std::string objectId;
    uint32_t objectType = 0;
    uint32_t propertyType = 0;
    mutable std::string value;
    mutable uint32_t fullSyncVersion = 0;

    ConfigEntry Entry() const { return {objectId, objectType, propertyType, value, fullSyncVersion}; }
};

using Id = bmi::member<Row, std::string, &Row::objectId>;
using Type = bmi::member<Row, uint32_t, &Row::objectType>;
using Property = bmi::member<Row, uint32_t, &Row::propertyType>;

using Container = bmi::multi_index_container<
    Row, bmi::indexed_by<bmi::sequenced<>,
                         bmi::hashed_non_unique<bmi::tag<ByIdType>, bmi::composite_key<Row, Id, Type>>,
                         bmi::hashed_non_unique<bmi::tag<ByIdProperty>,
                                                bmi::composite_key<Row, Id, Property>>,
                         bmi::hashed_non_unique<bmi::tag<ByTypeProperty>,
                                                bmi::composite_key<Row, Type, Property>>,
                         bmi::hashed_non_unique<bmi::tag<ById>, Id>>>;

template <typename Iterator>
std::vector<ConfigEntry> Copy(Iterator first, Iterator last) {
    std::vector<ConfigEntry> entries;
    for (; first != last; ++first) {
        entries.push_back(first->Entry());
    }
    return entries;
}

template <typename Range>
std::vector<ConfigEntry> Copy(Range range) {
    return Copy(range.first, range.second);
}

}  // namespace

struct ConfigEntrySet::Rows {
    Container container;
};

ConfigEntrySet::ConfigEntrySet() : _rows(std::make_unique<Rows>()) {}

ConfigEntrySet::~ConfigEntrySet() = default;

void ConfigEntrySet::Insert(ConfigEntry entry) {
    _bytes += entry.Bytes();
    _rows->container.push_back({std::move(entry.objectId), entry.objectType, entry.propertyType,
                                std::move(entry.value), entry.fullSyncVersion});
}

template <typename Index, typename Range>
static std::vector<ConfigEntry> EraseRange(Index& index, Range range, size_t& bytes) {
    std::vector<ConfigEntry> erased = Copy(range);
    for (const ConfigEntry& entry : erased) {
        bytes -= entry.Bytes();
    }
    index.erase(range.first, range.second);
    return erased;
}

std::vector<ConfigEntry> ConfigEntrySet::EraseObject(const std::string& id, uint32_t type) {
    auto& index = _rows->container.get<ByIdType>();
    return EraseRange(index, index.equal_range(std::make_tuple(id, type)), _bytes);
}

std::vector<ConfigEntry> ConfigEntrySet::EraseProperty(const std::string& id, uint32_t property) {
    auto& index = _rows->container.get<ByIdProperty>();
    return EraseRange(index, index.equal_range(std::make_tuple(id, property)), _bytes);
}

std::vector<ConfigEntry> ConfigEntrySet::EraseOlderThan(uint32_t version) {
    std::vector<ConfigEntry> erased;
    auto& rows = _rows->container;
    for (auto it = rows.begin(); it != rows.end();) {
        if (it->fullSyncVersion < version) {
            erased.push_back(it->Entry());
            _bytes -= erased.back().Bytes();
            it = rows.erase(it);
        } else {
            ++it;
        }
    }
    return erased;
}

bool ConfigEntrySet::HasObject(const std::string& id, uint32_t type) const {
    return _rows->container.get<ByIdType>().count(std::make_tuple(id, type)) != 0;
}

std::optional<ConfigEntry> ConfigEntrySet::FindProperty(const std::string& id,
                                                        uint32_t property) const {
    const auto& index = _rows->container.get<ByIdProperty>();
    auto it = index.find(std::make_tuple(id, property));
    if (it == index.end()) {
        return std::nullopt;
    }
    return it->Entry();
}

void ConfigEntrySet::SetValue(const std::string& id, uint32_t property, const std::string& value) {
    auto& index = _rows->container.get<ByIdProperty>();
    auto it = index.find(std::make_tuple(id, property));
    if (it != index.end()) {
        _bytes = _bytes - it->value.size() + value.size();
        it->value = value;
    }
}

void ConfigEntrySet::Confirm(const std::string& id, uint32_t type, uint32_t property,
                             uint32_t version) {
    auto& index = _rows->container.get<ByIdProperty>();
    auto range = index.equal_range(std::make_tuple(id, property));
    for (auto it = range.first; it != range.second; ++it) {
        if (it->objectType == type) {
            it->fullSyncVersion = version;
        }
    }
}

std::vector<ConfigEntry> ConfigEntrySet::ByType(uint32_t type, uint32_t property) const {
    return Copy(_rows->container.get<ByTypeProperty>().equal_range(std::make_tuple(type, property)));
}

std::vector<ConfigEntry> ConfigEntrySet::ById(const std::string& id) const {
    return Copy(_rows->container.get<struct ById>().equal_range(id));
}

std::vector<ConfigEntry> ConfigEntrySet::ByIdAndType(const std::string& id, uint32_t type) const {
    return Copy(_rows->container.get<ByIdType>().equal_range(std::make_tuple(id, type)));
}

std::vector<ConfigEntry> ConfigEntrySet::All(size_t limit) const {
    std::vector<ConfigEntry> rows;
    for (const Row& row : _rows->container) {
        if (rows.size() >= limit) {
            break;
        }
        rows.push_back(row.Entry());
    }
    return rows;
}

size_t ConfigEntrySet::Count() const { return _rows->container.size(); }

}  // namespace CfgAgent
