#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "port/kcp/KcpRecordRow.h"

namespace CfgAgent {

// PortList, TaknicList, ContainerList and HDS List Updates: a plain row of
// fixed-width IDs whose count follows from the value length. An empty row is
// a valid value.
class KcpIdListCodec {
public:
    // Nothing for a data type that is not one of the four lists.
    static std::optional<size_t> Width(uint16_t dataType);
    static std::optional<KcpRecordRow::Layout> Records(uint16_t dataType);

    static bool BuildMessage(uint16_t dataType, const std::vector<std::string>& ids, bool more,
                             std::vector<uint8_t>& message);
    static bool Decode(uint16_t dataType, std::span<const uint8_t> value,
                       std::vector<std::string>& ids);
};

}  // namespace CfgAgent
