#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "port/kcp/KcpProperty.h"

namespace CfgAgent {

// A property as the converters build it: a key and a value, a text value
// with its NUL. An empty value removes the key in the kernel.
using DPProperty = KcpProperty;
using DPPropertyList = std::vector<DPProperty>;

// Property changes for a set of ports or taknics, keyed by VIF ID or taknic name.
struct DPUpdate {
    enum Type : uint32_t {
        PORT_UPDATE = 1,
        TAKNIC_UPDATE = 2,
    };
    struct Entry {
        DPPropertyList properties;
        uint16_t recordLength = 0;
    };

    uint32_t type = PORT_UPDATE;
    uint32_t operation = 1;  // KcpOperation; anything but 1 and 2 is a full sync
    std::map<std::string, Entry> entries;

    // Adds a property to the record of `id`, replacing one of the same key.
    void Add(const std::string& id, DPProperty property);
    bool Empty() const { return entries.empty(); }
};

// One host switch property, sent as an HDS Property Update of its own.
struct DPGlobalProperty {
    std::string hdsId;
    DPProperty property;
};

}  // namespace CfgAgent
