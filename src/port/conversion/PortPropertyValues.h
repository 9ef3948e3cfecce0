#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "port/conversion/DPUpdate.h"

namespace halden::zef::loftdb {
class MacManagementConfigMsg;
class VlanTrunkMsg;
}  // namespace halden::zef::loftdb

namespace CfgAgent {

// The values of the port and host switch properties the kernel reads, each
// built to its layout.
class PortPropertyValues {
public:
    enum PortKey : uint16_t {
        KEY_VNI = 1,
        KEY_REPLICATION = 2,
        KEY_DVFILTER = 21,
        KEY_BLOCK = 101,
        KEY_VLAN = 102,
        KEY_MAC_MANAGEMENT = 141,
        KEY_QOS_MODE = 181,
        KEY_TEAMING = 202,
    };
    enum HdsKey : uint16_t {
        TAKNIC_LABEL = 1,
        HDS_CCP_STATE = 1,
        HDS_MAC_LEARN_STATIC = 9,
        HDS_FORWARDING_MODE = 10,
        // The global opaque keys the host switches know, as texts.
        HDS_CLUSTER_VIRTUAL_IP = 11,
        HDS_CLUSTER_MASTER_IP = 12,
    };
    static constexpr uint32_t kMaxMacLimit = 4096;

    // A text with its NUL.
    static DPProperty Text(uint16_t key, const std::string& text);
    static DPProperty Number32(uint16_t key, uint32_t value);
    static DPProperty Removal(uint16_t key) { return {key, {}}; }
    static DPProperty Block(bool block) { return Text(KEY_BLOCK, block ? "true" : "false"); }
    static DPProperty Replication(uint32_t mode);
    static DPProperty Vlan(uint16_t vlan);
    static DPProperty Trunk(const halden::zef::loftdb::VlanTrunkMsg& trunk);
    static DPProperty ClearedVlan() { return Vlan(0); }
    // False when the limit passes 4096 or the policy is unknown; `problem` says which.
    static bool MacManagement(const halden::zef::loftdb::MacManagementConfigMsg& config,
                              DPProperty& property, std::string& problem);
    // The port key of a stored extra config key: none for an unknown key,
    // 0 for one the kernel does not take.
    // What an SPF port gets on connection.
    static DPProperty DefaultMacManagement();
    static std::optional<uint16_t> ExtraConfigKey(const std::string& storedKey);
    static bool IsServiceVmKey(uint16_t key) { return key == 261 || key == 262; }
};

}  // namespace CfgAgent
