#include "PortCorpus.h"

#include "frame/vocabulary/UuidText.h"
#include "port/conversion/PortPropertyValues.h"

namespace Bench {

namespace {

using halden::zef::loftdb::LogSwitchConfigMsg;
using halden::zef::loftdb::LogSwitchPortConfigMsg;
using CfgAgent::PortPropertyValues;

constexpr uint64_t kSwitchLeft = 1;
constexpr uint64_t kPortLeft = 2;
constexpr uint32_t kMacLimit = 4096;
constexpr uint32_t kLimitPolicyAllow = 1;

void SetId(halden::zef::loftdb::UuidMsg& id, uint64_t left, size_t index) {
    id.set_left(left);
    id.set_right(index + 1);
}

}  // namespace

PortCorpus::PortCorpus(size_t ports, size_t switches)
    : _ports(ports), _switches(switches == 0 ? 1 : switches) {}

LogSwitchConfigMsg PortCorpus::Switch(size_t index) const {
    LogSwitchConfigMsg owner;
    SetId(*owner.mutable_id(), kSwitchLeft, index);
    owner.set_vni(kFirstVni + static_cast<uint32_t>(index));
    owner.set_replication_mode(1);
    owner.set_admin_state_up(true);
    SetId(*owner.mutable_transport_zone_id(), 9, 0);
    owner.set_switch_name("ls-" + std::to_string(index));
    return owner;
}

LogSwitchPortConfigMsg PortCorpus::Port(size_t index, bool adminUp) const {
    LogSwitchPortConfigMsg port;
    SetId(*port.mutable_id(), kPortLeft, index);
    SetId(*port.mutable_switch_id(), kSwitchLeft, SwitchOf(index));
    port.mutable_attachment()->set_id(VifId(index));
    port.mutable_attachment()->mutable_vif()->set_type(1);
    port.set_admin_state_up(adminUp);
    auto* learning = port.mutable_mac_management()->mutable_mac_learning();
    learning->set_enabled(true);
    learning->set_limit(kMacLimit);
    learning->set_limit_policy(kLimitPolicyAllow);
    return port;
}

std::string PortCorpus::VifId(size_t port) {
    return "vif-" + std::to_string(port);
}

std::string PortCorpus::PortIdText(size_t port) const {
    return CfgAgent::UuidToString(Port(port).id());
}

CfgAgent::DPPropertyList PortCorpus::Properties(const LogSwitchPortConfigMsg& port,
                                                const LogSwitchConfigMsg& owner) {
    CfgAgent::DPPropertyList properties{
        PortPropertyValues::Number32(PortPropertyValues::KEY_VNI, owner.vni()),
        PortPropertyValues::Replication(owner.replication_mode()),
        Block(port, owner),
    };
    CfgAgent::DPProperty mac;
    std::string problem;
    if (PortPropertyValues::MacManagement(port.mac_management(), mac, problem)) {
        properties.push_back(std::move(mac));
    }
    return properties;
}

CfgAgent::DPProperty PortCorpus::Block(const LogSwitchPortConfigMsg& port,
                                       const LogSwitchConfigMsg& owner) {
    const bool unblock = port.admin_state_up() && owner.admin_state_up() &&
                         (owner.has_vni() || owner.has_vlan() || owner.has_vlan_trunk());
    return PortPropertyValues::Block(!unblock);
}

}  // namespace Bench
