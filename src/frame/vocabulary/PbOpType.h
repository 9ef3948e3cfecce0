#pragma once

#include <cstdint>

namespace CfgAgent {

// The operation code inside the store's own OpMsg.
enum PbOpType : uint32_t {
    PB_OP_INVALID = 0,
    PB_OP_SELECT = 1,
    PB_OP_EQUALS = 2,
    PB_OP_CONTAINS_ONE = 3,
    PB_OP_CONTAINS_ALL = 4,
    PB_OP_IS_PRESENT = 5,
    PB_OP_NOT_EQUALS = 6,
    PB_OP_SET = 7,
    PB_OP_CLEAR = 8,
    PB_OP_INSERT = 9,
    PB_OP_APPEND = 10,
    PB_OP_REMOVE = 11,
    PB_OP_UPDATE = 12,
};

const char* PBOpTypeToString(uint32_t code);

}  // namespace CfgAgent
