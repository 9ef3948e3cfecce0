#pragma once

#include <cstddef>
#include <vector>

#include "KcpPortTable.h"
#include "LinkProtocol.h"
#include "port/kcp/KcpSessionControl.h"
#include "port/kcp/KcpUplinkRecord.h"
#include "port/kcp/KcpVifRecord.h"

namespace Dpsim {

// The switching module at the far end of the port control link: it keeps
// the port table the agent feeds, answers sessions and status queries, and
// reports the VIFs and uplinks it is told to have.
class KcpProtocol : public LinkProtocol {
public:
    const char* Name() const override { return "kcp"; }
    Reception Receive(std::span<const uint8_t> message) override;
    DecodedMessage Decode(std::span<const uint8_t> message) const override;
    void Disconnected() override { _table.DropPending(); }
    void AddStatus(cJSON* link) const override;
    void AddPorts(cJSON* link) const override { _table.Dump(link); }
    std::optional<CommandResult> Execute(const std::vector<std::string>& words) override;

private:
    struct KeptVif {
        CfgAgent::KcpVifRecord record;
        size_t pieces = 1;
    };

    // ACK, every kept VIF and uplink, then the end of the full sync.
    std::vector<Message> OpenSession(const CfgAgent::KcpSessionControl& open) const;
    CommandResult Vif(const std::vector<std::string>& words);
    // The VIFs of a file, one `VIF_ID [OPTION...]` per line, kept in one go:
    // a bench connects a hundred thousand of them.
    CommandResult ConnectFile(const std::string& path);
    // A VIF from its ID at words[at] and the options after it, with its report.
    static bool MakeVif(const std::vector<std::string>& words, size_t at, KeptVif& vif,
                        std::vector<Message>& messages, std::string& error);
    CommandResult Uplink(const std::vector<std::string>& words);
    CommandResult Notify(const std::vector<std::string>& words) const;
    CommandResult Stale(const std::vector<std::string>& words);

    KcpPortTable _table;
    std::vector<KeptVif> _vifs;  // in the order they connected
    std::vector<CfgAgent::KcpUplinkRecord> _uplinks;
    bool _staleSessions = false;
};

}  // namespace Dpsim
