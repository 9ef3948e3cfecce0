#include "frame/vocabulary/LoftDBUpdateMsg.h"

#include <utility>

namespace CfgAgent {

LoftDBUpdateMsg::LoftDBUpdateMsg(uint32_t objectType, std::string objectId, uint32_t operation,
                                 SharedBytes traceInfo, SharedBytes tenantContext)
    : objectType(objectType),
      objectId(std::move(objectId)),
      operation(operation),
      traceInfo(std::move(traceInfo)),
      tenantContext(std::move(tenantContext)) {}

LoftDBUpdateMsg::LoftDBUpdateMsg(uint32_t objectType, std::string objectId, uint32_t operation,
                                 uint32_t propertyType, std::string propertyValue)
    : objectType(objectType),
      objectId(std::move(objectId)),
      propertyType(propertyType),
      propertyValue(std::move(propertyValue)),
      operation(operation) {}

}  // namespace CfgAgent
