#include "frame/NodeType.h"

#include <fstream>

#include "host/HostPaths.h"
#include "log/Logger.h"

namespace CfgAgent {

uint32_t NodeType::value = NodeType::kOther;

uint32_t NodeType::Get() { return value; }

void NodeType::Detect() {
    std::ifstream in(HostPaths::Resolve(kNodeTypePath));
    uint32_t detected = 0;
    if (in >> detected) {
        value = detected;
    }
}

bool NodeType::LogAndCheck() {
    switch (value) {
        case kSmartnicHost:
            CFG_LOG(LL_INFO, "Node type is smartnic host");
            return true;
        case kSmartnic:
            CFG_LOG(LL_INFO, "Node type is smartnic");
            return true;
        case kOther:
            CFG_LOG(LL_INFO, "Node type is other");
            return true;
        default:
            CFG_LOG(LL_ERROR, "Node type is unknow");
            return false;
    }
}

}  // namespace CfgAgent
