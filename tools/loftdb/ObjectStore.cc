#include "ObjectStore.h"

namespace loftdb {

std::optional<std::string> ObjectStore::Get(const ObjectRef& ref) const {
    auto vdb = _objects.find(ref.vdb);
    if (vdb == _objects.end()) {
        return std::nullopt;
    }
    auto type = vdb->second.find(ref.type);
    if (type == vdb->second.end()) {
        return std::nullopt;
    }
    auto object = type->second.find(ref.key);
    if (object == type->second.end()) {
        return std::nullopt;
    }
    return object->second;
}

void ObjectStore::Set(const ObjectRef& ref, std::optional<std::string> body) {
    auto& objects = _objects[ref.vdb][ref.type];
    auto it = objects.find(ref.key);
    if (it != objects.end()) {
        _bytes -= it->first.size() + it->second.size();
        --_size;
        if (!body) {
            objects.erase(it);
            return;
        }
        it->second = std::move(*body);
        _bytes += it->first.size() + it->second.size();
        ++_size;
        return;
    }
    if (body) {
        _bytes += ref.key.size() + body->size();
        ++_size;
        objects.emplace(ref.key, std::move(*body));
    }
}

std::vector<std::pair<std::string, std::string>> ObjectStore::All(uint32_t vdb, uint32_t type) const {
    std::vector<std::pair<std::string, std::string>> out;
    auto v = _objects.find(vdb);
    if (v == _objects.end()) {
        return out;
    }
    auto t = v->second.find(type);
    if (t == v->second.end()) {
        return out;
    }
    out.assign(t->second.begin(), t->second.end());
    return out;
}

std::vector<uint32_t> ObjectStore::Vdbs() const {
    std::vector<uint32_t> vdbs;
    for (const auto& [vdb, types] : _objects) {
        vdbs.push_back(vdb);
    }
    return vdbs;
}

}  // namespace loftdb
