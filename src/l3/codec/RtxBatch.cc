#include "l3/codec/RtxBatch.h"

#include <utility>

#include "dplink/Tlv.h"

namespace CfgAgent {

void RtxBatch::Add(Bytes record) {
    if (record.size() + _payload + Tlv::kHeaderSize > RTX_MAX_UPDATE) {
        Bytes message;
        if (Flush(message)) {
            _flushed.push_back(std::move(message));
        }
    }
    _payload += record.size();
    _records.push_back(std::move(record));
}

bool RtxBatch::Flush(Bytes& message) {
    if (_records.empty()) {
        return false;
    }
    message.assign(Tlv::kHeaderSize, 0);
    message.reserve(Tlv::kHeaderSize + _payload);
    for (const Bytes& record : _records) {
        message.insert(message.end(), record.begin(), record.end());
    }
    Tlv::WriteHeader(message.data(), RTX_MSG_UPDATE, message.size());
    _records.clear();
    _payload = 0;
    return true;
}

std::vector<RtxBatch::Bytes> RtxBatch::TakeFlushed() { return std::exchange(_flushed, {}); }

}  // namespace CfgAgent
