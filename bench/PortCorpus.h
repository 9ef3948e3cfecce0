#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "loftdb_switching.pb.h"
#include "port/conversion/DPUpdate.h"

namespace Bench {

// The desired state the port benchmarks share: logical ports spread over a
// few overlay switches, each port attached to a VIF of its own, the way the
// end-to-end driver loads the store and the floor program parses it.
class PortCorpus {
public:
    static constexpr uint32_t kVdb = 1;
    static constexpr uint32_t kFirstVni = 5001;

    PortCorpus(size_t ports, size_t switches);

    size_t Ports() const { return _ports; }
    size_t Switches() const { return _switches; }
    size_t SwitchOf(size_t port) const { return port % _switches; }

    halden::zef::loftdb::LogSwitchConfigMsg Switch(size_t index) const;
    halden::zef::loftdb::LogSwitchPortConfigMsg Port(size_t index, bool adminUp = true) const;
    static std::string VifId(size_t port);
    // The kernel's port ID of the VIF: the logical port's UUID text.
    std::string PortIdText(size_t port) const;

    // What the agent pushes for a connected port, from its stored objects:
    // VNI, replication, block and MAC management, in the agent's order.
    static CfgAgent::DPPropertyList Properties(const halden::zef::loftdb::LogSwitchPortConfigMsg& port,
                                               const halden::zef::loftdb::LogSwitchConfigMsg& owner);
    // The block key alone, as an admin state change sends it.
    static CfgAgent::DPProperty Block(const halden::zef::loftdb::LogSwitchPortConfigMsg& port,
                                      const halden::zef::loftdb::LogSwitchConfigMsg& owner);

private:
    const size_t _ports;
    const size_t _switches;
};

}  // namespace Bench
