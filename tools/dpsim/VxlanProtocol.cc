#include "VxlanProtocol.h"

#include "AddressText.h"
#include "KcpCommandOptions.h"
#include "VxlanDecoder.h"
#include "l2/codec/VxlanControlCodec.h"
#include "l2/codec/VxlanIpUpdateCodec.h"
#include "l2/codec/VxlanMacUpdateCodec.h"
#include "l2/codec/VxlanMessage.h"
#include "l2/codec/VxlanQueryCodec.h"
#include "l2/codec/VxlanTepStateCodec.h"
#include "l2/codec/VxlanUpdateCodec.h"
#include "l2/codec/VxlanVtepUpdateCodec.h"

namespace Dpsim {

using namespace CfgAgent;

namespace {

bool Ipv4(const std::string& text, uint32_t& ip) {
    bool v4 = false;
    VxlanIp bytes;
    if (!AddressText::ParseIp(text, v4, bytes) || !v4) {
        return false;
    }
    ip = (uint32_t{bytes[0]} << 24) | (uint32_t{bytes[1]} << 16) | (uint32_t{bytes[2]} << 8) |
         bytes[3];
    return true;
}

// The Update messages around a row of data TLVs, each within the module's limit.
void AddUpdates(const std::vector<std::vector<uint8_t>>& row,
                std::vector<LinkProtocol::Message>& messages) {
    std::vector<LinkProtocol::Message> packed;
    if (!row.empty() && VxlanUpdateCodec::Pack(row, VxlanProtocol::kMaxMessage, packed)) {
        messages.insert(messages.end(), packed.begin(), packed.end());
    }
}

// What the module tells the agent of its own tables, which stands whether
// or not an agent is there to hear it.
template <typename Codec, typename Update>
LinkProtocol::CommandResult Reported(const Update& update) {
    LinkProtocol::CommandResult result;
    result.keepsState = true;
    std::vector<uint8_t> tlv;
    Codec::Build(update, tlv);
    AddUpdates({tlv}, result.messages);
    return result;
}

}  // namespace

DecodedMessage VxlanProtocol::Decode(std::span<const uint8_t> message) const {
    return VxlanDecoder::Decode(message);
}

LinkProtocol::Reception VxlanProtocol::Receive(std::span<const uint8_t> message) {
    Reception reception{VxlanDecoder::Decode(message), {}};
    if (!reception.decoded.error.empty()) {
        return reception;
    }
    const uint16_t type = VxlanMessage::Header(message)->Type();
    switch (type) {
        case VXLAN_MSG_SESSION_CONTROL: {
            VxlanSession session;
            VxlanControlCodec::ReadSession(message, session);
            if (session.controlType == VXLAN_SESSION_OPEN) {
                _sessionId = session.sessionId;
                _tables.ForgetProgrammed();
                reception.answers = OpenSession(session.sessionId);
            } else if (session.controlType != VXLAN_SESSION_CLOSE) {
                reception.decoded.error =
                    std::string(VxlanControlCodec::SessionName(session.controlType)) +
                    " is sent by the kernel only";
            }
            break;
        }
        case VXLAN_MSG_STATE_QUERY:
            reception.answers.push_back(VxlanControlCodec::BuildStateReport(_outOfSync));
            break;
        case VXLAN_MSG_QUERY:
        case VXLAN_MSG_STATE_REPORT:
        case VXLAN_MSG_INSTANCE_CHANGE:
        case VXLAN_MSG_TEP_STATE:
        case VXLAN_MSG_NOTIFICATION:
            reception.decoded.error =
                std::string(VxlanMessage::TypeName(type)) + " is sent by the kernel only";
            break;
        default:
            reception.decoded.error = _tables.Apply(message);
            break;
    }
    return reception;
}

std::vector<LinkProtocol::Message> VxlanProtocol::OpenSession(uint32_t sessionId) const {
    std::vector<Message> answers{
        VxlanControlCodec::BuildSession({VXLAN_SESSION_OPEN_ACK, sessionId})};
    for (uint32_t instance : _instances) {
        answers.push_back(VxlanControlCodec::BuildInstanceChange({instance, VXLAN_JOIN}));
    }
    std::vector<std::vector<uint8_t>> learned;
    for (const auto& [number, vni] : _tables.Vnis()) {
        answers.push_back(VxlanControlCodec::BuildVniMembership({vni.switchId, number, VXLAN_JOIN}));
        VxlanVtepUpdate vteps{vni.switchId, number, {}, {}};
        for (const auto& [key, entry] : vni.localVteps) {
            vteps.added.push_back(entry);
        }
        VxlanMacUpdate macs{vni.switchId, number, {}, {}};
        for (const auto& [mac, entry] : vni.learnedMacs) {
            macs.added.push_back(entry);
        }
        VxlanIpUpdate ips[2] = {{false, vni.switchId, number, {}, {}},
                                {true, vni.switchId, number, {}, {}}};
        for (const auto& [key, mac] : vni.learnedIps) {
            ips[key.first ? 1 : 0].added.push_back({key.second, mac});
        }
        std::vector<uint8_t> tlv;
        if (!vteps.added.empty() && VxlanVtepUpdateCodec::Build(vteps, tlv)) {
            learned.push_back(tlv);
        }
        if (!macs.added.empty() && VxlanMacUpdateCodec::Build(macs, tlv)) {
            learned.push_back(tlv);
        }
        for (const VxlanIpUpdate& update : ips) {
            if (!update.added.empty() && VxlanIpUpdateCodec::Build(update, tlv)) {
                learned.push_back(tlv);
            }
        }
    }
    AddUpdates(learned, answers);
    answers.push_back(VxlanControlCodec::BuildSession({VXLAN_SESSION_FULL_SYNC_END, sessionId}));
    return answers;
}

void VxlanProtocol::AddStatus(cJSON* link) const {
    cJSON_AddNumberToObject(link, "sessionId", _sessionId);
    cJSON_AddBoolToObject(link, "outOfSync", _outOfSync);
    cJSON* vnis = cJSON_AddArrayToObject(link, "vnis");
    for (const auto& [number, vni] : _tables.Vnis()) {
        cJSON_AddItemToArray(vnis, cJSON_CreateNumber(number));
    }
    cJSON* instances = cJSON_AddArrayToObject(link, "instances");
    for (uint32_t instance : _instances) {
        cJSON_AddItemToArray(instances, cJSON_CreateNumber(instance));
    }
    // What the agent programmed, counted, so a large table is checked without its dump.
    size_t vteps = 0;
    size_t macs = 0;
    size_t ips = 0;
    for (const auto& [number, vni] : _tables.Vnis()) {
        vteps += vni.vteps.size();
        macs += vni.macs.size();
        ips += vni.ips.size();
    }
    cJSON* counts = cJSON_AddObjectToObject(link, "programmed");
    cJSON_AddNumberToObject(counts, "vteps", static_cast<double>(vteps));
    cJSON_AddNumberToObject(counts, "macs", static_cast<double>(macs));
    cJSON_AddNumberToObject(counts, "ips", static_cast<double>(ips));
}

std::optional<LinkProtocol::CommandResult> VxlanProtocol::Execute(
    const std::vector<std::string>& words) {
    const std::string& command = words[0];
    if (command == "vni") {
        return Vni(words);
    }
    if (command == "mac") {
        return Mac(words);
    }
    if (command == "arp") {
        return Arp(words);
    }
    if (command == "vtep") {
        return LocalVtep(words);
    }
    if (command == "query") {
        return Query(words);
    }
    if (command == "tep") {
        return Tep(words);
    }
    if (command == "instance") {
        return Instance(words);
    }
    if (command == "outofsync") {
        if (words.size() != 2) {
            return Failure("usage: outofsync LINK");
        }
        CommandResult result;
        result.messages.push_back(VxlanControlCodec::BuildStateReport(true));
        return result;
    }
    if (command == "syncstate") {
        return SyncState(words);
    }

    return std::nullopt;
}

LinkProtocol::CommandResult VxlanProtocol::Vni(const std::vector<std::string>& words) {
    uint32_t first = 0;
    uint32_t last = 0;
    uint32_t switchId = 1;
    const bool join = (words.size() == 4 || words.size() == 5) && words[2] == "join" &&
                      (words.size() == 4 || Number(words[4], switchId));
    const bool leave = words.size() == 4 && words[2] == "leave";
    // A join may name a range of VNIs, FIRST-LAST.
    const size_t dash = join ? words[3].find('-') : std::string::npos;
    const bool numbers = dash == std::string::npos
                             ? Number(words.size() > 3 ? words[3] : "", first) && (last = first, true)
                             : Number(words[3].substr(0, dash), first) && Number(words[3].substr(dash + 1), last);
    if ((!join && !leave) || !numbers || last < first) {
        return Failure("usage: vni LINK join VNI|FIRST-LAST [SWITCH_ID] | vni LINK leave VNI");
    }
    const VxlanTables::Vni* known = _tables.Find(first);
    if (leave && known == nullptr) {
        return Failure("VNI " + words[3] + " is not joined");
    }
    CommandResult result;
    result.keepsState = true;
    if (leave) {
        switchId = known->switchId;
        _tables.Leave(first);
    }
    for (uint64_t vni = first; vni <= last; ++vni) {
        const uint32_t number = static_cast<uint32_t>(vni);
        if (join) {
            _tables.Join(number, switchId);
        }
        result.messages.push_back(
            VxlanControlCodec::BuildVniMembership({switchId, number, join ? VXLAN_JOIN : VXLAN_LEAVE}));
    }
    return result;
}

LinkProtocol::CommandResult VxlanProtocol::Mac(const std::vector<std::string>& words) {
    uint32_t number = 0;
    VxlanMacEntry entry;
    const bool learn = words.size() >= 5 && words[2] == "learn";
    const bool age = words.size() == 5 && words[2] == "age";
    bool ok = (learn || age) && Number(words[3], number) && AddressText::ParseMac(words[4], entry.vmMac);
    for (size_t i = 5; ok && i < words.size(); ++i) {
        const std::string& option = words[i];
        if (option.starts_with("vtep=")) {
            ok = Ipv4(option.substr(5), entry.vtepIp);
        } else if (option.starts_with("label=")) {
            ok = Number(option.substr(6), entry.vtepLabel);
        } else if (option.starts_with("vtepmac=")) {
            ok = AddressText::ParseMac(option.substr(8), entry.vtepMac);
        } else {
            ok = false;
        }
    }
    if (!ok) {
        return Failure(
            "usage: mac LINK learn VNI MAC [vtep=IP] [label=N] [vtepmac=MAC] | "
            "mac LINK age VNI MAC");
    }
    VxlanTables::Vni* vni = _tables.Find(number);
    if (vni == nullptr) {
        return Failure("VNI " + words[3] + " is not joined");
    }
    VxlanMacUpdate update{vni->switchId, number, {}, {}};
    if (learn) {
        vni->learnedMacs[entry.vmMac] = entry;
        update.added.push_back(entry);
    } else {
        auto known = vni->learnedMacs.find(entry.vmMac);
        if (known != vni->learnedMacs.end()) {
            entry = known->second;
            vni->learnedMacs.erase(known);
        }
        update.removed.push_back(entry);
    }
    return Reported<VxlanMacUpdateCodec>(update);
}

LinkProtocol::CommandResult VxlanProtocol::LocalVtep(const std::vector<std::string>& words) {
    uint32_t number = 0;
    VxlanVtepEntry entry;
    const bool add = words.size() == 6 && words[2] == "add";
    const bool remove = words.size() == 6 && words[2] == "del";
    if ((!add && !remove) || !Number(words[3], number) || !Ipv4(words[4], entry.vtepIp) ||
        !Number(words[5], entry.vtepLabel)) {
        return Failure("usage: vtep LINK add|del VNI IP LABEL");
    }
    VxlanTables::Vni* vni = _tables.Find(number);
    if (vni == nullptr) {
        return Failure("VNI " + words[3] + " is not joined");
    }
    const VxlanTables::VtepKey key = VxlanTables::KeyOf(entry);
    VxlanVtepUpdate update{vni->switchId, number, {}, {}};
    if (add) {
        vni->localVteps[key] = entry;
        update.added.push_back(entry);
    } else {
        vni->localVteps.erase(key);
        update.removed.push_back(entry);
    }
    return Reported<VxlanVtepUpdateCodec>(update);
}

LinkProtocol::CommandResult VxlanProtocol::Arp(const std::vector<std::string>& words) {
    uint32_t number = 0;
    bool ipv4 = false;
    VxlanIpMac entry;
    const bool learn = words.size() == 6 && words[2] == "learn";
    const bool age = words.size() == 5 && words[2] == "age";
    if ((!learn && !age) || !Number(words[3], number) ||
        !AddressText::ParseIp(words[4], ipv4, entry.ip) ||
        (learn && !AddressText::ParseMac(words[5], entry.mac))) {
        return Failure("usage: arp LINK learn VNI IP MAC | arp LINK age VNI IP");
    }
    VxlanTables::Vni* vni = _tables.Find(number);
    if (vni == nullptr) {
        return Failure("VNI " + words[3] + " is not joined");
    }
    const VxlanTables::IpKey key{!ipv4, entry.ip};
    VxlanIpUpdate update{!ipv4, vni->switchId, number, {}, {}};
    if (learn) {
        vni->learnedIps[key] = entry.mac;
        update.added.push_back(entry);
    } else {
        auto known = vni->learnedIps.find(key);
        if (known != vni->learnedIps.end()) {
            entry.mac = known->second;
            vni->learnedIps.erase(known);
        }
        update.removed.push_back(entry);
    }
    return Reported<VxlanIpUpdateCodec>(update);
}

LinkProtocol::CommandResult VxlanProtocol::Query(const std::vector<std::string>& words) const {
    constexpr const char* kUsage = "usage: query LINK mac|arp|nd VNI ENTRY...";
    if (words.size() < 5) {
        return Failure(kUsage);
    }
    VxlanQuery query;
    const std::string& kind = words[2];
    query.dataType = kind == "mac"   ? VXLAN_DATATYPE_VMMAC
                     : kind == "arp" ? VXLAN_DATATYPE_ARPv4
                     : kind == "nd"  ? VXLAN_DATATYPE_NDv6
                                     : 0;
    if (query.dataType == 0 || !Number(words[3], query.vni)) {
        return Failure(kUsage);
    }
    const VxlanTables::Vni* vni = _tables.Find(query.vni);
    query.switchId = vni != nullptr ? vni->switchId : 1;
    for (size_t i = 4; i < words.size(); ++i) {
        bool ipv4 = false;
        VxlanIp ip;
        if (query.dataType == VXLAN_DATATYPE_VMMAC) {
            if (!AddressText::ParseMac(words[i], query.macs.emplace_back())) {
                return Failure(kUsage);
            }
        } else if (AddressText::ParseIp(words[i], ipv4, ip) &&
                   ipv4 == (query.dataType == VXLAN_DATATYPE_ARPv4)) {
            query.ips.push_back(ip);
        } else {
            return Failure(kUsage);
        }
    }
    CommandResult result;
    result.messages.emplace_back();
    if (!VxlanQueryCodec::Build({query}, result.messages.back())) {
        return Failure("query does not fit one message");
    }
    return result;
}

LinkProtocol::CommandResult VxlanProtocol::Tep(const std::vector<std::string>& words) const {
    constexpr const char* kUsage =
        "usage: tep LINK fault|active|recovery SWITCH_NAME TAKNIC [action=N] [state=N] [v6]";
    if (words.size() < 5) {
        return Failure(kUsage);
    }
    VxlanTepState state;
    state.dataType = words[2] == "fault"      ? VXLAN_TEP_FAULT
                     : words[2] == "active"   ? VXLAN_TEP_HA_ACTIVE
                     : words[2] == "recovery" ? VXLAN_TEP_HA_AUTO_RECOVERY
                                              : 0;
    state.switchName = words[3];
    state.taknicName = words[4];
    bool ok = state.dataType != 0 && state.switchName.size() < VXLAN_SWITCH_NAME_LEN &&
              state.taknicName.size() < VXLAN_TAKNIC_NAME_LEN;
    for (size_t i = 5; ok && i < words.size(); ++i) {
        if (words[i].starts_with("action=")) {
            ok = Number(words[i].substr(7), state.action);
        } else if (words[i].starts_with("state=")) {
            ok = Number(words[i].substr(6), state.taknicState);
        } else {
            ok = words[i] == "v6";
            state.ipv6 = true;
        }
    }
    if (!ok) {
        return Failure(kUsage);
    }
    CommandResult result;
    result.messages.push_back(VxlanTepStateCodec::Build(state));
    return result;
}

LinkProtocol::CommandResult VxlanProtocol::Instance(const std::vector<std::string>& words) {
    uint32_t switchId = 0;
    if (words.size() != 4 || (words[2] != "join" && words[2] != "leave") ||
        !Number(words[3], switchId)) {
        return Failure("usage: instance LINK join|leave SWITCH_ID");
    }
    const bool join = words[2] == "join";
    if (join) {
        _instances.insert(switchId);
    } else {
        _instances.erase(switchId);
    }
    CommandResult result;
    result.keepsState = true;
    result.messages.push_back(
        VxlanControlCodec::BuildInstanceChange({switchId, join ? VXLAN_JOIN : VXLAN_LEAVE}));
    return result;
}

LinkProtocol::CommandResult VxlanProtocol::SyncState(const std::vector<std::string>& words) {
    if (words.size() != 3 || (words[2] != "in" && words[2] != "out")) {
        return Failure("usage: syncstate LINK in|out");
    }
    _outOfSync = words[2] == "out";
    CommandResult result;
    result.keepsState = true;
    return result;
}

}  // namespace Dpsim
