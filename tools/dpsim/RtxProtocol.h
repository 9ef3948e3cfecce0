#pragma once

#include "LinkProtocol.h"
#include "RtxTables.h"

namespace Dpsim {

// The distributed router module at the far end of the RTX link: it keeps
// what the agent programs per router and sends instance reports (joins,
// leaves, full sync requests) and DAD reports on command.
class RtxProtocol : public LinkProtocol {
public:
    const char* Name() const override { return "rtx"; }
    const char* DefaultLinkName() const override { return "zef_rtx_taklink"; }
    Reception Receive(std::span<const uint8_t> message) override;
    DecodedMessage Decode(std::span<const uint8_t> message) const override;
    void AddStatus(cJSON* link) const override;
    void AddPorts(cJSON* link) const override { _tables.Dump(link); }
    std::optional<CommandResult> Execute(const std::vector<std::string>& words) override;

private:
    CommandResult Instance(const std::vector<std::string>& words) const;
    CommandResult Dad(const std::vector<std::string>& words) const;

    RtxTables _tables;
};

}  // namespace Dpsim
