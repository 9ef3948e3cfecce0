#include "port/conversion/ExtraConfigTable.h"

#include "log/Logger.h"

namespace CfgAgent {

namespace {

struct Texts {
    const char* insert;
    const char* add;
    const char* change;
    const char* remove;
    const char* erase;
};

constexpr Texts kTexts[] = {
    {"Insert LSP ExtraConfig key %1 value %2 for LSP %3", "Add LSP ExtraConfig key %1 value %2 for LSP %3",
     "Change LSP ExtraConfig key %1 value %2 for LSP %3", "Remove LSP ExtraConfig key %1 for LSP %2",
     "Delete LSP ExtraConfig key %1 for LSP %2"},
    {"Insert LS ExtraConfig key %1 value %2 for LS %3", "Add LS ExtraConfig key %1 value %2 for LS %3",
     "Change LS ExtraConfig key %1 value %2 for LS %3", "Remove LS ExtraConfig key %1 for LS %2",
     "Delete LS ExtraConfig key %1 for LS %2"},
};

}  // namespace

std::vector<ExtraConfigTable::Change> ExtraConfigTable::Update(const Uuid& id,
                                                               const Pairs& pairs) {
    std::vector<Change> changes;
    const bool known = _objects.count(id) != 0;
    Pairs& stored = _objects[id];
    for (auto it = stored.begin(); it != stored.end();) {
        if (pairs.count(it->first) != 0) {
            ++it;
            continue;
        }
        CFG_LOG(LL_INFO, kTexts[_kind].remove, it->first, id.Text());
        changes.push_back({it->first, std::nullopt});
        it = stored.erase(it);
    }
    for (const auto& [key, value] : pairs) {
        auto it = stored.find(key);
        if (it != stored.end() && it->second == value) {
            continue;
        }
        const Texts& texts = kTexts[_kind];
        CFG_LOG(LL_INFO, !known ? texts.insert : it == stored.end() ? texts.add : texts.change, key,
                value, id.Text());
        stored[key] = value;
        changes.push_back({key, value});
    }
    return changes;
}

std::vector<ExtraConfigTable::Change> ExtraConfigTable::Remove(const Uuid& id) {
    std::vector<Change> changes;
    auto object = _objects.find(id);
    if (object == _objects.end()) {
        return changes;
    }
    for (const auto& [key, value] : object->second) {
        CFG_LOG(LL_INFO, kTexts[_kind].erase, key, id.Text());
        changes.push_back({key, std::nullopt});
    }
    _objects.erase(object);
    return changes;
}

std::optional<std::string> ExtraConfigTable::Find(const Uuid& id, const std::string& key) const {
    const Pairs* pairs = Of(id);
    if (pairs == nullptr) {
        return std::nullopt;
    }
    auto it = pairs->find(key);
    return it == pairs->end() ? std::nullopt : std::optional<std::string>(it->second);
}

const ExtraConfigTable::Pairs* ExtraConfigTable::Of(const Uuid& id) const {
    auto it = _objects.find(id);
    return it == _objects.end() ? nullptr : &it->second;
}

}  // namespace CfgAgent
