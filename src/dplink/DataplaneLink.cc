#include "dplink/DataplaneLink.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace CfgAgent {

DataplaneLink::DataplaneLink(DataCallback dataCallback, StatusCallback statusCallback,
                             LivenessCheck livenessCheck)
    : _dataCallback(std::move(dataCallback)),
      _statusCallback(std::move(statusCallback)),
      _livenessCheck(std::move(livenessCheck)) {}

DataplaneLink::~DataplaneLink() = default;

bool DataplaneLink::sendCopy(std::span<const uint8_t> message) {
    if (message.empty()) {
        return false;
    }
    auto* block = static_cast<unsigned char*>(std::malloc(message.size()));
    if (block == nullptr) {
        return false;
    }
    std::memcpy(block, message.data(), message.size());
    return send(block, static_cast<int>(message.size()));
}

}  // namespace CfgAgent
