#include "JournalRecord.h"

#include <zlib.h>

#include <cstdint>

namespace loftdb {

namespace {

constexpr uint32_t kMaxRecord = 1u << 30;

uint32_t Crc(std::string_view payload) {
    return static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(payload.data()),
                                       static_cast<uInt>(payload.size())));
}

uint32_t ReadBE(std::string_view data, size_t at) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) {
        value = (value << 8) | static_cast<uint8_t>(data[at + i]);
    }
    return value;
}

void WriteBE(std::string& out, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        out.push_back(static_cast<char>(value >> shift));
    }
}

}  // namespace

std::string JournalRecord::Encode(std::string_view payload) {
    std::string record;
    record.reserve(kHeader + payload.size());
    WriteBE(record, static_cast<uint32_t>(payload.size()));
    WriteBE(record, Crc(payload));
    record.append(payload);
    return record;
}

std::optional<std::string_view> JournalRecord::Decode(std::string_view data, size_t offset) {
    if (offset > data.size() || data.size() - offset < kHeader) {
        return std::nullopt;
    }
    const uint32_t length = ReadBE(data, offset);
    if (length > kMaxRecord || data.size() - offset - kHeader < length) {
        return std::nullopt;
    }
    const std::string_view payload = data.substr(offset + kHeader, length);
    if (Crc(payload) != ReadBE(data, offset + 4)) {
        return std::nullopt;
    }
    return payload;
}

bool JournalRecord::IntactRecordAfter(std::string_view data, size_t offset) {
    for (size_t at = offset + 1; at + kHeader <= data.size(); ++at) {
        auto payload = Decode(data, at);
        if (payload && !payload->empty()) {
            return true;
        }
    }
    return false;
}

}  // namespace loftdb
