#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "port/kcp/KcpPortContainerList.h"
#include "port/kcp/KcpRecordRow.h"

namespace CfgAgent {

// Port ContainerList Updates: the port's VIF ID, then a row of container VIF
// IDs that may be empty.
class KcpPortContainerListCodec {
public:
    static constexpr KcpRecordRow::Layout kContainers{48, 48, KcpRecordRow::Sizing::kFixed};

    static bool BuildMessage(const KcpPortContainerList& list, bool more,
                             std::vector<uint8_t>& message);
    // False when the value cannot hold the port's VIF ID.
    static bool Decode(std::span<const uint8_t> value, KcpPortContainerList& list);
};

}  // namespace CfgAgent
