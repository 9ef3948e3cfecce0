#include "SwsecProtocol.h"

#include "AddressText.h"
#include "dplink/BigEndian.h"
#include "port/swsec/SwsecCodec.h"
#include "dplink/Tlv.h"

namespace Dpsim {

namespace {

cJSON* BindingsJson(const CfgAgent::SwsecBindings& bindings) {
    cJSON* json = cJSON_CreateObject();
    cJSON_AddStringToObject(json, "switchId", bindings.switchId.c_str());
    cJSON* entries = cJSON_AddArrayToObject(json, "entries");
    for (const CfgAgent::KcpContainerEntry& entry : bindings.entries) {
        cJSON* one = cJSON_CreateObject();
        cJSON_AddStringToObject(one, "ip", AddressText::Ip(entry.ipv4, entry.ip).c_str());
        cJSON_AddStringToObject(one, "mac", AddressText::Mac(entry.mac).c_str());
        cJSON_AddItemToArray(entries, one);
    }
    return json;
}

bool IsBindings(std::span<const uint8_t> message) {
    return message.size() >= CfgAgent::Tlv::kHeaderSize &&
           CfgAgent::BigEndian::Get16(message.data()) == CfgAgent::SwsecCodec::SWSEC_TOOLS_BINDINGS;
}

DecodedMessage DecodeBindings(std::span<const uint8_t> message, CfgAgent::SwsecBindings& bindings) {
    DecodedMessage decoded{"Tools bindings", JsonPtr(cJSON_CreateObject()), {}, {}};
    decoded.error = CfgAgent::SwsecCodec::ReadBindings(message, bindings);
    cJSON_AddStringToObject(decoded.fields.get(), "portId", bindings.portId.c_str());
    cJSON_AddItemToObject(decoded.fields.get(), "bindings", BindingsJson(bindings));
    return decoded;
}

}  // namespace

DecodedMessage SwsecProtocol::Decode(std::span<const uint8_t> message) const {
    if (message.size() < CfgAgent::Tlv::kHeaderSize) {
        return {"unknown",
                JsonPtr(cJSON_CreateObject()),
                "message of " + std::to_string(message.size()) + " bytes cannot hold its header",
                {}};
    }
    if (IsBindings(message)) {
        CfgAgent::SwsecBindings bindings;
        return DecodeBindings(message, bindings);
    }
    const uint16_t type = CfgAgent::BigEndian::Get16(message.data());
    DecodedMessage decoded{"unknown " + std::to_string(type),
                           JsonPtr(cJSON_CreateObject()),
                           "unknown message type " + std::to_string(type),
                           {}};
    std::string vifId;
    if (type == CfgAgent::SwsecCodec::SWSEC_SOLICITATION) {
        decoded.type = "Solicitation";
        vifId = CfgAgent::SwsecCodec::ReadSolicitation(message);
        decoded.error = vifId.empty() ? "a solicitation holds one whole NUL-ended VIF ID" : "";
        cJSON_AddStringToObject(decoded.fields.get(), "vifId", vifId.c_str());
    }
    return decoded;
}

LinkProtocol::Reception SwsecProtocol::Receive(std::span<const uint8_t> message) {
    if (IsBindings(message)) {
        CfgAgent::SwsecBindings bindings;
        Reception reception{DecodeBindings(message, bindings), {}};
        if (reception.decoded.error.empty()) {
            _bindings[bindings.portId] = std::move(bindings);
        }
        return reception;
    }
    Reception reception{Decode(message), {}};
    if (reception.decoded.error.empty()) {
        reception.decoded.error = reception.decoded.type + " is sent by the module only";
    }
    return reception;
}

void SwsecProtocol::AddStatus(cJSON* link) const {
    cJSON_AddNumberToObject(link, "boundPorts", static_cast<double>(_bindings.size()));
}

void SwsecProtocol::AddPorts(cJSON* link) const {
    cJSON* all = cJSON_AddObjectToObject(link, "bindings");
    for (const auto& [portId, bindings] : _bindings) {
        cJSON_AddItemToObject(all, portId.c_str(), BindingsJson(bindings));
    }
}

std::optional<LinkProtocol::CommandResult> SwsecProtocol::Execute(
    const std::vector<std::string>& words) {
    if (words[0] != "solicit") {
        return std::nullopt;
    }
    CommandResult result;
    if (words.size() != 3 || words[2].empty()) {
        result.error = "usage: solicit LINK VIF_ID";
        return result;
    }
    result.messages.push_back(CfgAgent::SwsecCodec::BuildSolicitation(words[2]));
    return result;
}

}  // namespace Dpsim
