#include "port/kcp/KcpNotificationCodec.h"

#include <algorithm>
#include <utility>

#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpTypes.h"

namespace CfgAgent {

namespace {

constexpr size_t kFullSyncLength = KCP_VIF_ID_LEN + 2;

size_t ValueSize(uint16_t type) {
    switch (type) {
        case KCP_NOTIFY_DP_STATUS:
            return 1;
        case KCP_NOTIFY_PORT_PROPERTY_OUT_OF_SYNC:
            return KCP_VIF_ID_LEN;
        case KCP_NOTIFY_TAKNIC_PROPERTY_OUT_OF_SYNC:
            return KCP_TAKNIC_NAME_LEN;
        case KCP_NOTIFY_PORT_CONTAINER_FULL_SYNC:
            return kFullSyncLength;
        default:
            return 0;
    }
}

}  // namespace

bool KcpNotificationCodec::Build(const std::vector<KcpNotification>& notifications,
                                 std::vector<uint8_t>& message) {
    size_t length = KcpMessage::kDataOffset;
    for (const KcpNotification& notification : notifications) {
        length += Tlv::kHeaderSize + ValueSize(notification.type);
    }
    if (!KcpMessage::Allocate(message, KCP_MSG_NOTIFICATION, length)) {
        return false;
    }
    uint8_t* at = message.data() + KcpMessage::kDataOffset;
    for (const KcpNotification& notification : notifications) {
        const size_t size = ValueSize(notification.type);
        Tlv::WriteHeader(at, notification.type, Tlv::kHeaderSize + size);
        uint8_t* value = at + Tlv::kHeaderSize;
        switch (notification.type) {
            case KCP_NOTIFY_DP_STATUS:
                value[0] = notification.dpStatus;
                break;
            case KCP_NOTIFY_PORT_PROPERTY_OUT_OF_SYNC:
            case KCP_NOTIFY_TAKNIC_PROPERTY_OUT_OF_SYNC:
                FixedText::Write(value, size, notification.id);
                break;
            case KCP_NOTIFY_PORT_CONTAINER_FULL_SYNC:
                FixedText::Write(value, KCP_VIF_ID_LEN, notification.id);
                BigEndian::Put16(value + KCP_VIF_ID_LEN, notification.syncType);
                break;
            default:
                break;
        }
        at += Tlv::kHeaderSize + size;
    }
    return true;
}

bool KcpNotificationCodec::Read(std::span<const uint8_t> bytes,
                                std::vector<KcpNotification>& notifications) {
    if (!KcpMessage::HasType(bytes, KCP_MSG_NOTIFICATION)) {
        return false;
    }
    notifications.clear();
    for (auto data = KcpMessage::FirstData(bytes); data;
         data = KcpMessage::NextData(bytes, *data)) {
        KcpNotification notification;
        if (!ReadData(*data, notification)) {
            break;
        }
        notifications.push_back(std::move(notification));
    }
    return true;
}

bool KcpNotificationCodec::ReadData(const Tlv& data, KcpNotification& notification) {
    notification = KcpNotification{};
    notification.type = data.Type();
    const uint8_t* value = data.Value().data();
    const size_t length = data.ValueLength();
    switch (data.Type()) {
        case KCP_NOTIFY_DP_STATUS:
            if (length < 1) {
                return false;
            }
            notification.dpStatus = value[0];
            break;
        case KCP_NOTIFY_PORT_PROPERTY_OUT_OF_SYNC:
        case KCP_NOTIFY_TAKNIC_PROPERTY_OUT_OF_SYNC:
            // "Up to" the width: a shorter value is the whole text.
            notification.id = FixedText::Read(value, std::min(length, ValueSize(data.Type())));
            break;
        case KCP_NOTIFY_PORT_CONTAINER_FULL_SYNC:
            if (length < kFullSyncLength) {
                return false;
            }
            notification.id = FixedText::Read(value, KCP_VIF_ID_LEN);
            notification.syncType = BigEndian::Get16(value + KCP_VIF_ID_LEN);
            break;
        default:
            break;
    }
    return true;
}

}  // namespace CfgAgent
