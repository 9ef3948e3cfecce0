#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <random>
#include <set>
#include <sstream>

#include "PortRoad.h"

namespace {

using zef::test::KernelPort;
using Ports = std::map<std::string, KernelPort>;

constexpr int kSwitches = 12;
constexpr int kPorts = 300;

// A tri-state stored flag: absent, false or true.
using Flag = std::optional<bool>;

struct SwitchState {
    std::optional<uint32_t> vni;
    std::optional<uint32_t> vlan;
    Flag admin;
};

struct PortState {
    int switchIndex = 0;
    Flag admin;
};

// What the kernel must hold of a connected port, from the stored state alone:
// the switch's VNI (key 1) and VLAN (key 102), and key 101 unblocked only when
// both admin states are up and the switch has a VNI or a VLAN.
KernelPort Expected(const PortState& port, const SwitchState& sw) {
    KernelPort kernel;
    char hex[32];
    if (sw.vni) {
        std::snprintf(hex, sizeof hex, "%08x", *sw.vni);
        kernel.properties[1] = hex;
    }
    if (sw.vlan) {
        std::snprintf(hex, sizeof hex, "0000%04x00000000", *sw.vlan);
        kernel.properties[102] = hex;
    }
    const bool up = port.admin.value_or(false) && sw.admin.value_or(false) && (sw.vni || sw.vlan);
    kernel.block = up ? "false" : "true";
    return kernel;
}

// The keys the expectation speaks of; a cleared VLAN reads as none.
KernelPort Observed(const KernelPort& port) {
    KernelPort seen;
    seen.block = port.block;
    for (int key : {1, 102}) {
        auto it = port.properties.find(key);
        if (it != port.properties.end() && !it->second.empty() &&
            it->second != std::string(16, '0')) {
            seen.properties[key] = it->second;
        }
    }
    return seen;
}

class PortScenarioTest : public ::testing::Test, protected zef::test::PortRoad {
protected:
    void SetUp() override {
        const char* seed = std::getenv("ZEF_SCENARIO_SEED");
        _seed = seed != nullptr ? static_cast<unsigned>(std::stoul(seed)) : std::random_device{}();
        _random.seed(_seed);
    }

    Flag RandomFlag() {
        const int pick = Pick(3);
        return pick == 0 ? Flag() : Flag(pick == 1);
    }
    int Pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(_random); }

    SwitchState RandomSwitch() {
        SwitchState sw;
        if (Pick(4) != 0) {
            sw.vni = 5000 + static_cast<uint32_t>(Pick(1000));
        }
        if (Pick(3) == 0) {
            sw.vlan = 1 + static_cast<uint32_t>(Pick(4000));
        }
        sw.admin = RandomFlag();
        return sw;
    }

    static std::string Id(int left, int right) {
        return R"({"left":")" + std::to_string(left) + R"(","right":")" + std::to_string(right) + "\"}";
    }
    static std::string Flags(const char* name, const Flag& flag) {
        return flag ? std::string(",\"") + name + "\":" + (*flag ? "true" : "false") : "";
    }
    std::string SwitchPut(int index) const {
        const SwitchState& sw = _switches[index];
        std::string object = "{\"id\":" + Id(1, index + 1);
        object += sw.vni ? ",\"vni\":" + std::to_string(*sw.vni) : "";
        object += sw.vlan ? ",\"vlan\":" + std::to_string(*sw.vlan) : "";
        object += Flags("admin_state_up", sw.admin) + "}";
        return R"({"put":{"type":"LOG_SWITCH_CONFIG","object":)" + object + "}}";
    }
    std::string PortPut(int index) const {
        const PortState& port = _ports[index];
        std::string object = "{\"id\":" + Id(2, index + 1) + ",\"switch_id\":" +
                             Id(1, port.switchIndex + 1) + R"(,"attachment":{"id":"vif-)" +
                             std::to_string(index) + "\"}" + Flags("admin_state_up", port.admin) + "}";
        return R"({"put":{"type":"LOG_SWITCH_PORT_CONFIG","object":)" + object + "}}";
    }

    // The writes in random order, cut into transactions of random size.
    void ApplyInRandomTransactions(std::vector<std::string> writes) {
        std::shuffle(writes.begin(), writes.end(), _random);
        for (size_t at = 0; at < writes.size();) {
            const size_t size = std::min(writes.size() - at, static_cast<size_t>(1 + Pick(60)));
            std::string file = R"({"vdb":[1],"modify":[)";
            for (size_t i = at; i < at + size; ++i) {
                file += (i == at ? "" : ",") + writes[i];
            }
            file += "]}";
            const std::string path = Root() + "/tx.json";
            std::ofstream(path) << file;
            Store({"apply", path});
            at += size;
        }
    }

    Ports ExpectedTable() const {
        Ports table;
        for (int i = 0; i < kPorts; ++i) {
            table["vif-" + std::to_string(i)] = Expected(_ports[i], _switches[_ports[i].switchIndex]);
        }
        return table;
    }

    unsigned _seed = 0;
    std::mt19937 _random;
    std::vector<SwitchState> _switches;
    std::vector<PortState> _ports;
};

TEST_F(PortScenarioTest, ThePortTableEndsAsTheStoredStateImplies) {
    SCOPED_TRACE("ZEF_SCENARIO_SEED=" + std::to_string(_seed));
    for (int i = 0; i < kSwitches; ++i) {
        _switches.push_back(RandomSwitch());
    }
    for (int i = 0; i < kPorts; ++i) {
        _ports.push_back({Pick(kSwitches), RandomFlag()});
    }
    StartStore();
    StartDpsim({std::string(kLink) + ":kcp"});
    // Half the VIFs are there before the agent, half come while the store fills.
    for (int i = 0; i < kPorts / 2; ++i) {
        Dpsim({"vif", kLink, "connect", "vif-" + std::to_string(i), "port=" + Uuid(2, i + 1)});
    }
    StartAgent(AgentConfig());
    std::vector<std::string> writes;
    for (int i = 0; i < kSwitches; ++i) {
        writes.push_back(SwitchPut(i));
    }
    for (int i = 0; i < kPorts; ++i) {
        writes.push_back(PortPut(i));
    }
    ApplyInRandomTransactions(writes);
    for (int i = kPorts / 2; i < kPorts; ++i) {
        Dpsim({"vif", kLink, "connect", "vif-" + std::to_string(i), "port=" + Uuid(2, i + 1)});
    }

    // Then the stored state moves on under the connected ports; an object is
    // written once, so that the shuffle cannot reorder its states.
    std::set<int> switches;
    std::set<int> ports;
    for (int round = 0; round < kSwitches; ++round) {
        const int index = Pick(kSwitches);
        _switches[index] = RandomSwitch();
        switches.insert(index);
    }
    for (int round = 0; round < kPorts / 3; ++round) {
        const int index = Pick(kPorts);
        _ports[index].admin = RandomFlag();
        ports.insert(index);
    }
    writes.clear();
    for (int index : switches) {
        writes.push_back(SwitchPut(index));
    }
    for (int index : ports) {
        writes.push_back(PortPut(index));
    }
    ApplyInRandomTransactions(writes);

    const Ports expected = ExpectedTable();
    Ports observed;
    Ports raw;
    const bool converged = PollPorts(
        [&](const Ports& table) {
            observed.clear();
            for (const auto& [vif, port] : table) {
                observed[vif] = Observed(port);
            }
            return observed == expected;
        },
        raw);
    ASSERT_EQ(observed.size(), expected.size());
    if (!converged) {
        for (const auto& [vif, port] : expected) {
            EXPECT_EQ(observed[vif].block, port.block) << vif;
            EXPECT_EQ(observed[vif].properties, port.properties) << vif;
        }
    }
    EXPECT_TRUE(converged);
}

}  // namespace
