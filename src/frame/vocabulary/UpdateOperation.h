#pragma once

#include <cstdint>

namespace CfgAgent {

// What one update record says. (OP_UPDATE, OP_DELETE) and (OP_ADD, OP_REMOVE)
// annul each other within one store transaction.
enum UpdateOperation : uint32_t {
    OP_UPDATE = 1,
    OP_DELETE = 2,
    OP_ADD = 3,
    OP_REMOVE = 4,
};

}  // namespace CfgAgent
