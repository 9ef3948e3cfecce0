#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace loftdb {

// The journal's record: a 4-byte big-endian payload length, a 4-byte
// big-endian CRC-32 of the payload, and the payload.
class JournalRecord {
public:
    static constexpr size_t kHeader = 8;

    static std::string Encode(std::string_view payload);
    // The payload of the whole, intact record at `offset`; nothing when the
    // record there is cut short or damaged.
    static std::optional<std::string_view> Decode(std::string_view data, size_t offset);
    // Whether an intact record with a payload starts anywhere after `offset`.
    // A bad record with none after it is a torn tail; zero bytes, which a
    // crash can leave in place of a tail, never count.
    static bool IntactRecordAfter(std::string_view data, size_t offset);
};

}  // namespace loftdb
