#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include "LinkProtocol.h"
#include "VxlanTables.h"

namespace Dpsim {

// The overlay L2 module at the far end of the VXLAN control link: it keeps
// what the agent programs per VNI, answers sessions and state queries, and
// joins VNIs, learns and asks on command.
class VxlanProtocol : public LinkProtocol {
public:
    const char* Name() const override { return "vxlan"; }
    const char* DefaultLinkName() const override { return "zef_ovl2_taklink"; }
    Reception Receive(std::span<const uint8_t> message) override;
    DecodedMessage Decode(std::span<const uint8_t> message) const override;
    void AddStatus(cJSON* link) const override;
    void AddPorts(cJSON* link) const override { _tables.Dump(link); }
    std::optional<CommandResult> Execute(const std::vector<std::string>& words) override;

    // The most the module puts in one message, as the agent configures it.
    static constexpr size_t kMaxMessage = 4085;

private:
    // ACK, instances, VNI joins, what was learned, then the end of the full sync.
    std::vector<Message> OpenSession(uint32_t sessionId) const;
    CommandResult Vni(const std::vector<std::string>& words);
    CommandResult Mac(const std::vector<std::string>& words);
    CommandResult LocalVtep(const std::vector<std::string>& words);
    CommandResult Arp(const std::vector<std::string>& words);
    CommandResult Query(const std::vector<std::string>& words) const;
    CommandResult Tep(const std::vector<std::string>& words) const;
    CommandResult Instance(const std::vector<std::string>& words);
    CommandResult SyncState(const std::vector<std::string>& words);

    VxlanTables _tables;
    std::set<uint32_t> _instances;
    // What a State query is answered with.
    bool _outOfSync = false;
    uint32_t _sessionId = 0;
};

}  // namespace Dpsim
