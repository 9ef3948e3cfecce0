#include "KcpKernel.h"

#include <algorithm>
#include <span>

#include "dplink/BigEndian.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpNotificationCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUpdateCodec.h"
#include "port/kcp/KcpUplinkUpdateCodec.h"
#include "port/kcp/KcpVifUpdateCodec.h"
#include "dplink/Tlv.h"

namespace Dpsim {

using namespace CfgAgent;

namespace {

// Where the record starts, past the operation byte, and where its head ends:
// the part every piece of a split report repeats.
constexpr size_t kRecordOffset = KcpUpdateCodec::kValueOffset + 1;
constexpr size_t kHeadEnd = kRecordOffset + KcpVifUpdateCodec::kRecords.head;
constexpr size_t kPropertyValue = kHeadEnd + Tlv::kHeaderSize;
constexpr size_t kDataLengthOffset = KcpMessage::kUpdateDataOffset + 2;
constexpr size_t kRecordLengthOffset = kRecordOffset + KcpVifUpdateCodec::kRecords.field;
// Entries per build while a long property value is laid out by the codec,
// so that no single build passes the size of one message.
constexpr size_t kEntriesPerBuild = 1000;

bool BuildOne(const KcpVifRecord& record, uint8_t operation, KcpKernel::Message& message) {
    return KcpVifUpdateCodec::BuildMessage(KcpVifUpdate{operation, {record}}, false, message);
}

// The value of the one property `record` holds, as the codec lays it out.
template <typename Entry>
bool PropertyValue(KcpVifRecord record, std::vector<Entry> KcpVifRecord::*entries,
                   std::vector<uint8_t>& value) {
    const std::vector<Entry> all = record.*entries;
    for (size_t at = 0; at < all.size(); at += kEntriesPerBuild) {
        const auto end =
            all.begin() + static_cast<long>(std::min(at + kEntriesPerBuild, all.size()));
        (record.*entries).assign(all.begin() + static_cast<long>(at), end);
        KcpKernel::Message chunk;
        if (!BuildOne(record, KCP_OP_UPDATE, chunk)) {
            return false;
        }
        value.insert(value.end(), chunk.begin() + kPropertyValue, chunk.end());
    }
    return true;
}

KcpKernel::Message Piece(const KcpKernel::Message& head, uint16_t type,
                         std::span<const uint8_t> slice, bool more) {
    KcpKernel::Message piece(head.begin(), head.begin() + kHeadEnd);
    piece.resize(kPropertyValue);
    piece.insert(piece.end(), slice.begin(), slice.end());
    Tlv::WriteHeader(piece.data() + kHeadEnd, type, Tlv::kHeaderSize + slice.size());
    const auto size = static_cast<uint16_t>(piece.size());
    BigEndian::Put16(piece.data() + 2, size);
    BigEndian::Put16(piece.data() + kDataLengthOffset, size - KcpMessage::kUpdateDataOffset);
    BigEndian::Put16(piece.data() + kRecordLengthOffset, size - kRecordOffset);
    KcpMessage::SetMore(piece, more);
    return piece;
}

bool Split(KcpVifRecord record, size_t pieces, std::vector<KcpKernel::Message>& messages,
           std::string& error) {
    record.status.reset();
    std::vector<uint8_t> value;
    uint16_t type = KCP_VIF_DISCOVERED_BINDINGS;
    bool built = false;
    if (!record.bindings.empty()) {
        record.macs.clear();
        built = PropertyValue(record, &KcpVifRecord::bindings, value);
    } else {
        type = KCP_VIF_MAC;
        built = PropertyValue(record, &KcpVifRecord::macs, value);
    }
    record.macs.clear();
    record.bindings.clear();
    KcpKernel::Message head;
    if (!built || !BuildOne(record, KCP_OP_UPDATE, head)) {
        error = "cannot build the VIF Update of " + record.vifId;
        return false;
    }
    // Slices differ by one byte at most, so there are exactly `pieces`.
    const size_t base = value.size() / pieces;
    const size_t extra = value.size() % pieces;
    if (base == 0 || kPropertyValue + base + (extra != 0 ? 1 : 0) > Tlv::kMaxLength) {
        error = "cannot cut " + std::to_string(value.size()) + " bytes of MACs or bindings into " +
                std::to_string(pieces) + " pieces of one message each";
        return false;
    }
    size_t at = 0;
    for (size_t i = 0; i < pieces; ++i) {
        const size_t length = base + (i < extra ? 1 : 0);
        messages.push_back(
            Piece(head, type, std::span<const uint8_t>(value).subspan(at, length), i + 1 < pieces));
        at += length;
    }
    return true;
}

}  // namespace

bool KcpKernel::VifConnect(const KcpVifRecord& record, size_t pieces,
                           std::vector<Message>& messages, std::string& error) {
    if (pieces > 1) {
        return Split(record, pieces, messages, error);
    }
    KcpVifRecord connect = record;
    connect.status = KCP_VIF_CONNECT;
    Message message;
    if (!BuildOne(connect, KCP_OP_UPDATE, message)) {
        error = "the VIF Update of " + record.vifId + " does not fit one message; give pieces=N";
        return false;
    }
    messages.push_back(std::move(message));
    return true;
}

bool KcpKernel::VifDisconnect(KcpVifRecord head, bool hotmove, Message& message) {
    head.status.reset();
    head.macs.clear();
    head.bindings.clear();
    head.hotmove = hotmove ? 1 : 0;
    return BuildOne(head, KCP_OP_DELETE, message);
}

bool KcpKernel::UplinkUpdate(const KcpUplinkRecord& uplink, bool add, Message& message) {
    const KcpUplinkUpdate update{static_cast<uint8_t>(add ? KCP_OP_UPDATE : KCP_OP_DELETE),
                                 {uplink}};
    return KcpUplinkUpdateCodec::BuildMessage(update, false, message);
}

KcpKernel::Message KcpKernel::DpStatus(bool outOfSync) {
    KcpNotification notification;
    notification.type = KCP_NOTIFY_DP_STATUS;
    notification.dpStatus = outOfSync ? KCP_DP_OUT_OF_SYNC : 0;
    return Notify(notification);
}

KcpKernel::Message KcpKernel::Notify(const KcpNotification& notification) {
    Message message;
    KcpNotificationCodec::Build({notification}, message);
    return message;
}

}  // namespace Dpsim
