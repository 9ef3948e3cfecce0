#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "frame/vocabulary/Uuid.h"

namespace CfgAgent {

// The extra config pairs of logical ports or of logical switches, by object,
// as last stored.
class ExtraConfigTable {
public:
    using Pairs = std::map<std::string, std::string>;
    struct Change {
        std::string key;
        std::optional<std::string> value;  // none: the key went away
    };

    enum Kind { PORTS, SWITCHES };

    explicit ExtraConfigTable(Kind kind) : _kind(kind) {}

    // Replaces the object's pairs and says what changed.
    std::vector<Change> Update(const Uuid& id, const Pairs& pairs);
    // Forgets the object; every key it had is a change.
    std::vector<Change> Remove(const Uuid& id);
    std::optional<std::string> Find(const Uuid& id, const std::string& key) const;
    const Pairs* Of(const Uuid& id) const;
    const std::map<Uuid, Pairs>& All() const { return _objects; }

private:
    const Kind _kind;
    std::map<Uuid, Pairs> _objects;
};

}  // namespace CfgAgent
