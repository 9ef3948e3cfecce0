#pragma once

#include <bit>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "dplink/Tlv.h"
#include "port/kcp/KcpTestSupport.h"

namespace L2Test {

using PortTest::Bytes;
using PortTest::Wire;

// The address types are the one field the kernel keeps in the host's order,
// so the same number is other bytes on another host.
inline Bytes Host32(uint32_t value) {
    Bytes bytes(4);
    for (int i = 0; i < 4; ++i) {
        const int shift = std::endian::native == std::endian::little ? 8 * i : 8 * (3 - i);
        bytes[i] = static_cast<uint8_t>(value >> shift);
    }
    return bytes;
}

// A message of `type` around whole TLVs, its length counted here.
inline Bytes Around(uint16_t type, const Bytes& row) {
    return Wire().Tlv(type, row.size()).Raw(row).Take();
}

// The single TLV of a row message, found the way the reader walks it.
inline CfgAgent::Tlv OnlyTlv(const Bytes& message) {
    auto tlv = CfgAgent::Tlv::At(message, 4);
    EXPECT_TRUE(tlv.has_value());
    EXPECT_TRUE(tlv && tlv->End() == message.size());
    return tlv.value();
}

}  // namespace L2Test
