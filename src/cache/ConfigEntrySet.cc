#include "cache/ConfigEntrySet.h"

#include <algorithm>
#include <list>
#include <unordered_map>

#include "frame/KeyHash.h"

namespace CfgAgent {

namespace {

struct Property {
    uint32_t type = 0;
    uint32_t version = 0;
    std::string value;
};

// The rows of one (id, type): the object's own row, when it has one, and
// its properties in the order they came.
struct Object {
    const std::string* id = nullptr;  // the key of its group, which outlives it
    uint32_t type = 0;
    bool exists = false;
    uint32_t version = 0;
    std::vector<Property> properties;
    // Links of the arrival order and of the objects of one type.
    Object* prev = nullptr;
    Object* next = nullptr;
    Object* prevOfType = nullptr;
    Object* nextOfType = nullptr;

    bool Empty() const { return !exists && properties.empty(); }
    ConfigEntry Own() const { return {*id, type, 0, {}, version}; }
    ConfigEntry Row(const Property& property) const {
        return {*id, type, property.type, property.value, property.version};
    }
    // Every row: its own first, then the properties.
    void AppendRows(std::vector<ConfigEntry>& rows) const {
        if (exists) {
            rows.push_back(Own());
        }
        for (const Property& property : properties) {
            rows.push_back(Row(property));
        }
    }
};

// A doubly linked chain through two of an object's links.
template <Object* Object::*Prev, Object* Object::*Next>
struct Chain {
    Object* head = nullptr;
    Object* tail = nullptr;

    void Append(Object* object) {
        object->*Prev = tail;
        object->*Next = nullptr;
        (tail != nullptr ? tail->*Next : head) = object;
        tail = object;
    }
    void Remove(Object* object) {
        (object->*Prev != nullptr ? object->*Prev->*Next : head) = object->*Next;
        (object->*Next != nullptr ? object->*Next->*Prev : tail) = object->*Prev;
    }
};

using ArrivalChain = Chain<&Object::prev, &Object::next>;
using TypeChain = Chain<&Object::prevOfType, &Object::nextOfType>;

}  // namespace

struct ConfigEntrySet::Index {
    // Almost every id names one object; a list keeps each object in place.
    std::unordered_map<std::string, std::list<Object>, SerializedIdHash> byId;
    std::unordered_map<uint32_t, TypeChain, ComponentHash> byType;
    ArrivalChain arrival;

    std::list<Object>* Group(const std::string& id) {
        auto it = byId.find(id);
        return it == byId.end() ? nullptr : &it->second;
    }
    const std::list<Object>* Group(const std::string& id) const {
        auto it = byId.find(id);
        return it == byId.end() ? nullptr : &it->second;
    }
    const Object* Find(const std::string& id, uint32_t type) const {
        if (const std::list<Object>* group = Group(id)) {
            for (const Object& object : *group) {
                if (object.type == type) {
                    return &object;
                }
            }
        }
        return nullptr;
    }
    Object& FindOrAdd(const std::string& id, uint32_t type) {
        auto [it, added] = byId.try_emplace(id);
        for (Object& object : it->second) {
            if (object.type == type) {
                return object;
            }
        }
        Object& object = it->second.emplace_back();
        object.id = &it->first;
        object.type = type;
        arrival.Append(&object);
        byType[type].Append(&object);
        return object;
    }
    // Drops the object if it has no row left.
    void Prune(const std::string& id, uint32_t type) {
        auto it = byId.find(id);
        if (it == byId.end()) {
            return;
        }
        std::list<Object>& group = it->second;
        for (auto object = group.begin(); object != group.end(); ++object) {
            if (object->type != type || !object->Empty()) {
                continue;
            }
            arrival.Remove(&*object);
            auto chain = byType.find(type);
            chain->second.Remove(&*object);
            if (chain->second.head == nullptr) {
                byType.erase(chain);
            }
            group.erase(object);
            break;
        }
        if (group.empty()) {
            byId.erase(it);
        }
    }
};

ConfigEntrySet::ConfigEntrySet() : _index(std::make_unique<Index>()) {}

ConfigEntrySet::~ConfigEntrySet() = default;

void ConfigEntrySet::Insert(ConfigEntry entry) {
    _bytes += entry.Bytes();
    ++_count;
    Object& object = _index->FindOrAdd(entry.objectId, entry.objectType);
    if (entry.propertyType == 0) {
        object.exists = true;
        object.version = entry.fullSyncVersion;
        return;
    }
    object.properties.push_back({entry.propertyType, entry.fullSyncVersion, std::move(entry.value)});
}

std::vector<ConfigEntry> ConfigEntrySet::EraseObject(const std::string& id, uint32_t type) {
    std::vector<ConfigEntry> erased;
    std::list<Object>* group = _index->Group(id);
    if (group == nullptr) {
        return erased;
    }
    for (Object& object : *group) {
        if (object.type != type) {
            continue;
        }
        object.AppendRows(erased);
        object.exists = false;
        object.properties.clear();
        break;
    }
    for (const ConfigEntry& entry : erased) {
        _bytes -= entry.Bytes();
    }
    _count -= erased.size();
    _index->Prune(id, type);
    return erased;
}

std::vector<ConfigEntry> ConfigEntrySet::EraseProperty(const std::string& id, uint32_t property) {
    std::vector<ConfigEntry> erased;
    std::list<Object>* group = _index->Group(id);
    if (group == nullptr) {
        return erased;
    }
    std::vector<uint32_t> emptied;
    for (Object& object : *group) {
        if (property == 0) {
            if (object.exists) {
                erased.push_back(object.Own());
                object.exists = false;
            }
        } else {
            std::erase_if(object.properties, [&](Property& row) {
                if (row.type != property) {
                    return false;
                }
                erased.push_back(object.Row(row));
                return true;
            });
        }
        if (object.Empty()) {
            emptied.push_back(object.type);
        }
    }
    for (const ConfigEntry& entry : erased) {
        _bytes -= entry.Bytes();
    }
    _count -= erased.size();
    for (uint32_t type : emptied) {
        _index->Prune(id, type);
    }
    return erased;
}

std::vector<ConfigEntry> ConfigEntrySet::EraseOlderThan(uint32_t version) {
    std::vector<ConfigEntry> erased;
    for (Object* object = _index->arrival.head; object != nullptr;) {
        Object* next = object->next;
        if (object->exists && object->version < version) {
            erased.push_back(object->Own());
            object->exists = false;
        }
        std::erase_if(object->properties, [&](Property& row) {
            if (row.version >= version) {
                return false;
            }
            erased.push_back({*object->id, object->type, row.type, std::move(row.value), row.version});
            return true;
        });
        if (object->Empty()) {
            // The id's key dies with its group, so the prune gets a copy.
            _index->Prune(std::string(*object->id), object->type);
        }
        object = next;
    }
    for (const ConfigEntry& entry : erased) {
        _bytes -= entry.Bytes();
    }
    _count -= erased.size();
    return erased;
}

bool ConfigEntrySet::HasObject(const std::string& id, uint32_t type) const {
    return _index->Find(id, type) != nullptr;
}

std::optional<ConfigEntry> ConfigEntrySet::FindProperty(const std::string& id,
                                                        uint32_t property) const {
    if (const std::list<Object>* group = _index->Group(id)) {
        for (const Object& object : *group) {
            if (property == 0 && object.exists) {
                return object.Own();
            }
            for (const Property& row : object.properties) {
                if (row.type == property) {
                    return object.Row(row);
                }
            }
        }
    }
    return std::nullopt;
}

const std::string* ConfigEntrySet::FindValue(const std::string& id, uint32_t type,
                                             uint32_t property) const {
    static const std::string kNone;
    const Object* object = _index->Find(id, type);
    if (object == nullptr) {
        return nullptr;
    }
    if (property == 0) {
        return object->exists ? &kNone : nullptr;
    }
    for (const Property& row : object->properties) {
        if (row.type == property) {
            return &row.value;
        }
    }
    return nullptr;
}

std::optional<uint32_t> ConfigEntrySet::TypeOf(const std::string& id) const {
    const std::list<Object>* group = _index->Group(id);
    if (group == nullptr) {
        return std::nullopt;
    }
    return group->front().type;
}

void ConfigEntrySet::SetValue(const std::string& id, uint32_t property, std::string value) {
    std::list<Object>* group = _index->Group(id);
    if (group == nullptr) {
        return;
    }
    for (Object& object : *group) {
        for (Property& row : object.properties) {
            if (row.type == property) {
                _bytes = _bytes - row.value.size() + value.size();
                row.value = std::move(value);
                return;
            }
        }
    }
}

void ConfigEntrySet::Confirm(const std::string& id, uint32_t type, uint32_t property,
                             uint32_t version) {
    Object* object = const_cast<Object*>(_index->Find(id, type));
    if (object == nullptr) {
        return;
    }
    if (property == 0) {
        if (object->exists) {
            object->version = version;
        }
        return;
    }
    for (Property& row : object->properties) {
        if (row.type == property) {
            row.version = version;
        }
    }
}

std::vector<ConfigEntry> ConfigEntrySet::ByType(uint32_t type, uint32_t property) const {
    std::vector<ConfigEntry> rows;
    auto chain = _index->byType.find(type);
    if (chain == _index->byType.end()) {
        return rows;
    }
    for (const Object* object = chain->second.head; object != nullptr; object = object->nextOfType) {
        if (property == 0) {
            if (object->exists) {
                rows.push_back(object->Own());
            }
            continue;
        }
        for (const Property& row : object->properties) {
            if (row.type == property) {
                rows.push_back(object->Row(row));
            }
        }
    }
    return rows;
}

std::vector<ConfigEntry> ConfigEntrySet::ById(const std::string& id) const {
    std::vector<ConfigEntry> rows;
    if (const std::list<Object>* group = _index->Group(id)) {
        for (const Object& object : *group) {
            object.AppendRows(rows);
        }
    }
    return rows;
}

std::vector<ConfigEntry> ConfigEntrySet::ByIdAndType(const std::string& id, uint32_t type) const {
    std::vector<ConfigEntry> rows;
    if (const Object* object = _index->Find(id, type)) {
        object->AppendRows(rows);
    }
    return rows;
}

std::vector<ConfigEntry> ConfigEntrySet::All(size_t limit) const {
    std::vector<ConfigEntry> rows;
    for (const Object* object = _index->arrival.head; object != nullptr && rows.size() < limit;
         object = object->next) {
        object->AppendRows(rows);
    }
    if (rows.size() > limit) {
        rows.resize(limit);
    }
    return rows;
}

}  // namespace CfgAgent
