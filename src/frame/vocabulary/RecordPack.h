#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "frame/vocabulary/LoftDBUpdateMsg.h"

namespace CfgAgent {

// Records packed back to back in large blocks, read once from the front.
// An open transaction of a full load holds millions of records; packed, a
// record costs its bytes and a few more instead of a list node and a heap
// copy of its id, and the blocks are freed as the reader passes them.
class RecordPack {
public:
    RecordPack();
    ~RecordPack();
    RecordPack(RecordPack&&) noexcept;
    RecordPack& operator=(RecordPack&&) noexcept;
    RecordPack(const RecordPack&) = delete;
    RecordPack& operator=(const RecordPack&) = delete;

    void Append(const LoftDBUpdateMsg& record);
    void Append(const LoftDBUpdateList& records);
    // Moves the records of `other` behind these.
    void Splice(RecordPack& other);
    // The first record, removed; false when there is none.
    bool TakeFront(LoftDBUpdateMsg& record);
    // Every record left, as a list, for a reader that wants one.
    LoftDBUpdateList TakeAll();

    size_t Size() const { return _count; }
    bool Empty() const { return _count == 0; }

private:
    struct Block;
    // A block with room for `length` more bytes at its end.
    Block& Room(size_t length);

    std::deque<std::unique_ptr<Block>> _blocks;
    size_t _read = 0;  // in the first block
    size_t _count = 0;
};

}  // namespace CfgAgent
