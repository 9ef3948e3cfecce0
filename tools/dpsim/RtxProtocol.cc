#include "RtxProtocol.h"

#include "AddressText.h"
#include "dplink/BigEndian.h"
#include "l3/codec/RtxDump.h"
#include "l3/codec/RtxEntryCodec.h"
#include "l3/codec/RtxTypes.h"

namespace Dpsim {

using namespace CfgAgent;

namespace {

const char* TypeName(uint16_t type) {
    switch (type) {
        case RTX_MSG_UPDATE: return "UPDATE";
        case RTX_MSG_FLUSH: return "GENERIC FLUSH";
        case RTX_MSG_INSTANCE_LIST: return "INSTANCE LIST";
        case RTX_MSG_INSTANCE_MARKER: return "INSTANCE MARKER";
        case RTX_MSG_FULL_SYNC_END: return "FULL SYNC END";
        case RTX_MSG_BRIDGE_MARKER: return "BRIDGE ENDPOINT MARKER";
        default: return "other";
    }
}

// What the kernel sends: one entry in an UPDATE of its own.
LinkProtocol::CommandResult Sent(const std::vector<uint8_t>& entry) {
    LinkProtocol::CommandResult result;
    std::vector<uint8_t> message(4, 0);
    message.insert(message.end(), entry.begin(), entry.end());
    BigEndian::Put16(message.data(), RTX_MSG_UPDATE);
    BigEndian::Put16(message.data() + 2, static_cast<uint16_t>(message.size()));
    result.messages.push_back(std::move(message));
    return result;
}

}  // namespace

DecodedMessage RtxProtocol::Decode(std::span<const uint8_t> message) const {
    DecodedMessage decoded;
    decoded.fields.reset(cJSON_CreateObject());
    decoded.dump = RtxDump::Render(message);
    if (message.size() < 4) {
        decoded.type = "short";
        decoded.error = "shorter than a header";
        return decoded;
    }
    decoded.type = TypeName(BigEndian::Get16(message.data()));
    if (BigEndian::Get16(message.data()) == RTX_MSG_UPDATE) {
        cJSON* entries = cJSON_AddArrayToObject(decoded.fields.get(), "entries");
        for (size_t at = 4; at + 4 <= message.size();) {
            const uint16_t length = BigEndian::Get16(message.data() + at + 2);
            cJSON* entry = cJSON_CreateObject();
            cJSON_AddNumberToObject(entry, "type", BigEndian::Get16(message.data() + at));
            cJSON_AddNumberToObject(entry, "length", length);
            cJSON_AddItemToArray(entries, entry);
            if (length < 4) {
                break;
            }
            at += length;
        }
    }
    return decoded;
}

LinkProtocol::Reception RtxProtocol::Receive(std::span<const uint8_t> message) {
    Reception reception{Decode(message), {}};
    if (reception.decoded.error.empty()) {
        reception.decoded.error = _tables.Apply(message);
    }
    return reception;
}

void RtxProtocol::AddStatus(cJSON* link) const {
    cJSON_AddNumberToObject(link, "routers", static_cast<double>(_tables.Routers().size()));
    cJSON_AddNumberToObject(link, "lifs", static_cast<double>(_tables.LifCount()));
    cJSON_AddNumberToObject(link, "routes", static_cast<double>(_tables.RouteCount()));
}

std::optional<LinkProtocol::CommandResult> RtxProtocol::Execute(const std::vector<std::string>& words) {
    if (words[0] == "instance") {
        return Instance(words);
    }
    if (words[0] == "dad") {
        return Dad(words);
    }
    return std::nullopt;
}

LinkProtocol::CommandResult RtxProtocol::Instance(const std::vector<std::string>& words) const {
    uint32_t rtxId = RTX_ALL_ROUTERS;
    const bool ok = words.size() == 4 && (words[3] == "all" || Number(words[3], rtxId)) &&
                    (words[2] == "join" || words[2] == "leave" || words[2] == "sync");
    if (!ok) {
        return Failure("usage: instance LINK join|leave|sync RTX_ID|all");
    }
    const uint8_t change = words[2] == "leave" ? 1 : words[2] == "sync" ? 2 : 0;
    return Sent(RtxEntryCodec::BuildInstanceReport(rtxId, change));
}

LinkProtocol::CommandResult RtxProtocol::Dad(const std::vector<std::string>& words) const {
    RtxDadReport report;
    bool ipv4 = false;
    uint32_t status = 0;
    const bool ok = (words.size() == 5 || words.size() == 6) && AddressText::ParseIp(words[3], ipv4, report.ip) &&
                    Number(words[4], status) && status <= 0xFF;
    if (!ok) {
        return Failure("usage: dad LINK LIF IP STATUS [VERSION]");
    }
    report.lifName = words[2];
    report.status = static_cast<uint8_t>(status);
    report.version = words.size() == 6 ? words[5] : "";
    return Sent(RtxEntryCodec::BuildDadReport(report));
}

}  // namespace Dpsim
