#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "l3/codec/RtxTypes.h"

namespace CfgAgent {

// Entries gathered into UPDATE messages of at most 4095 bytes, header
// included. A record that would pass the limit flushes what is gathered
// first; a record larger than the limit goes alone, in a message of its own.
class RtxBatch {
public:
    using Bytes = std::vector<uint8_t>;

    void Add(Bytes record);
    // The gathered entries as one UPDATE, and the batch emptied; nothing
    // when it is empty.
    bool Flush(Bytes& message);
    // What Add flushed on its own, in order; taken.
    std::vector<Bytes> TakeFlushed();
    size_t Payload() const { return _payload; }

private:
    std::vector<Bytes> _records;
    size_t _payload = 0;
    std::vector<Bytes> _flushed;
};

}  // namespace CfgAgent
