#pragma once

#include <vector>

namespace CfgAgent {

// The commands of the socket in their order of registration, which
// `list-commands` shows. Who answers them is not this table's business.
class CommandTable {
public:
    struct Entry {
        const char* name;
        const char* usage;  // null for none
        int minArgs;
        int maxArgs;
    };

    static const std::vector<Entry>& Entries();
};

}  // namespace CfgAgent
