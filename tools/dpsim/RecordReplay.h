#pragma once

#include <cstddef>
#include <string>

#include "LinkProtocol.h"

namespace Dpsim {

// Plays what the agent sent on one link, as a record file holds it, into a
// fresh module, so that its view can be rebuilt after the simulator ended.
class RecordReplay {
public:
    // `messages` counts what was fed. False with `error` set when the file
    // cannot be read or a line of the link is not a record line.
    static bool Run(const std::string& path, const std::string& link, LinkProtocol& protocol,
                    size_t& messages, std::string& error);
};

}  // namespace Dpsim
