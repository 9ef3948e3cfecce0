#pragma once

#include <string>

#include "port/kcp/KcpTypes.h"

namespace Dpsim {

// Addresses on the wire as people write them, both ways.
class AddressText {
public:
    static std::string Ip(bool ipv4, const CfgAgent::KcpIp& ip);
    static std::string Mac(const CfgAgent::KcpMac& mac);
    // An address with a colon is IPv6.
    static bool ParseIp(const std::string& text, bool& ipv4, CfgAgent::KcpIp& ip);
    // Six hex pairs separated by colons.
    static bool ParseMac(const std::string& text, CfgAgent::KcpMac& mac);
};

}  // namespace Dpsim
