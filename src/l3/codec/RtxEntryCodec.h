#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "l3/codec/RtxDadReport.h"
#include "l3/codec/RtxGlobal.h"

namespace CfgAgent {

// The fixed entries: the global settings, whose MTU and ARP limit are in
// the host's byte order, and the kernel's DAD report.
class RtxEntryCodec {
public:
    static constexpr size_t kGlobalLength = 15;
    static constexpr size_t kDadReportMin = 85;

    // `RTXGlobalUpdatePB2TLV`; a default `RtxGlobal` is what a delete sends.
    static std::vector<uint8_t> BuildGlobal(const RtxGlobal& global);
    static std::string ReadGlobal(std::span<const uint8_t> entry, RtxGlobal& global);

    // Entry 3, from the kernel: a router joined, left (1) or asks for a
    // full sync (2); `RTX_ALL_ROUTERS` asks for every router.
    static constexpr size_t kInstanceReportLength = 25;
    static std::vector<uint8_t> BuildInstanceReport(uint32_t rtxId, uint8_t change);
    static std::string ReadInstanceReport(std::span<const uint8_t> entry, uint32_t& rtxId, uint8_t& change);

    // Entry 28, read by `RTXDadStatusUpdateTLV2PB`.
    static std::vector<uint8_t> BuildDadReport(const RtxDadReport& report);
    static std::string ReadDadReport(std::span<const uint8_t> entry, RtxDadReport& report);
};

}  // namespace CfgAgent
