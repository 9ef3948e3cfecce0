#include "frame/vocabulary/RecordPack.h"

#include <algorithm>
#include <cstring>

namespace CfgAgent {

namespace {

constexpr size_t kBlockBytes = 256 * 1024;

// A record is its numbers as varints (type, property, operation, id length,
// value length, trace slot, tenant slot), then its id and value bytes: for
// the common record, seven bytes of head instead of a list node.
constexpr size_t kMaxHead = 7 * 5;

char* PutVarint(char* at, uint32_t value) {
    while (value >= 0x80) {
        *at++ = static_cast<char>((value & 0x7F) | 0x80);
        value >>= 7;
    }
    *at++ = static_cast<char>(value);
    return at;
}

const char* GetVarint(const char* at, uint32_t& value) {
    value = 0;
    for (int shift = 0;; shift += 7) {
        const auto byte = static_cast<unsigned char>(*at++);
        value |= static_cast<uint32_t>(byte & 0x7F) << shift;
        if ((byte & 0x80) == 0) {
            return at;
        }
    }
}

}  // namespace

// Records never straddle blocks, so a block carries the trace and tenant
// contexts its records name, each once; slot 0 is none.
struct RecordPack::Block {
    explicit Block(size_t size) : bytes(new char[size]), size(size) {}

    uint32_t Slot(const SharedBytes& context) {
        if (context.empty()) {
            return 0;
        }
        if (shared.empty() || !shared.back().SameAs(context)) {
            shared.push_back(context);
        }
        return static_cast<uint32_t>(shared.size());
    }
    const SharedBytes& Shared(uint32_t slot) const {
        static const SharedBytes none;
        return slot == 0 ? none : shared[slot - 1];
    }

    std::unique_ptr<char[]> bytes;
    size_t size;
    size_t used = 0;
    std::vector<SharedBytes> shared;
};

RecordPack::RecordPack() = default;
RecordPack::~RecordPack() = default;
RecordPack::RecordPack(RecordPack&&) noexcept = default;
RecordPack& RecordPack::operator=(RecordPack&&) noexcept = default;

RecordPack::Block& RecordPack::Room(size_t length) {
    if (_blocks.empty() || _blocks.back()->size - _blocks.back()->used < length) {
        _blocks.push_back(std::make_unique<Block>(std::max(length, kBlockBytes)));
    }
    return *_blocks.back();
}

void RecordPack::Append(const LoftDBUpdateMsg& record) {
    Block& block = Room(kMaxHead + record.objectId.size() + record.propertyValue.size());
    char* at = block.bytes.get() + block.used;
    for (uint32_t number : {record.objectType, record.propertyType, record.operation,
                            static_cast<uint32_t>(record.objectId.size()),
                            static_cast<uint32_t>(record.propertyValue.size()),
                            block.Slot(record.traceInfo), block.Slot(record.tenantContext)}) {
        at = PutVarint(at, number);
    }
    std::memcpy(at, record.objectId.data(), record.objectId.size());
    at += record.objectId.size();
    std::memcpy(at, record.propertyValue.data(), record.propertyValue.size());
    at += record.propertyValue.size();
    block.used = static_cast<size_t>(at - block.bytes.get());
    ++_count;
}

void RecordPack::Append(const LoftDBUpdateList& records) {
    for (const LoftDBUpdateMsg& record : records) {
        Append(record);
    }
}

void RecordPack::Splice(RecordPack& other) {
    if (other.Empty()) {
        return;
    }
    // The reader's place in the other's first block goes along with it: the
    // bytes before it are cut off by copying that block's rest.
    if (other._read != 0) {
        Block& first = *other._blocks.front();
        auto rest = std::make_unique<Block>(std::max<size_t>(first.used - other._read, 1));
        std::memcpy(rest->bytes.get(), first.bytes.get() + other._read, first.used - other._read);
        rest->used = first.used - other._read;
        rest->shared = std::move(first.shared);
        other._blocks.front() = std::move(rest);
        other._read = 0;
    }
    for (auto& block : other._blocks) {
        _blocks.push_back(std::move(block));
    }
    _count += other._count;
    other._blocks.clear();
    other._count = 0;
}

bool RecordPack::TakeFront(LoftDBUpdateMsg& record) {
    while (!_blocks.empty() && _read == _blocks.front()->used) {
        _blocks.pop_front();
        _read = 0;
    }
    if (_blocks.empty()) {
        return false;
    }
    const Block& block = *_blocks.front();
    const char* at = block.bytes.get() + _read;
    uint32_t idLength = 0;
    uint32_t valueLength = 0;
    uint32_t traceSlot = 0;
    uint32_t tenantSlot = 0;
    at = GetVarint(at, record.objectType);
    at = GetVarint(at, record.propertyType);
    at = GetVarint(at, record.operation);
    at = GetVarint(at, idLength);
    at = GetVarint(at, valueLength);
    at = GetVarint(at, traceSlot);
    at = GetVarint(at, tenantSlot);
    record.objectId.assign(at, idLength);
    at += idLength;
    record.propertyValue.assign(at, valueLength);
    at += valueLength;
    record.traceInfo = block.Shared(traceSlot);
    record.tenantContext = block.Shared(tenantSlot);
    _read = static_cast<size_t>(at - block.bytes.get());
    --_count;
    return true;
}

LoftDBUpdateList RecordPack::TakeAll() {
    LoftDBUpdateList records;
    LoftDBUpdateMsg record;
    while (TakeFront(record)) {
        records.push_back(std::move(record));
        record = LoftDBUpdateMsg();
    }
    return records;
}

}  // namespace CfgAgent
