#include "port/conversion/PortPropertyValues.h"

#include <cstring>
#include <map>

#include "loftdb_switching.pb.h"
#include "dplink/BigEndian.h"

namespace CfgAgent {

namespace {

constexpr uint16_t kPlainVlan = 0;
constexpr uint16_t kTrunkVlan = 1;
constexpr size_t kVlanHead = 8;

// Host order: the kernel reads the structure as it stands.
void PutHost32(uint8_t* at, uint32_t value) {
    std::memcpy(at, &value, sizeof value);
}

}  // namespace

DPProperty PortPropertyValues::Text(uint16_t key, const std::string& text) {
    DPProperty property{key, {text.begin(), text.end()}};
    property.value.push_back(0);
    return property;
}

DPProperty PortPropertyValues::Number32(uint16_t key, uint32_t value) {
    DPProperty property{key, std::vector<uint8_t>(4)};
    BigEndian::Put32(property.value.data(), value);
    return property;
}

DPProperty PortPropertyValues::Replication(uint32_t mode) {
    return {KEY_REPLICATION, {0, 0, 0, static_cast<uint8_t>(mode == 1 ? 2 : 1)}};
}

DPProperty PortPropertyValues::Vlan(uint16_t vlan) {
    DPProperty property{KEY_VLAN, std::vector<uint8_t>(kVlanHead)};
    BigEndian::Put16(property.value.data(), kPlainVlan);
    BigEndian::Put16(property.value.data() + 2, vlan);
    return property;
}

DPProperty PortPropertyValues::Trunk(const halden::zef::loftdb::VlanTrunkMsg& trunk) {
    if (trunk.ranges_size() == 0) {
        return ClearedVlan();
    }
    DPProperty property{KEY_VLAN, std::vector<uint8_t>(kVlanHead + 4 * trunk.ranges_size())};
    uint8_t* at = property.value.data();
    BigEndian::Put16(at, kTrunkVlan);
    BigEndian::Put16(at + 6, static_cast<uint16_t>(trunk.ranges_size()));
    at += kVlanHead;
    for (const auto& range : trunk.ranges()) {
        BigEndian::Put16(at, static_cast<uint16_t>(range.start()));
        BigEndian::Put16(at + 2, static_cast<uint16_t>(range.has_end() ? range.end() : range.start()));
        at += 4;
    }
    return property;
}

bool PortPropertyValues::MacManagement(const halden::zef::loftdb::MacManagementConfigMsg& config,
                                       DPProperty& property, std::string& problem) {
    const auto& learning = config.mac_learning();
    uint32_t limit = kMaxMacLimit;
    uint32_t policy = 0;
    if (learning.has_limit()) {
        limit = learning.limit();
        if (limit > kMaxMacLimit) {
            problem = "limit";
            return false;
        }
        if (learning.limit_policy() == 1 || learning.limit_policy() == 2) {
            policy = learning.limit_policy() - 1;
        } else {
            problem = "policy";
            return false;
        }
    }
    property = {KEY_MAC_MANAGEMENT, std::vector<uint8_t>(11)};
    property.value[0] = config.mac_change_allowed() ? 1 : 0;
    property.value[1] = learning.unicast_flooding_allowed() ? 1 : 0;
    property.value[2] = learning.enabled() ? 1 : 0;
    PutHost32(property.value.data() + 3, limit);
    PutHost32(property.value.data() + 7, policy);
    return true;
}

DPProperty PortPropertyValues::DefaultMacManagement() {
    DPProperty property{KEY_MAC_MANAGEMENT, std::vector<uint8_t>(11)};
    property.value[0] = 1;
    property.value[1] = 1;
    property.value[2] = 1;
    PutHost32(property.value.data() + 3, kMaxMacLimit);
    return property;
}

std::optional<uint16_t> PortPropertyValues::ExtraConfigKey(const std::string& storedKey) {
    static const std::map<std::string, uint16_t> kKeys = [] {
        std::map<std::string, uint16_t> keys = {
            {"com.halden.port.extraConfig.mcloud.management.ip", 241},
            {"com.halden.zef.ovl2.bridgedvlan", 0},
            {"com.halden.zef.port.extraConfig.proxyarpRoutermode", 242},
            {"com.halden.port.extraConfig.mcloud.edge", 243},
            {"com.halden.zef.port.extraConfig.remoteRtr", 244},
            {"com.halden.port.extraConfig.policyRoute", 245},
            {"com.halden.port.extraConfig.ovl2.udpPortsInHash", 4},
            {"com.halden.port.extraConfig.ovl2.nestedTNConfig", 5},
            {"com.halden.port.extraConfig.serviceInsertion.gvm", 261},
            {"com.halden.port.extraConfig.serviceInsertion.svm", 262},
            {"com.halden.port.extraConfig.global.id", 321},
            {"com.halden.port.extraConfig.forward.rarp", 341},
            {"com.halden.port.extraConfig.vm.tagset", 322},
        };
        for (uint16_t i = 1; i <= 9; ++i) {
            keys["com.halden.port.extraConfig.vm.tagset" + std::to_string(i)] =
                static_cast<uint16_t>(322 + i);
        }
        return keys;
    }();
    auto it = kKeys.find(storedKey);
    return it == kKeys.end() ? std::nullopt : std::optional<uint16_t>(it->second);
}

}  // namespace CfgAgent
