#include "port/kcp/KcpUplinkUpdateCodec.h"

#include <utility>

#include "dplink/FixedText.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"

namespace CfgAgent {

namespace {

constexpr size_t kUplinkPortId = 0;
constexpr size_t kSwitchId = 48;
constexpr size_t kClientName = 112;
constexpr size_t kAlias = 132;

}  // namespace

bool KcpUplinkUpdateCodec::BuildMessage(const KcpUplinkUpdate& update, bool more,
                                        std::vector<uint8_t>& message) {
    if (!KcpUpdateCodec::Begin(message, KCP_UPLINK_UPDATE,
                               1 + kRecords.head * update.records.size(), more)) {
        return false;
    }
    uint8_t* at = message.data() + KcpUpdateCodec::kValueOffset;
    *at++ = update.operation;
    for (const KcpUplinkRecord& record : update.records) {
        FixedText::Write(at + kUplinkPortId, KCP_VIF_ID_LEN, record.uplinkPortId);
        FixedText::Write(at + kSwitchId, KCP_SWITCH_ID_LEN, record.switchId);
        FixedText::Write(at + kClientName, KCP_CLIENT_NAME_LEN, record.clientName);
        FixedText::Write(at + kAlias, KCP_ALIAS_LEN, record.alias);
        at += kRecords.head;
    }
    return true;
}

bool KcpUplinkUpdateCodec::Decode(std::span<const uint8_t> value, KcpUplinkUpdate& update) {
    if (value.empty()) {
        return false;
    }
    update = KcpUplinkUpdate{};
    update.operation = value[0];
    KcpRecordRow row(value, kRecords);
    for (auto record = row.First(); record; record = row.Next(*record)) {
        KcpUplinkRecord out;
        ReadRecord(record->bytes, out);
        update.records.push_back(std::move(out));
    }
    return true;
}

void KcpUplinkUpdateCodec::ReadRecord(std::span<const uint8_t> record, KcpUplinkRecord& out) {
    const uint8_t* at = record.data();
    out.uplinkPortId = FixedText::Read(at + kUplinkPortId, KCP_VIF_ID_LEN);
    out.switchId = FixedText::Read(at + kSwitchId, KCP_SWITCH_ID_LEN);
    out.clientName = FixedText::Read(at + kClientName, KCP_CLIENT_NAME_LEN);
    out.alias = FixedText::Read(at + kAlias, KCP_ALIAS_LEN);
}

}  // namespace CfgAgent
