#include "KcpFloor.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

#include "port/conversion/KCPMsgConvertor.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpTypes.h"

namespace Bench {

namespace {

using Clock = std::chrono::steady_clock;
using CfgAgent::DPUpdate;

double SecondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace

KcpFloor::KcpFloor(const PortCorpus& corpus) : _corpus(corpus) {
    _portBodies.reserve(corpus.Ports());
    for (size_t i = 0; i < corpus.Ports(); ++i) {
        _portBodies.push_back(corpus.Port(i).SerializeAsString());
    }
    for (size_t i = 0; i < corpus.Switches(); ++i) {
        _switchBodies.push_back(corpus.Switch(i).SerializeAsString());
    }
}

KcpFloor::Pass KcpFloor::FullSync() {
    const uint64_t before = _socket.Written();
    const Clock::time_point start = Clock::now();
    size_t messages = SendPortList();
    for (size_t i = 0; i < _corpus.Ports(); ++i) {
        Parse(_portBodies[i], i);
        DPUpdate update;
        update.operation = CfgAgent::KCP_OP_FULL_SYNC;
        update.entries[PortCorpus::VifId(i)].properties = PortCorpus::Properties(_port, _switch);
        messages += SendProperties(update);
    }
    _socket.WaitDrained();
    return {SecondsSince(start), messages, _socket.Written() - before};
}

std::vector<double> KcpFloor::SingleUpdates(size_t count) {
    const std::string bodies[2] = {_corpus.Port(0, false).SerializeAsString(), _portBodies.at(0)};
    std::vector<double> micros;
    micros.reserve(count);
    for (size_t k = 0; k < count; ++k) {
        const Clock::time_point start = Clock::now();
        Parse(bodies[k % 2], 0);
        DPUpdate update;
        update.operation = CfgAgent::KCP_OP_UPDATE;
        update.Add(PortCorpus::VifId(0), PortCorpus::Block(_port, _switch));
        SendProperties(update);
        _socket.WaitDrained();
        micros.push_back(SecondsSince(start) * 1e6);
    }
    return micros;
}

void KcpFloor::Parse(const std::string& portBody, size_t port) {
    if (!_port.ParseFromString(portBody) ||
        !_switch.ParseFromString(_switchBodies[_corpus.SwitchOf(port)])) {
        throw std::runtime_error("a store body does not parse");
    }
}

// Groups of as many IDs as one message holds, as the agent cuts them.
size_t KcpFloor::SendPortList() {
    const size_t perMessage =
        CfgAgent::KCPMsgConvertor::kListBudget / CfgAgent::KCP_VIF_ID_LEN;
    std::vector<std::string> group;
    size_t messages = 0;
    for (size_t i = 0; i < _corpus.Ports(); i += perMessage) {
        group.clear();
        for (size_t j = i; j < std::min(i + perMessage, _corpus.Ports()); ++j) {
            group.push_back(PortCorpus::VifId(j));
        }
        const bool more = i + perMessage < _corpus.Ports();
        if (!CfgAgent::KcpIdListCodec::BuildMessage(CfgAgent::KCP_PORT_LIST_UPDATE, group, more,
                                                    _message)) {
            throw std::runtime_error("a port list does not encode");
        }
        _socket.Write(_message);
        ++messages;
    }
    return messages;
}

size_t KcpFloor::SendProperties(const DPUpdate& update) {
    const std::vector<CfgAgent::KcpPropertyUpdate> messages =
        CfgAgent::KCPMsgConvertor::CutPropertyUpdate(update);
    for (size_t i = 0; i < messages.size(); ++i) {
        if (!CfgAgent::KcpPropertyUpdateCodec::BuildMessage(CfgAgent::KCP_PORT_PROPERTY_UPDATE,
                                                            messages[i], i + 1 < messages.size(),
                                                            _message)) {
            throw std::runtime_error("a property update does not encode");
        }
        _socket.Write(_message);
    }
    return messages.size();
}

}  // namespace Bench
