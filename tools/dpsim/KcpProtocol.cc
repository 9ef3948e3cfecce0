#include "KcpProtocol.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <unordered_map>

#include "KcpCommandOptions.h"
#include "KcpDecoder.h"
#include "KcpKernel.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpQueryCodec.h"
#include "port/kcp/KcpSessionCodec.h"
#include "port/kcp/KcpTypes.h"

namespace Dpsim {

using namespace CfgAgent;

namespace {

template <typename Item, typename Key>
auto FindById(std::vector<Item>& items, const std::string& id, Key key) {
    return std::find_if(items.begin(), items.end(),
                        [&](const Item& item) { return key(item) == id; });
}

}  // namespace

DecodedMessage KcpProtocol::Decode(std::span<const uint8_t> message) const {
    return KcpDecoder::Decode(message);
}

LinkProtocol::Reception KcpProtocol::Receive(std::span<const uint8_t> message) {
    Reception reception{KcpDecoder::Decode(message), {}};
    if (!reception.decoded.error.empty()) {
        return reception;
    }
    KcpSessionControl control;
    std::vector<uint16_t> dataTypes;
    if (KcpMessage::HasType(message, KCP_MSG_UPDATE)) {
        reception.decoded.error = _table.Apply(message);
    } else if (KcpSessionCodec::Read(message, control)) {
        if (control.controlType == KCP_SESSION_OPEN) {
            reception.answers = OpenSession(control);
        } else if (control.controlType != KCP_SESSION_CLOSE) {
            reception.decoded.error =
                std::string(KcpSessionCodec::ControlName(control.controlType)) +
                " is sent by the kernel only";
        }
    } else if (KcpQueryCodec::Read(message, dataTypes)) {
        for (uint16_t type : dataTypes) {
            if (type == KCP_QUERY_DP_STATUS) {
                reception.answers.push_back(KcpKernel::DpStatus(false));
            }
        }
    } else if (KcpMessage::HasType(message, KCP_MSG_NOTIFICATION)) {
        reception.decoded.error = "Notification is sent by the kernel only";
    }
    return reception;
}

std::vector<LinkProtocol::Message> KcpProtocol::OpenSession(const KcpSessionControl& open) const {
    // A stale answer carries the ID of the session before, as a kernel slow
    // to notice a new session would.
    const uint32_t sessionId = _staleSessions ? open.sessionId - 1 : open.sessionId;
    std::vector<Message> answers{KcpSessionCodec::Build(KCP_SESSION_OPEN_ACK, sessionId)};
    // The agent takes them as its full report only before the end.
    for (const KeptVif& vif : _vifs) {
        std::string ignored;
        KcpKernel::VifConnect(vif.record, vif.pieces, answers, ignored);
    }
    for (const KcpUplinkRecord& uplink : _uplinks) {
        Message update;
        if (KcpKernel::UplinkUpdate(uplink, true, update)) {
            answers.push_back(std::move(update));
        }
    }
    answers.push_back(KcpSessionCodec::Build(KCP_SESSION_FULL_SYNC_END, sessionId));
    return answers;
}

void KcpProtocol::AddStatus(cJSON* link) const {
    cJSON* vifs = cJSON_AddArrayToObject(link, "vifs");
    for (const KeptVif& vif : _vifs) {
        cJSON_AddItemToArray(vifs, cJSON_CreateString(vif.record.vifId.c_str()));
    }
    cJSON* uplinks = cJSON_AddArrayToObject(link, "uplinks");
    for (const KcpUplinkRecord& uplink : _uplinks) {
        cJSON_AddItemToArray(uplinks, cJSON_CreateString(uplink.uplinkPortId.c_str()));
    }
    cJSON_AddBoolToObject(link, "staleSessions", _staleSessions);
}

std::optional<LinkProtocol::CommandResult> KcpProtocol::Execute(
    const std::vector<std::string>& words) {
    const std::string& command = words[0];
    if (command == "vif") {
        return Vif(words);
    }
    if (command == "uplink") {
        return Uplink(words);
    }
    if (command == "outofsync" || command == "notify") {
        return Notify(words);
    }
    if (command == "stale") {
        return Stale(words);
    }
    return std::nullopt;
}

LinkProtocol::CommandResult KcpProtocol::Vif(const std::vector<std::string>& words) {
    if (words.size() == 4 && words[2] == "connect-file") {
        return ConnectFile(words[3]);
    }
    const bool connect = words.size() >= 4 && words[2] == "connect";
    const bool disconnect = words.size() >= 4 && words[2] == "disconnect" &&
                            (words.size() == 4 || (words.size() == 5 && words[4] == "hotmove"));
    if ((!connect && !disconnect) || words[3].empty()) {
        return Failure(
            "usage: vif LINK connect VIF_ID [OPTION...] | vif LINK connect-file FILE | "
            "vif LINK disconnect VIF_ID [hotmove]");
    }
    const std::string& vifId = words[3];
    auto known = FindById(_vifs, vifId, [](const KeptVif& vif) { return vif.record.vifId; });
    CommandResult result;
    result.keepsState = true;
    if (disconnect) {
        KcpVifRecord head;
        head.vifId = head.portId = vifId;
        head.vifType = KCP_VIF_VNIC;
        if (known != _vifs.end()) {
            head = known->record;
            _vifs.erase(known);
        }
        result.messages.emplace_back();
        KcpKernel::VifDisconnect(head, words.size() == 5, result.messages.back());
        return result;
    }
    KeptVif vif;
    std::string error;
    if (!MakeVif(words, 3, vif, result.messages, error)) {
        return Failure(error);
    }
    if (known != _vifs.end()) {
        *known = std::move(vif);
    } else {
        _vifs.push_back(std::move(vif));
    }
    return result;
}

bool KcpProtocol::MakeVif(const std::vector<std::string>& words, size_t at, KeptVif& vif,
                          std::vector<Message>& messages, std::string& error) {
    vif.record.vifId = vif.record.portId = words[at];
    vif.record.vifType = KCP_VIF_VNIC;
    return KcpCommandOptions::ParseVif(words, at + 1, vif.record, vif.pieces, error) &&
           KcpKernel::VifConnect(vif.record, vif.pieces, messages, error);
}

LinkProtocol::CommandResult KcpProtocol::ConnectFile(const std::string& path) {
    std::ifstream file(path);
    if (!file) {
        return Failure("cannot read " + path);
    }
    CommandResult result;
    result.keepsState = true;
    std::vector<KeptVif> read;
    size_t number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        std::istringstream stream(line);
        std::vector<std::string> words;
        for (std::string word; stream >> word;) {
            words.push_back(word);
        }
        if (words.empty()) {
            continue;
        }
        KeptVif vif;
        std::string error;
        if (!MakeVif(words, 0, vif, result.messages, error)) {
            return Failure(path + ":" + std::to_string(number) + ": " + error);
        }
        read.push_back(std::move(vif));
    }
    // Indexed once, so that a large file costs no search per line.
    std::unordered_map<std::string, size_t> index;
    for (size_t i = 0; i < _vifs.size(); ++i) {
        index.emplace(_vifs[i].record.vifId, i);
    }
    for (KeptVif& vif : read) {
        const auto [at, fresh] = index.emplace(vif.record.vifId, _vifs.size());
        if (fresh) {
            _vifs.push_back(std::move(vif));
        } else {
            _vifs[at->second] = std::move(vif);
        }
    }
    return result;
}

LinkProtocol::CommandResult KcpProtocol::Uplink(const std::vector<std::string>& words) {
    const bool add = words.size() >= 4 && words[2] == "add";
    const bool remove = words.size() == 4 && words[2] == "remove";
    if ((!add && !remove) || words[3].empty()) {
        return Failure(
            "usage: uplink LINK add UPLINK_PORT_ID [switch=ID] [name=CLIENT] "
            "[alias=ALIAS] | uplink LINK remove UPLINK_PORT_ID");
    }
    auto known = FindById(_uplinks, words[3],
                          [](const KcpUplinkRecord& uplink) { return uplink.uplinkPortId; });
    KcpUplinkRecord uplink;
    uplink.uplinkPortId = uplink.clientName = words[3];
    std::string error;
    if (remove && known != _uplinks.end()) {
        uplink = *known;
        _uplinks.erase(known);
    } else if (add && !KcpCommandOptions::ParseUplink(words, 4, uplink, error)) {
        return Failure(error);
    } else if (add && known != _uplinks.end()) {
        *known = uplink;
    } else if (add) {
        _uplinks.push_back(uplink);
    }
    CommandResult result;
    result.keepsState = true;
    result.messages.emplace_back();
    KcpKernel::UplinkUpdate(uplink, add, result.messages.back());
    return result;
}

LinkProtocol::CommandResult KcpProtocol::Notify(const std::vector<std::string>& words) const {
    CommandResult result;
    if (words[0] == "outofsync") {
        if (words.size() != 2) {
            return Failure("usage: outofsync LINK");
        }
        result.messages.push_back(KcpKernel::DpStatus(true));
        return result;
    }
    KcpNotification notification;
    unsigned long syncType = 0;
    const std::string kind = words.size() > 2 ? words[2] : "";
    if (words.size() == 4 && kind == "portprop") {
        notification.type = KCP_NOTIFY_PORT_PROPERTY_OUT_OF_SYNC;
    } else if (words.size() == 4 && kind == "taknicprop") {
        notification.type = KCP_NOTIFY_TAKNIC_PROPERTY_OUT_OF_SYNC;
    } else if (words.size() == 5 && kind == "containersync" &&
               KcpCommandOptions::ParseNumber(words[4], 0xFFFF, syncType)) {
        notification.type = KCP_NOTIFY_PORT_CONTAINER_FULL_SYNC;
        notification.syncType = static_cast<uint16_t>(syncType);
    } else {
        return Failure(
            "usage: notify LINK portprop VIF_ID | notify LINK taknicprop NAME | "
            "notify LINK containersync VIF_ID SYNC_TYPE");
    }
    notification.id = words[3];
    result.messages.push_back(KcpKernel::Notify(notification));
    return result;
}

LinkProtocol::CommandResult KcpProtocol::Stale(const std::vector<std::string>& words) {
    if (words.size() != 3 || (words[2] != "on" && words[2] != "off")) {
        return Failure("usage: stale LINK on|off");
    }
    _staleSessions = words[2] == "on";
    CommandResult result;
    result.keepsState = true;
    return result;
}

}  // namespace Dpsim
