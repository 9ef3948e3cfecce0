#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace CfgAgent {

// The kernel splits a VIF Update whose property value does not fit one
// message: each part repeats the headers and the VIF record head, then holds
// one property TLV with a slice of the value. Joining puts the slices back
// into one property behind the first part's head.
class KcpFragmentJoiner {
public:
    // Message head, flag, data TLV head, operation byte and the VIF record head.
    static constexpr size_t kHeadSize = 223;
    // A joined message above this size is not made.
    static constexpr size_t kMaxJoined = 65530;

    using Message = std::vector<uint8_t>;

    // Empty when the parts cannot be joined: a part too short to hold its
    // head and a property, or a total above kMaxJoined.
    static Message Join(const std::vector<Message>& parts);
    // Whether a message can be a part at all: its head and one property.
    static bool CanBePart(std::span<const uint8_t> message);
    // Whether two parts repeat the same VIF record head, as the parts of one
    // split message do.
    static bool SameRecord(std::span<const uint8_t> part, std::span<const uint8_t> other);
};

}  // namespace CfgAgent
