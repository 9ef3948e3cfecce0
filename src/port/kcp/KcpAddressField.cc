#include "port/kcp/KcpAddressField.h"

#include <algorithm>

namespace CfgAgent {

namespace {

constexpr size_t kIpv4Size = 4;

}  // namespace

void KcpAddressField::Write(uint8_t* at, bool ipv4, const KcpIp& ip) {
    at[0] = ipv4 ? 1 : 0;
    std::copy_n(ip.begin(), ipv4 ? kIpv4Size : ip.size(), at + 1);
}

void KcpAddressField::Read(const uint8_t* at, bool& ipv4, KcpIp& ip) {
    ipv4 = at[0] != 0;
    ip.fill(0);
    std::copy_n(at + 1, ipv4 ? kIpv4Size : ip.size(), ip.begin());
}

}  // namespace CfgAgent
