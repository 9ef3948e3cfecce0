#include "l2/bfd/BfdTep.h"

#include <arpa/inet.h>

#include <algorithm>

#include "loftdb_overlay.pb.h"

namespace CfgAgent {

BfdTep BfdTep::FromVtep(const std::string& value) {
    halden::zef::loftdb::LogSwitchVtepEntryMsg vtep;
    vtep.ParseFromString(value);
    BfdTep tep;
    tep.label = vtep.vtep_label().label();
    if (vtep.has_vtep_ip()) {
        const uint32_t ip = vtep.vtep_ip();
        tep.ip = {static_cast<uint8_t>(ip >> 24), static_cast<uint8_t>(ip >> 16), static_cast<uint8_t>(ip >> 8),
                  static_cast<uint8_t>(ip)};
        return tep;
    }
    tep.ipv6 = true;
    const std::string& bytes = vtep.vtep_ipv6();
    std::copy_n(bytes.begin(), std::min(bytes.size(), tep.ip.size()), tep.ip.begin());
    return tep;
}

std::string BfdTep::Text() const {
    char text[INET6_ADDRSTRLEN] = {};
    ::inet_ntop(ipv6 ? AF_INET6 : AF_INET, ip.data(), text, sizeof text);
    return text;
}

}  // namespace CfgAgent
