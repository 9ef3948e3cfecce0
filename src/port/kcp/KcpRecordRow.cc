#include "port/kcp/KcpRecordRow.h"

#include "dplink/BigEndian.h"

namespace CfgAgent {

std::optional<KcpRecordRow::Record> KcpRecordRow::At(size_t offset) const {
    if (offset >= _value.size() || _value.size() - offset < _layout.head) {
        return std::nullopt;
    }
    const size_t remaining = _value.size() - offset;
    const uint8_t* head = _value.data() + offset;
    size_t size = _layout.head;
    if (_layout.sizing == Sizing::kLengthField) {
        size = BigEndian::Get16(head + _layout.field);
        // A record shorter than its head would make the walk stand still.
        if (size < _layout.head) {
            return std::nullopt;
        }
    } else if (_layout.sizing == Sizing::kCounted) {
        size += _layout.entry * BigEndian::Get16(head + _layout.field);
    }
    if (size > remaining) {
        return std::nullopt;
    }
    return Record{offset, _value.subspan(offset, size)};
}

}  // namespace CfgAgent
