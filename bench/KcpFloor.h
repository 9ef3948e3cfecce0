#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "DrainedSocket.h"
#include "PortCorpus.h"
#include "loftdb_switching.pb.h"
#include "port/conversion/DPUpdate.h"

namespace Bench {

// The least work the agent's road can do for the corpus, in one thread and
// one loop: parse each port's store bodies, encode the KCP messages the
// agent sends for it and write them to a socket another thread drains.
// Nothing else: no transport from the store, no tables, no queues, no logs.
class KcpFloor {
public:
    struct Pass {
        double seconds = 0;
        size_t messages = 0;
        uint64_t bytes = 0;
    };

    explicit KcpFloor(const PortCorpus& corpus);

    // The port list, then one property update per port; timed until the
    // reader holds every byte.
    Pass FullSync();
    // The block key of one port, its admin state flipped each time; each
    // update timed from its parse until the reader holds it, in microseconds.
    std::vector<double> SingleUpdates(size_t count);

private:
    size_t SendPortList();
    size_t SendProperties(const CfgAgent::DPUpdate& update);
    // Parses a port body and its switch's body into the reused messages.
    void Parse(const std::string& portBody, size_t port);

    const PortCorpus& _corpus;
    std::vector<std::string> _portBodies;
    std::vector<std::string> _switchBodies;
    halden::zef::loftdb::LogSwitchPortConfigMsg _port;
    halden::zef::loftdb::LogSwitchConfigMsg _switch;
    std::vector<uint8_t> _message;
    DrainedSocket _socket;
};

}  // namespace Bench
