#pragma once

#include <cstdint>

namespace CfgAgent {

// The dispatcher's key; ascending order is the order of delivery within a
// transaction. 0 means no component, and a list for it is dropped.
enum ComponentType : uint32_t {
    COMPONENT_NONE = 0,
    CONFIGCACHE = 1,
    L2CACHE = 2,
    L3CACHE = 3,
    DFW = 4,
    CONFIGAPP = 5,
    L2APP = 6,
    SIAPP = 7,
    LB = 8,
    IDS = 9,
    TF = 10,
    BFD = 11,
};

const char* CompTypeToString(uint32_t code);

}  // namespace CfgAgent
