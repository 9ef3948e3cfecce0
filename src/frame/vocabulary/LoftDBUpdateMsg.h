#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "frame/vocabulary/SharedBytes.h"

namespace CfgAgent {

// One update record: one thing said about one object or one of its
// properties. propertyType 0 means the object itself.
struct LoftDBUpdateMsg {
    uint32_t objectType = 0;
    std::string objectId;  // serialized UuidMsg for most objects
    uint32_t propertyType = 0;
    std::string propertyValue;  // serialized store message holding just the property
    uint32_t operation = 0;
    SharedBytes traceInfo;      // serialized SpanContextMsg, or empty
    SharedBytes tenantContext;  // serialized TenantContextMsg, or empty

    LoftDBUpdateMsg() = default;
    // The object itself.
    LoftDBUpdateMsg(uint32_t objectType, std::string objectId, uint32_t operation,
                    SharedBytes traceInfo, SharedBytes tenantContext);
    // One property of an object.
    LoftDBUpdateMsg(uint32_t objectType, std::string objectId, uint32_t operation,
                    uint32_t propertyType, std::string propertyValue);

    bool operator==(const LoftDBUpdateMsg&) const = default;
};

using LoftDBUpdateList = std::list<LoftDBUpdateMsg>;

}  // namespace CfgAgent
