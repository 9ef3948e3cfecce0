#include "KcpCommandOptions.h"

#include <cerrno>
#include <cstdlib>
#include <sstream>

#include "AddressText.h"
#include "port/kcp/KcpTypes.h"

namespace Dpsim {

using namespace CfgAgent;

namespace {

bool SplitOption(const std::string& word, std::string& key, std::string& value) {
    const size_t equals = word.find('=');
    if (equals == std::string::npos || equals == 0) {
        return false;
    }
    key = word.substr(0, equals);
    value = word.substr(equals + 1);
    return true;
}

// IP/MAC/VLAN/METHOD with an optional /TIMESTAMP.
bool ParseBinding(const std::string& text, KcpDiscoveredBinding& binding) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, '/');) {
        parts.push_back(part);
    }
    unsigned long vlan = 0;
    unsigned long method = 0;
    unsigned long timestamp = 0;
    const bool read =
        (parts.size() == 4 || parts.size() == 5) &&
        AddressText::ParseIp(parts[0], binding.ipv4, binding.ip) &&
        AddressText::ParseMac(parts[1], binding.mac) &&
        KcpCommandOptions::ParseNumber(parts[2], 0xFFFF, vlan) &&
        KcpCommandOptions::ParseNumber(parts[3], 0xFF, method) &&
        (parts.size() == 4 || KcpCommandOptions::ParseNumber(parts[4], ~0UL, timestamp));
    binding.vlan = static_cast<uint16_t>(vlan);
    binding.method = static_cast<uint8_t>(method);
    binding.timestamp = timestamp;
    return read;
}

bool ParseVifOption(const std::string& key, const std::string& value, KcpVifRecord& record,
                    size_t& pieces) {
    if (key == "port" || key == "switch" || key == "parent") {
        std::string& field = key == "port"     ? record.portId
                             : key == "switch" ? record.switchId
                                               : record.parentVifId;
        field = value;
        return true;
    }
    if (key == "type") {
        return KcpCommandOptions::ParseVifType(value, record.vifType);
    }
    if (key == "mac") {
        record.macs.emplace_back();
        return AddressText::ParseMac(value, record.macs.back());
    }
    if (key == "binding") {
        record.bindings.emplace_back();
        return ParseBinding(value, record.bindings.back());
    }
    unsigned long count = 0;
    if (key == "pieces" && KcpCommandOptions::ParseNumber(value, 0xFFFF, count) && count > 0) {
        pieces = count;
        return true;
    }
    return false;
}

}  // namespace

bool KcpCommandOptions::ParseNumber(const std::string& text, unsigned long max,
                                    unsigned long& number) {
    if (text.empty() || text[0] < '0' || text[0] > '9') {
        return false;
    }
    char* end = nullptr;
    errno = 0;
    number = std::strtoul(text.c_str(), &end, 0);
    return errno == 0 && *end == '\0' && number <= max;
}

bool KcpCommandOptions::ParseVifType(const std::string& text, uint8_t& type) {
    static constexpr const char* kNames[] = {"vnic",    "taknic", "container",
                                             "crxport", "sriov",  "dvpgport"};
    for (size_t i = 0; i < std::size(kNames); ++i) {
        if (text == kNames[i]) {
            type = static_cast<uint8_t>(KCP_VIF_VNIC + i);
            return true;
        }
    }
    unsigned long number = 0;
    if (!ParseNumber(text, 0xFF, number)) {
        return false;
    }
    type = static_cast<uint8_t>(number);
    return true;
}

bool KcpCommandOptions::ParseVif(const std::vector<std::string>& words, size_t first,
                                 KcpVifRecord& record, size_t& pieces, std::string& error) {
    for (size_t i = first; i < words.size(); ++i) {
        std::string key;
        std::string value;
        if (words[i] == "smartnic") {
            record.smartNic = 1;
        } else if (!SplitOption(words[i], key, value) ||
                   !ParseVifOption(key, value, record, pieces)) {
            error = "bad VIF option: " + words[i];
            return false;
        }
    }
    return true;
}

bool KcpCommandOptions::ParseUplink(const std::vector<std::string>& words, size_t first,
                                    KcpUplinkRecord& uplink, std::string& error) {
    for (size_t i = first; i < words.size(); ++i) {
        std::string key;
        std::string value;
        const bool known = SplitOption(words[i], key, value) &&
                           (key == "switch" || key == "name" || key == "alias");
        if (!known) {
            error = "bad uplink option: " + words[i];
            return false;
        }
        std::string& field = key == "switch" ? uplink.switchId
                             : key == "name" ? uplink.clientName
                                             : uplink.alias;
        field = value;
    }
    return true;
}

}  // namespace Dpsim
