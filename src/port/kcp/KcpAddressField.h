#pragma once

#include <cstddef>
#include <cstdint>

#include "port/kcp/KcpTypes.h"

namespace CfgAgent {

// The 17 bytes that open a discovered binding and a container entry: an
// address family byte (nonzero for IPv4) and a 16-byte address field of
// which IPv4 uses the first 4 bytes.
class KcpAddressField {
public:
    static constexpr size_t kSize = 17;

    // Bytes past an IPv4 address are left as the zeroed buffer has them.
    static void Write(uint8_t* at, bool ipv4, const KcpIp& ip);
    // Bytes past an IPv4 address are not part of it and read as zero.
    static void Read(const uint8_t* at, bool& ipv4, KcpIp& ip);
};

}  // namespace CfgAgent
