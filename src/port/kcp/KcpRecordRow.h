#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace CfgAgent {

// A walk over the records inside one data TLV value. Records follow each
// other without gaps; the first one that does not fit in what remains of the
// value ends the walk, and the ones before it stand.
class KcpRecordRow {
public:
    enum class Sizing {
        kFixed,        // every record is `head` bytes
        kLengthField,  // a 16-bit field at `field` gives the whole record's length
        kCounted,      // a 16-bit count at `field` of `entry`-byte entries follows the head
    };
    struct Layout {
        size_t start;  // where the first record begins, past any leading fields
        size_t head;
        Sizing sizing;
        size_t field = 0;
        size_t entry = 0;
    };
    struct Record {
        size_t offset;
        std::span<const uint8_t> bytes;
    };

    KcpRecordRow(std::span<const uint8_t> value, const Layout& layout)
        : _value(value), _layout(layout) {}

    std::optional<Record> First() const { return At(_layout.start); }
    std::optional<Record> Next(const Record& record) const {
        return At(record.offset + record.bytes.size());
    }

private:
    std::optional<Record> At(size_t offset) const;

    std::span<const uint8_t> _value;
    Layout _layout;
};

}  // namespace CfgAgent
