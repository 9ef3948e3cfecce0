#pragma once

#include <string>

#include "JsonPtr.h"

namespace Dpsim {

// What the record keeps of one message. A non-empty error means the message
// is not one the peer would accept; the fields then hold only what could be
// read before the fault. The dump is left empty by wire formats that have none.
struct DecodedMessage {
    std::string type;
    JsonPtr fields;
    std::string error;
    std::string dump;
};

}  // namespace Dpsim
