#pragma once

#include <cjson/cJSON.h>

#include <map>
#include <string>
#include <vector>

#include "HostProcesses.h"

namespace zef::test {

// What the simulator's switching module holds of one port.
struct KernelPort {
    std::map<int, std::string> properties;  // key to hex
    std::string block;                      // the text of key 101, empty without one

    bool operator==(const KernelPort&) const = default;
};

// The agent with its port session, the store and the simulator serving the
// agent's two port links.
class PortRoad : public HostProcesses {
public:
    static constexpr const char* kLink = "kcp_taklink";

    static std::string AgentConfig();
    void StartAll();

    // The simulator's port table of the switching module, by VIF ID.
    std::map<std::string, KernelPort> KernelPorts();
    // Waits until the port table satisfies `holds`.
    bool PollPorts(const std::function<bool(const std::map<std::string, KernelPort>&)>& holds,
                   std::map<std::string, KernelPort>& last);
    // Recorded agent messages whose dump holds every one of `parts`.
    size_t CountRecorded(const std::vector<std::string>& parts) const;
    // The UUID text of a store id {left, right}.
    static std::string Uuid(uint64_t left, uint64_t right);
};

}  // namespace zef::test
