#pragma once

#include <cjson/cJSON.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "DecodedMessage.h"

namespace Dpsim {

// The kernel module behind one link, for one wire format. It knows nothing
// of sockets: it is handed each framed agent message and gives back what the
// module answers, so the same object could serve a device request as well.
// A LinkServer calls it from its serving thread only.
class LinkProtocol {
public:
    using Message = std::vector<uint8_t>;

    struct Reception {
        DecodedMessage decoded;
        std::vector<Message> answers;
    };

    struct CommandResult {
        std::string error;
        std::vector<Message> messages;
        // The command changed kept state, so it stands even with no agent
        // there to tell.
        bool keepsState = false;
    };

    virtual ~LinkProtocol() = default;

    // The name given after the colon of --link NAME:PROTOCOL.
    virtual const char* Name() const = 0;
    // The link name the agent uses when its configuration names none; empty
    // when the agent always needs one configured.
    virtual const char* DefaultLinkName() const { return ""; }
    // One agent message: decoded for the record and applied. A message whose
    // decoded error is set changes nothing and is not answered.
    virtual Reception Receive(std::span<const uint8_t> message) = 0;
    // Decodes for the record without applying: what the module sends, or
    // agent bytes that could not be framed.
    virtual DecodedMessage Decode(std::span<const uint8_t> message) const = 0;
    // The agent's connection ended; what it left half sent is dropped.
    virtual void Disconnected() {}
    // Fields of this module's own state for the status command.
    virtual void AddStatus(cJSON* link) const = 0;
    // The module's view for the ports command.
    virtual void AddPorts(cJSON* link) const = 0;
    // A control command whose second word is the link; nothing when the
    // command is not one of this protocol's.
    virtual std::optional<CommandResult> Execute(const std::vector<std::string>& words) = 0;

    // Null for a name no protocol answers to.
    static std::unique_ptr<LinkProtocol> Create(const std::string& name);

    // What the protocols' commands share: a refusal, and a 32-bit number
    // in decimal or hexadecimal.
    static CommandResult Failure(std::string error);
    static bool Number(const std::string& text, uint32_t& number);
};

}  // namespace Dpsim
