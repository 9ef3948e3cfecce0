#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <set>
#include <string>

#include "HostProcesses.h"

namespace zef::test {

// What the overlay module holds of what the agent programmed for one VNI.
struct OverlayVni {
    std::set<std::string> vteps;  // "label ip"
    std::set<std::string> macs;   // "mac label"

    bool operator==(const OverlayVni&) const = default;
};
using Overlay = std::map<uint32_t, OverlayVni>;
void PrintTo(const OverlayVni& vni, std::ostream* out);

// The overlay as the store has it, and the VNIs the module joined.
struct OverlayStore {
    struct Switch {
        uint32_t vni = 0;
        std::map<uint32_t, uint32_t> vteps;  // label to IPv4
        std::map<uint64_t, uint32_t> macs;   // MAC to VTEP label
        bool hasFib = false;
    };
    std::map<uint64_t, Switch> switches;  // by the left half of the id
    std::set<uint32_t> joined;

    // The store's JSON of a switch's configuration and of its FIB.
    static std::string SwitchJson(uint64_t left, const Switch& sw);
    static std::string FibJson(uint64_t left, const Switch& sw);
};

// What the module must hold once the agent caught up: each joined VNI whose
// switch the store configures holds that switch's FIB; a joined VNI of no
// switch holds nothing.
Overlay ExpectedOverlay(const OverlayStore& store);

// The store, the simulator with the port and overlay links, and the agent
// with the port and overlay applications.
class OverlayRoad : public HostProcesses {
public:
    static constexpr const char* kLink = "zef_ovl2_taklink";
    static constexpr uint32_t kInstance = 7;

    static std::string AgentConfig();
    void StartAll();
    void StartSimulator();

    Overlay KernelOverlay();
    bool PollOverlay(const Overlay& expected, Overlay& last);
    void Join(uint32_t vni);
    void Leave(uint32_t vni);
};

}  // namespace zef::test
