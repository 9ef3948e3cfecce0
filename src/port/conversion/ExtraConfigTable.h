#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace CfgAgent {

// The extra config pairs of logical ports or of logical switches, by object
// (UUID text), as last stored.
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
    std::vector<Change> Update(const std::string& id, const Pairs& pairs);
    // Forgets the object; every key it had is a change.
    std::vector<Change> Remove(const std::string& id);
    std::optional<std::string> Find(const std::string& id, const std::string& key) const;
    const Pairs* Of(const std::string& id) const;
    const std::map<std::string, Pairs>& All() const { return _objects; }

private:
    const Kind _kind;
    std::map<std::string, Pairs> _objects;
};

}  // namespace CfgAgent
