#include "AddressText.h"

#include <arpa/inet.h>

#include <cstdio>

namespace Dpsim {

std::string AddressText::Ip(bool ipv4, const CfgAgent::KcpIp& ip) {
    char text[INET6_ADDRSTRLEN] = {};
    ::inet_ntop(ipv4 ? AF_INET : AF_INET6, ip.data(), text, sizeof(text));
    return text;
}

std::string AddressText::Mac(const CfgAgent::KcpMac& mac) {
    char text[18];
    std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                  mac[3], mac[4], mac[5]);
    return text;
}

bool AddressText::ParseIp(const std::string& text, bool& ipv4, CfgAgent::KcpIp& ip) {
    ip.fill(0);
    ipv4 = text.find(':') == std::string::npos;
    return ::inet_pton(ipv4 ? AF_INET : AF_INET6, text.c_str(), ip.data()) == 1;
}

bool AddressText::ParseMac(const std::string& text, CfgAgent::KcpMac& mac) {
    unsigned bytes[6];
    char end = 0;
    if (text.size() != 17 ||
        std::sscanf(text.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%c", &bytes[0], &bytes[1], &bytes[2],
                    &bytes[3], &bytes[4], &bytes[5], &end) != 6) {
        return false;
    }
    for (size_t i = 0; i < mac.size(); ++i) {
        mac[i] = static_cast<uint8_t>(bytes[i]);
    }
    return true;
}

}  // namespace Dpsim
