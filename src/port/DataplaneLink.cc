#include "port/DataplaneLink.h"

#include <utility>

namespace CfgAgent {

DataplaneLink::DataplaneLink(DataCallback dataCallback, StatusCallback statusCallback,
                             LivenessCheck livenessCheck)
    : _dataCallback(std::move(dataCallback)),
      _statusCallback(std::move(statusCallback)),
      _livenessCheck(std::move(livenessCheck)) {}

DataplaneLink::~DataplaneLink() = default;

}  // namespace CfgAgent
