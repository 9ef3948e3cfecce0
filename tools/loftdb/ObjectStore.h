#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace loftdb {

// One stored object's place: vdb, object type and key.
struct ObjectRef {
    uint32_t vdb = 0;
    uint32_t type = 0;
    std::string key;

    auto operator<=>(const ObjectRef&) const = default;
};

// The objects of the store, serialized, per vdb and type, keyed by their id.
class ObjectStore {
public:
    std::optional<std::string> Get(const ObjectRef& ref) const;
    void Set(const ObjectRef& ref, std::optional<std::string> body);
    // (key, body) of every object of one type in one vdb, in key order.
    std::vector<std::pair<std::string, std::string>> All(uint32_t vdb, uint32_t type) const;
    std::vector<uint32_t> Vdbs() const;
    size_t Size() const { return _size; }
    size_t Bytes() const { return _bytes; }

private:
    std::map<uint32_t, std::map<uint32_t, std::map<std::string, std::string>>> _objects;
    size_t _size = 0;
    size_t _bytes = 0;
};

}  // namespace loftdb
