#pragma once

#include <map>
#include <string>

#include "LinkProtocol.h"
#include "port/swsec/SwsecBindings.h"

namespace Dpsim {

// The switch security module: it keeps the last tools bindings the agent
// gave for each port and asks for a VIF's bindings on command.
class SwsecProtocol : public LinkProtocol {
public:
    const char* Name() const override { return "swsec"; }
    const char* DefaultLinkName() const override { return "swsec_taklink"; }
    Reception Receive(std::span<const uint8_t> message) override;
    DecodedMessage Decode(std::span<const uint8_t> message) const override;
    void AddStatus(cJSON* link) const override;
    void AddPorts(cJSON* link) const override;
    std::optional<CommandResult> Execute(const std::vector<std::string>& words) override;

private:
    // By port ID.
    std::map<std::string, CfgAgent::SwsecBindings> _bindings;
};

}  // namespace Dpsim
