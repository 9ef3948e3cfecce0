#pragma once

#include <cstdint>
#include <string>

#include "l2/codec/VxlanTypes.h"

namespace CfgAgent {

struct VxlanTepState {
    uint16_t dataType = VXLAN_TEP_FAULT;  // VxlanTepStateType
    std::string switchName;
    std::string taknicName;
    uint32_t action = 0;
    uint32_t taknicState = 0;
    bool ipv6 = false;

    bool operator==(const VxlanTepState&) const = default;
};

}  // namespace CfgAgent
