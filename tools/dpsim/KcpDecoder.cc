#include "KcpDecoder.h"

#include <vector>

#include "port/kcp/KcpDump.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpNotificationCodec.h"
#include "port/kcp/KcpQueryCodec.h"
#include "port/kcp/KcpSessionCodec.h"
#include "port/kcp/KcpTypes.h"

namespace Dpsim {

using namespace CfgAgent;

namespace {

const char* NotificationTypeName(uint16_t type) {
    switch (type) {
        case KCP_NOTIFY_DP_STATUS:
            return "DP Status Notification";
        case KCP_NOTIFY_PORT_PROPERTY_OUT_OF_SYNC:
            return "Port Property OutOfSync Notification";
        case KCP_NOTIFY_TAKNIC_PROPERTY_OUT_OF_SYNC:
            return "Taknic Property OutOfSync Notification";
        case KCP_NOTIFY_PORT_CONTAINER_FULL_SYNC:
            return "Port container fullSync Notification";
        default:
            return nullptr;
    }
}

void DecodeSession(std::span<const uint8_t> message, DecodedMessage& decoded) {
    KcpSessionControl control;
    if (!KcpSessionCodec::Read(message, control) ||
        message.size() != KcpSessionCodec::kMessageLength) {
        decoded.error = "not a 15-byte VIF Session control message";
        return;
    }
    const char* name = KcpSessionCodec::ControlName(control.controlType);
    if (name == nullptr) {
        decoded.error = "unknown session control type " + std::to_string(control.controlType);
        cJSON_AddNumberToObject(decoded.fields.get(), "control", control.controlType);
    } else {
        cJSON_AddStringToObject(decoded.fields.get(), "control", name);
    }
    cJSON_AddNumberToObject(decoded.fields.get(), "sessionId", control.sessionId);
    cJSON_AddNumberToObject(decoded.fields.get(), "maxMessageLength", control.maxMessageLength);
}

void DecodeQuery(std::span<const uint8_t> message, DecodedMessage& decoded) {
    std::vector<uint16_t> dataTypes;
    if (!KcpQueryCodec::Read(message, dataTypes)) {
        decoded.error = "query does not decode";
        return;
    }
    cJSON* list = cJSON_AddArrayToObject(decoded.fields.get(), "dataTypes");
    for (uint16_t type : dataTypes) {
        if (type == KCP_QUERY_DP_STATUS) {
            cJSON_AddItemToArray(list, cJSON_CreateString("DP Status Query"));
        } else {
            cJSON_AddItemToArray(list, cJSON_CreateNumber(type));
            decoded.error = "unknown query data type " + std::to_string(type);
        }
    }
}

void DecodeNotification(std::span<const uint8_t> message, DecodedMessage& decoded) {
    std::vector<KcpNotification> notifications;
    if (!KcpNotificationCodec::Read(message, notifications)) {
        decoded.error = "notification does not decode";
        return;
    }
    cJSON* list = cJSON_AddArrayToObject(decoded.fields.get(), "notifications");
    for (const KcpNotification& notification : notifications) {
        cJSON* item = cJSON_CreateObject();
        cJSON_AddItemToArray(list, item);
        const char* name = NotificationTypeName(notification.type);
        if (name == nullptr) {
            cJSON_AddNumberToObject(item, "type", notification.type);
            decoded.error = "unknown notification type " + std::to_string(notification.type);
            continue;
        }
        cJSON_AddStringToObject(item, "type", name);
        switch (notification.type) {
            case KCP_NOTIFY_DP_STATUS:
                cJSON_AddStringToObject(
                    item, "value",
                    notification.dpStatus == KCP_DP_OUT_OF_SYNC ? "OutOfSync" : "Sync");
                break;
            case KCP_NOTIFY_PORT_CONTAINER_FULL_SYNC:
                cJSON_AddStringToObject(item, "value", notification.id.c_str());
                cJSON_AddNumberToObject(item, "syncType", notification.syncType);
                break;
            default:
                cJSON_AddStringToObject(item, "value", notification.id.c_str());
                break;
        }
    }
}

// Update contents are for the dump to show and the port table to judge.
void DecodeDataTypes(uint16_t type, std::span<const uint8_t> message, DecodedMessage& decoded) {
    if (type == KCP_MSG_UPDATE) {
        if (message.size() <= KcpMessage::kUpdateFlagOffset) {
            decoded.error = "update without its flag byte";
            return;
        }
        cJSON_AddBoolToObject(decoded.fields.get(), "more", KcpMessage::More(message));
    }
    cJSON* list = cJSON_AddArrayToObject(decoded.fields.get(), "dataTypes");
    for (auto data = KcpMessage::FirstData(message); data;
         data = KcpMessage::NextData(message, *data)) {
        cJSON_AddItemToArray(list, cJSON_CreateNumber(data->Type()));
    }
}

}  // namespace

DecodedMessage KcpDecoder::Decode(std::span<const uint8_t> message) {
    DecodedMessage decoded{"unknown", JsonPtr(cJSON_CreateObject()), {}, KcpDump::Render(message)};
    if (message.size() < Tlv::kHeaderSize) {
        decoded.error =
            "message of " + std::to_string(message.size()) + " bytes cannot hold its header";
        return decoded;
    }
    const uint16_t type = static_cast<uint16_t>((message[0] << 8) | message[1]);
    const size_t length = (static_cast<size_t>(message[2]) << 8) | message[3];
    const char* name = KcpMessage::TypeName(type);
    decoded.type = name != nullptr ? name : "unknown " + std::to_string(type);
    if (length < Tlv::kHeaderSize) {
        decoded.error = "length field " + std::to_string(length) + " is below the 4-byte header";
        return decoded;
    }
    if (length != message.size() || !KcpMessage::Header(message)) {
        decoded.error = "length field " + std::to_string(length) + " does not match the " +
                        std::to_string(message.size()) + " bytes framed";
        return decoded;
    }
    switch (type) {
        case KCP_MSG_SESSION_CONTROL:
            DecodeSession(message, decoded);
            break;
        case KCP_MSG_QUERY:
            DecodeQuery(message, decoded);
            break;
        case KCP_MSG_NOTIFICATION:
            DecodeNotification(message, decoded);
            break;
        case KCP_MSG_UPDATE:
        case KCP_MSG_INIT:
            DecodeDataTypes(type, message, decoded);
            break;
        default:
            decoded.error = "unknown message type " + std::to_string(type);
            break;
    }
    return decoded;
}

}  // namespace Dpsim
