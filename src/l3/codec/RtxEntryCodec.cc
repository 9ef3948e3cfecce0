#include "l3/codec/RtxEntryCodec.h"

#include <algorithm>
#include <cstring>

#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"
#include "dplink/Tlv.h"
#include "l3/codec/RtxTypes.h"

namespace CfgAgent {

namespace {

// The module reads these as the machine holds them.
void PutHost32(uint8_t* at, uint32_t value) { std::memcpy(at, &value, sizeof value); }

uint32_t GetHost32(const uint8_t* at) {
    uint32_t value = 0;
    std::memcpy(&value, at, sizeof value);
    return value;
}

std::string WholeEntry(std::span<const uint8_t> entry, uint16_t type) {
    if (entry.size() < Tlv::kHeaderSize || BigEndian::Get16(entry.data()) != type ||
        BigEndian::Get16(entry.data() + 2) != entry.size()) {
        return "not a whole entry of type " + std::to_string(type);
    }
    return {};
}

}  // namespace

std::vector<uint8_t> RtxEntryCodec::BuildGlobal(const RtxGlobal& global) {
    std::vector<uint8_t> entry(kGlobalLength, 0);
    Tlv::WriteHeader(entry.data(), RTX_ENTRY_GLOBAL, kGlobalLength);
    entry[4] = global.forwardingMode;
    PutHost32(entry.data() + 5, global.mtu);
    PutHost32(entry.data() + 9, global.arpLimit);
    entry[13] = global.ecmp;
    entry[14] = global.softRss;
    return entry;
}

std::string RtxEntryCodec::ReadGlobal(std::span<const uint8_t> entry, RtxGlobal& global) {
    std::string reason = WholeEntry(entry, RTX_ENTRY_GLOBAL);
    if (!reason.empty() || entry.size() != kGlobalLength) {
        return reason.empty() ? "a global entry of " + std::to_string(entry.size()) + " bytes" : reason;
    }
    global.forwardingMode = entry[4];
    global.mtu = GetHost32(entry.data() + 5);
    global.arpLimit = GetHost32(entry.data() + 9);
    global.ecmp = entry[13];
    global.softRss = entry[14];
    return {};
}

std::vector<uint8_t> RtxEntryCodec::BuildInstanceReport(uint32_t rtxId, uint8_t change) {
    std::vector<uint8_t> entry(kInstanceReportLength, 0);
    Tlv::WriteHeader(entry.data(), RTX_ENTRY_INSTANCE_REPORT, kInstanceReportLength);
    BigEndian::Put32(entry.data() + 20, rtxId);
    entry[24] = change;
    return entry;
}

std::string RtxEntryCodec::ReadInstanceReport(std::span<const uint8_t> entry, uint32_t& rtxId, uint8_t& change) {
    std::string reason = WholeEntry(entry, RTX_ENTRY_INSTANCE_REPORT);
    if (!reason.empty() || entry.size() < kInstanceReportLength) {
        return reason.empty() ? "an instance report of " + std::to_string(entry.size()) + " bytes" : reason;
    }
    rtxId = BigEndian::Get32(entry.data() + 20);
    change = entry[24];
    return {};
}

std::vector<uint8_t> RtxEntryCodec::BuildDadReport(const RtxDadReport& report) {
    std::vector<uint8_t> entry(kDadReportMin + report.version.size(), 0);
    Tlv::WriteHeader(entry.data(), RTX_ENTRY_DAD_REPORT, entry.size());
    FixedText::Write(entry.data() + 4, RTX_NAME_LEN, report.lifName);
    std::copy(report.ip.begin(), report.ip.end(), entry.data() + 68);
    entry[84] = report.status;
    std::copy(report.version.begin(), report.version.end(), entry.data() + kDadReportMin);
    return entry;
}

std::string RtxEntryCodec::ReadDadReport(std::span<const uint8_t> entry, RtxDadReport& report) {
    std::string reason = WholeEntry(entry, RTX_ENTRY_DAD_REPORT);
    if (!reason.empty()) {
        return reason;
    }
    if (entry.size() < kDadReportMin) {
        return "a DAD report of " + std::to_string(entry.size()) + " bytes";
    }
    report.lifName = FixedText::Read(entry.data() + 4, RTX_NAME_LEN);
    std::copy_n(entry.data() + 68, report.ip.size(), report.ip.begin());
    report.status = entry[84];
    report.version = FixedText::Read(entry.data() + kDadReportMin, entry.size() - kDadReportMin);
    return {};
}

}  // namespace CfgAgent
