#include "port/kcp/KcpDump.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>
#include <vector>

#include "dplink/BoundedText.h"
#include "log/Logger.h"
#include "dplink/BigEndian.h"
#include "dplink/FixedText.h"
#include "port/kcp/KcpContainerUpdateCodec.h"
#include "port/kcp/KcpHdsUpdateCodec.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpNotificationCodec.h"
#include "port/kcp/KcpPortContainerListCodec.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpSessionCodec.h"
#include "port/kcp/KcpTypes.h"
#include "port/kcp/KcpUplinkUpdateCodec.h"
#include "port/kcp/KcpVifUpdateCodec.h"

namespace CfgAgent {

namespace {

const char* DataName(uint16_t type) {
    static const char* const kNames[] = {
        nullptr,
        "VIF Update",
        "Port Property Update",
        "PortList Update",
        "Taknic Property Update",
        "TaknicList Update",
        "HDS Property Update",
        "Container Update",
        "ContainerList Update",
        "Port ContainerList Update",
        "HDS List Update",
        "Uplink Update",
    };
    return type < std::size(kNames) ? kNames[type] : nullptr;
}

const char* OperationName(uint8_t operation) {
    switch (operation) {
        case KCP_OP_UPDATE:
            return "UPDATE";
        case KCP_OP_DELETE:
            return "DELETE";
        case KCP_OP_FULL_SYNC:
            return "FULL SYNC";
        default:
            return "INVALID";
    }
}

const char* SessionName(uint8_t controlType) {
    const char* name = KcpSessionCodec::ControlName(controlType);
    return name != nullptr ? name : "Unknown";
}

const char* VifTypeName(uint8_t type) {
    static const char* const kNames[] = {"Unknown", "VNIC",  "taknic",  "container",
                                         "CRXPort", "SRIOV", "DVPGPort"};
    return type < std::size(kNames) ? kNames[type] : "Unknown";
}

const char* StatusName(uint8_t status) {
    switch (status) {
        case KCP_VIF_CONNECT:
            return "CONNECT";
        case KCP_VIF_DISCONNECT:
            return "DISCONNECT";
        default:
            return "Unknown";
    }
}

const char* SyncName(uint16_t syncType) {
    switch (syncType) {
        case KCP_SYNC_PORT_PROPERTIES:
            return "sync port properties";
        case KCP_SYNC_PORT_CONTAINER_LIST:
            return "sync port container list";
        case KCP_SYNC_BOTH:
            return "sync both";
        default:
            return "Unknown";
    }
}

struct MacText {
    explicit MacText(const KcpMac& mac) {
        std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                      mac[3], mac[4], mac[5]);
    }
    char text[18];
};

struct IpText {
    IpText(bool ipv4, const KcpIp& ip) {
        if (!inet_ntop(ipv4 ? AF_INET : AF_INET6, ip.data(), text, sizeof text)) {
            text[0] = '\0';
        }
    }
    char text[INET6_ADDRSTRLEN];
};

// The field name of the four plain lists of IDs.
const char* IdName(uint16_t listType) {
    switch (listType) {
        case KCP_TAKNIC_LIST_UPDATE:
            return "Taknic name";
        case KCP_CONTAINER_LIST_UPDATE:
            return "CIF VIF ID";
        case KCP_HDS_LIST_UPDATE:
            return "HDS ID";
        default:
            return "VIF ID";
    }
}

void Properties(BoundedText& out, const std::vector<KcpProperty>& properties) {
    for (const KcpProperty& property : properties) {
        out.Add("\tProperty key: %u, len %zu\n", property.type, property.value.size());
    }
}

void VifRecord(BoundedText& out, std::span<const uint8_t> bytes) {
    KcpVifRecord head;
    auto properties = bytes.subspan(KcpVifUpdateCodec::kRecords.head);
    KcpVifUpdateCodec::ReadRecord(bytes.first(KcpVifUpdateCodec::kRecords.head), head);
    out.Add("\tVIF ID: %s\n", head.vifId.c_str());
    out.Add("\tPort ID: %s\n", head.portId.c_str());
    out.Add("\tSwitch ID: %s\n", head.switchId.c_str());
    out.Add("\tParent VIF ID: %s\n", head.parentVifId.c_str());
    out.Add("\tVIF type: %s\n", VifTypeName(head.vifType));
    out.Add("\tSmartNic flag: %u\n", head.smartNic);
    out.Add("\tHotmove flag: %u\n", head.hotmove);
    out.Add("\tRecord length: %zu\n", bytes.size());
    for (auto tlv = Tlv::At(properties, 0); tlv; tlv = tlv->Next(properties)) {
        KcpVifRecord one;
        if (!KcpVifUpdateCodec::ReadProperty(*tlv, one)) {
            break;
        }
        switch (tlv->Type()) {
            case KCP_VIF_STATUS:
                out.Add("\tStatus: %s\n", StatusName(*one.status));
                break;
            case KCP_VIF_MAC:
                for (const KcpMac& mac : one.macs) {
                    out.Add("\tMAC: %s\n", MacText(mac).text);
                }
                break;
            case KCP_VIF_DISCOVERED_BINDINGS:
                for (const KcpDiscoveredBinding& binding : one.bindings) {
                    out.Add(
                        "\tDiscovered binding: IP %s, MAC %s, VLAN %u, method %u, timestamp %llu\n",
                        IpText(binding.ipv4, binding.ip).text, MacText(binding.mac).text,
                        binding.vlan, binding.method,
                        static_cast<unsigned long long>(binding.timestamp));
                }
                break;
            default:
                out.Add("\tVIF Update: unsupported property type %u, len %u\n", tlv->Type(),
                        tlv->Length());
                break;
        }
    }
}

void ContainerRecord(BoundedText& out, std::span<const uint8_t> bytes) {
    KcpContainerRecord record;
    KcpContainerUpdateCodec::ReadRecord(bytes, record);
    out.Add("\tCIF ID: %s\n", record.cifId.c_str());
    out.Add("\tPort ID: %s\n", record.portId.c_str());
    out.Add("\tVM port ID: %s\n", record.vmPortId.c_str());
    out.Add("\tVM VIF ID: %s\n", record.vmVifId.c_str());
    out.Add("\tVLAN ID: %u\n", record.vlan);
    out.Add("\tMAC: %s\n", MacText(record.mac).text);
    out.Add("\tIP and MAC entries: %zu\n", record.entries.size());
    for (const KcpContainerEntry& entry : record.entries) {
        out.Add("\tIP: %s, MAC: %s\n", IpText(entry.ipv4, entry.ip).text, MacText(entry.mac).text);
    }
}

void UplinkRecord(BoundedText& out, std::span<const uint8_t> bytes) {
    KcpUplinkRecord record;
    KcpUplinkUpdateCodec::ReadRecord(bytes, record);
    out.Add("\tUplink port ID: %s\n", record.uplinkPortId.c_str());
    out.Add("\tSwitch ID: %s\n", record.switchId.c_str());
    out.Add("\tClient name: %s\n", record.clientName.c_str());
    out.Add("\tAlias: %s\n", record.alias.c_str());
}

void HdsRecord(BoundedText& out, std::span<const uint8_t> bytes) {
    KcpHdsRecord record;
    KcpHdsUpdateCodec::ReadRecord(bytes, record);
    out.Add("\tHDS ID: %s\n", record.hdsId.c_str());
    out.Add("\tOperation: %s\n", OperationName(record.operation));
    out.Add("\tRecord length: %zu\n", bytes.size());
    Properties(out, record.properties);
}

template <typename Each>
void Records(std::span<const uint8_t> value, const KcpRecordRow::Layout& layout, Each each) {
    KcpRecordRow row(value, layout);
    for (auto record = row.First(); record; record = row.Next(*record)) {
        each(record->bytes);
    }
}

void UpdateData(BoundedText& out, const Tlv& data) {
    const auto value = data.Value();
    const char* name = DataName(data.Type());
    if (name == nullptr) {
        out.Add("\tUpdate: unsupported data type %u, len %u\n", data.Type(), data.Length());
        return;
    }
    out.Add("\t%s, len %u\n", name, data.Length());
    const bool leadingOperation =
        data.Type() == KCP_VIF_UPDATE || data.Type() == KCP_UPLINK_UPDATE ||
        data.Type() == KCP_PORT_PROPERTY_UPDATE || data.Type() == KCP_TAKNIC_PROPERTY_UPDATE;
    if (leadingOperation && !value.empty()) {
        out.Add("\tOperation: %s\n", OperationName(value[0]));
    }
    switch (data.Type()) {
        case KCP_VIF_UPDATE:
            Records(value, KcpVifUpdateCodec::kRecords, [&](auto bytes) { VifRecord(out, bytes); });
            break;
        case KCP_UPLINK_UPDATE:
            Records(value, KcpUplinkUpdateCodec::kRecords,
                    [&](auto bytes) { UplinkRecord(out, bytes); });
            break;
        case KCP_PORT_PROPERTY_UPDATE:
        case KCP_TAKNIC_PROPERTY_UPDATE: {
            const auto layout = *KcpPropertyUpdateCodec::Records(data.Type());
            const char* idName = data.Type() == KCP_PORT_PROPERTY_UPDATE ? "VIF ID" : "Taknic name";
            Records(value, layout, [&](auto bytes) {
                KcpPropertyRecord record;
                KcpPropertyUpdateCodec::ReadRecord(layout, bytes, record);
                out.Add("\t%s: %s\n", idName, record.id.c_str());
                out.Add("\tRecord length: %zu\n", bytes.size());
                Properties(out, record.properties);
            });
            break;
        }
        case KCP_HDS_PROPERTY_UPDATE:
            Records(value, KcpHdsUpdateCodec::kRecords, [&](auto bytes) { HdsRecord(out, bytes); });
            break;
        case KCP_CONTAINER_UPDATE:
            Records(value, KcpContainerUpdateCodec::kRecords,
                    [&](auto bytes) { ContainerRecord(out, bytes); });
            break;
        case KCP_PORT_CONTAINER_LIST_UPDATE:
            if (value.size() >= KCP_VIF_ID_LEN) {
                out.Add("\tVIF ID: %s\n", FixedText::Read(value.data(), KCP_VIF_ID_LEN).c_str());
            }
            Records(value, KcpPortContainerListCodec::kContainers, [&](auto bytes) {
                out.Add("\tContainer VIF ID: %s\n",
                        FixedText::Read(bytes.data(), bytes.size()).c_str());
            });
            break;
        default:
            Records(value, *KcpIdListCodec::Records(data.Type()), [&](auto bytes) {
                out.Add("\t%s: %s\n", IdName(data.Type()),
                        FixedText::Read(bytes.data(), bytes.size()).c_str());
            });
            break;
    }
}

bool NotificationData(BoundedText& out, const Tlv& data) {
    KcpNotification notification;
    if (!KcpNotificationCodec::ReadData(data, notification)) {
        return false;
    }
    switch (data.Type()) {
        case KCP_NOTIFY_DP_STATUS:
            out.Add("\tDP Status Notification: %s\n",
                    notification.dpStatus == KCP_DP_OUT_OF_SYNC ? "OutOfSync" : "Sync");
            break;
        case KCP_NOTIFY_PORT_PROPERTY_OUT_OF_SYNC:
            out.Add("\tPort Property OutOfSync Notification\n");
            out.Add("\tVIF ID: %s\n", notification.id.c_str());
            break;
        case KCP_NOTIFY_TAKNIC_PROPERTY_OUT_OF_SYNC:
            out.Add("\tTaknic Property OutOfSync Notification\n");
            out.Add("\tTaknic name: %s\n", notification.id.c_str());
            break;
        case KCP_NOTIFY_PORT_CONTAINER_FULL_SYNC:
            out.Add("\tPort container fullSync Notification\n");
            out.Add("\tVIF ID: %s\n", notification.id.c_str());
            out.Add("\tSync type: %s\n", SyncName(notification.syncType));
            break;
        default:
            out.Add("\tNotification: unsupported data type %u, len %u\n", data.Type(),
                    data.Length());
            break;
    }
    return true;
}

// False when the walk must end here.
bool Data(BoundedText& out, uint16_t messageType, const Tlv& data) {
    switch (messageType) {
        case KCP_MSG_INIT:
            if (data.Type() != KCP_INIT_MAX_MSG_LEN) {
                out.Add("\tInit: unsupported data type %u, len %u\n", data.Type(), data.Length());
            } else if (data.ValueLength() < 2) {
                return false;
            } else {
                out.Add("\tMax message length: %u\n", BigEndian::Get16(data.Value().data()));
            }
            return true;
        case KCP_MSG_QUERY:
            if (data.Type() == KCP_QUERY_DP_STATUS) {
                out.Add("\tDP Status Query\n");
            } else {
                out.Add("\tQuery: unsupported data type %u, len %u\n", data.Type(), data.Length());
            }
            return true;
        case KCP_MSG_NOTIFICATION:
            return NotificationData(out, data);
        default:
            UpdateData(out, data);
            return true;
    }
}

}  // namespace

std::string KcpDump::Render(std::span<const uint8_t> message) {
    BoundedText out(KcpDump::kMaxText);
    out.Add("KCP Message\n");
    auto header = KcpMessage::Header(message);
    if (!header) {
        out.Add("\tTruncated message, %zu bytes\n", message.size());
        return out.Take();
    }
    const char* name = KcpMessage::TypeName(header->Type());
    if (name == nullptr) {
        out.Add("Unsupported message type %u, len %u", header->Type(), header->Length());
        return out.Take();
    }
    out.Add("Message type: %s, len %u\n", name, header->Length());
    if (header->Type() == KCP_MSG_SESSION_CONTROL) {
        KcpSessionControl control;
        if (KcpSessionCodec::Read(message, control)) {
            out.Add("\tVIF Session control type: %s, sessionID: %u\n",
                    SessionName(control.controlType), control.sessionId);
            out.Add("\tMax message length: %u\n", control.maxMessageLength);
        }
        return out.Take();
    }
    if (header->Type() == KCP_MSG_UPDATE && header->Length() > KcpMessage::kUpdateFlagOffset) {
        out.Add("\tMore: %u\n", KcpMessage::More(message) ? 1u : 0u);
    }
    for (auto data = KcpMessage::FirstData(message); data && Data(out, header->Type(), *data);
         data = KcpMessage::NextData(message, *data)) {
    }
    return out.Take();
}

void KcpDump::Log(int level, std::span<const uint8_t> message) {
    CFG_LOG(level, "%1", Render(message));
}

}  // namespace CfgAgent
