#pragma once

#include <cstdint>

namespace CfgAgent {

// What kind of host the agent runs on; process-wide, read by many subsystems.
class NodeType {
public:
    static constexpr uint32_t kSmartnicHost = 1;
    static constexpr uint32_t kSmartnic = 2;
    static constexpr uint32_t kOther = 3;
    // A host that knows its kind says it in this file, as a number.
    static constexpr const char* kNodeTypePath = "/etc/halden/zef/node-type";

    static uint32_t Get();
    // Reads the node type file under the host root; without one the kind stays "other".
    static void Detect();
    // Logs the kind; false for a value that names none.
    static bool LogAndCheck();

private:
    static uint32_t value;
};

}  // namespace CfgAgent
