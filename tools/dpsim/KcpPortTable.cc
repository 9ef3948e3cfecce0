#include "KcpPortTable.h"

#include <algorithm>
#include <initializer_list>

#include "AddressText.h"
#include "KcpUpdateCheck.h"
#include "port/kcp/KcpContainerUpdateCodec.h"
#include "port/kcp/KcpHdsUpdateCodec.h"
#include "port/kcp/KcpIdListCodec.h"
#include "port/kcp/KcpMessage.h"
#include "port/kcp/KcpPortContainerListCodec.h"
#include "port/kcp/KcpPropertyUpdateCodec.h"
#include "port/kcp/KcpTypes.h"

namespace Dpsim {

using namespace CfgAgent;

namespace {

// The kernel joins the pieces of a cut property by key, in arrival order.
void JoinProperties(std::vector<KcpProperty>& into, const std::vector<KcpProperty>& piece) {
    for (const KcpProperty& property : piece) {
        auto same = std::find_if(into.begin(), into.end(),
                                 [&](const KcpProperty& had) { return had.type == property.type; });
        if (same == into.end()) {
            into.push_back(property);
        } else {
            same->value.insert(same->value.end(), property.value.begin(), property.value.end());
        }
    }
}

template <typename Record, typename Id>
void JoinRecord(std::vector<Record>& joined, const Record& piece, Id id) {
    auto same = std::find_if(joined.begin(), joined.end(),
                             [&](const Record& had) { return had.*id == piece.*id; });
    if (same == joined.end()) {
        joined.push_back(piece);
    } else {
        JoinProperties(same->properties, piece.properties);
    }
}

// What must stay the same over the parts of one split sequence: the
// operation of a property update, the port of a port container list.
std::string SequenceMismatch(uint16_t dataType, const std::vector<uint8_t>& first,
                             const std::vector<uint8_t>& next) {
    if (KcpPropertyUpdateCodec::Records(dataType) && first[0] != next[0]) {
        return "operation changes from " + std::to_string(first[0]) + " to " +
               std::to_string(next[0]) + " within a split sequence";
    }
    if (dataType == KCP_PORT_CONTAINER_LIST_UPDATE &&
        !std::equal(first.begin(), first.begin() + KCP_VIF_ID_LEN, next.begin())) {
        return "the port's VIF ID changes within a split sequence";
    }
    return {};
}

cJSON* ContainerJson(const KcpContainerRecord& record) {
    cJSON* json = cJSON_CreateObject();
    cJSON_AddStringToObject(json, "portId", record.portId.c_str());
    cJSON_AddStringToObject(json, "vmPortId", record.vmPortId.c_str());
    cJSON_AddStringToObject(json, "vmVifId", record.vmVifId.c_str());
    cJSON_AddNumberToObject(json, "vlan", record.vlan);
    cJSON_AddStringToObject(json, "mac", AddressText::Mac(record.mac).c_str());
    cJSON* entries = cJSON_AddArrayToObject(json, "entries");
    for (const KcpContainerEntry& entry : record.entries) {
        cJSON* one = cJSON_CreateObject();
        cJSON_AddStringToObject(one, "ip", AddressText::Ip(entry.ipv4, entry.ip).c_str());
        cJSON_AddStringToObject(one, "mac", AddressText::Mac(entry.mac).c_str());
        cJSON_AddItemToArray(entries, one);
    }
    return json;
}

cJSON* TextArray(const std::vector<std::string>& texts) {
    cJSON* array = cJSON_CreateArray();
    for (const std::string& text : texts) {
        cJSON_AddItemToArray(array, cJSON_CreateString(text.c_str()));
    }
    return array;
}

}  // namespace

std::string KcpPortTable::Apply(std::span<const uint8_t> message) {
    auto header = KcpMessage::Header(message);
    if (!header || header->Type() != KCP_MSG_UPDATE || header->Length() != message.size() ||
        message.size() <= KcpMessage::kUpdateFlagOffset) {
        return "not one whole Update message with its flag byte";
    }
    if ((message[KcpMessage::kUpdateFlagOffset] & ~KCP_UPDATE_MORE) != 0) {
        return "flag bits 0 to 6 are not zero";
    }
    std::vector<std::pair<uint16_t, std::vector<uint8_t>>> data;
    size_t end = KcpMessage::kUpdateDataOffset;
    for (auto tlv = KcpMessage::FirstData(message); tlv;
         tlv = KcpMessage::NextData(message, *tlv)) {
        std::string error = KcpUpdateCheck::Check(tlv->Type(), tlv->Value());
        const auto pending = _pending.find(tlv->Type());
        if (error.empty() && pending != _pending.end()) {
            std::vector<uint8_t> value(tlv->Value().begin(), tlv->Value().end());
            error = SequenceMismatch(tlv->Type(), pending->second.front(), value);
        }
        if (!error.empty()) {
            // A sequence with a bad part cannot be joined into what was meant.
            _pending.erase(tlv->Type());
            return "data " + std::to_string(data.size()) + ": " + error;
        }
        data.emplace_back(tlv->Type(),
                          std::vector<uint8_t>(tlv->Value().begin(), tlv->Value().end()));
        end = tlv->End();
    }
    if (data.empty() || end != message.size()) {
        return data.empty()
                   ? "update without a data TLV"
                   : std::to_string(message.size() - end) + " bytes after the last data TLV";
    }
    const bool more = KcpMessage::More(message);
    for (auto& [type, value] : data) {
        Values& parts = _pending[type];
        parts.push_back(std::move(value));
        if (!more) {
            const Values sequence = std::move(parts);
            _pending.erase(type);
            ApplySequence(type, sequence);
        }
    }
    return {};
}

void KcpPortTable::ApplySequence(uint16_t dataType, const Values& values) {
    switch (dataType) {
        case KCP_PORT_PROPERTY_UPDATE:
        case KCP_TAKNIC_PROPERTY_UPDATE:
            ApplyPropertyUpdates(dataType, values);
            break;
        case KCP_HDS_PROPERTY_UPDATE:
            ApplyHdsUpdates(values);
            break;
        case KCP_PORT_CONTAINER_LIST_UPDATE:
            ApplyPortContainerList(values);
            break;
        case KCP_CONTAINER_UPDATE:
            ApplyContainers(values);
            break;
        default:
            ApplyList(dataType, values);
            break;
    }
}

void KcpPortTable::ApplyPropertyUpdates(uint16_t dataType, const Values& values) {
    std::vector<KcpPropertyRecord> joined;
    KcpPropertyUpdate update;
    for (const auto& value : values) {
        KcpPropertyUpdateCodec::Decode(dataType, value, update);
        for (const KcpPropertyRecord& record : update.records) {
            JoinRecord(joined, record, &KcpPropertyRecord::id);
        }
    }
    Records& records = dataType == KCP_PORT_PROPERTY_UPDATE ? _ports : _taknics;
    for (const KcpPropertyRecord& record : joined) {
        ApplyRecord(records, record.id, update.operation, record.properties);
    }
}

void KcpPortTable::ApplyHdsUpdates(const Values& values) {
    std::vector<KcpHdsRecord> joined;
    for (const auto& value : values) {
        std::vector<KcpHdsRecord> records;
        KcpHdsUpdateCodec::Decode(value, records);
        for (const KcpHdsRecord& record : records) {
            JoinRecord(joined, record, &KcpHdsRecord::hdsId);
        }
    }
    for (const KcpHdsRecord& record : joined) {
        ApplyRecord(_hds, record.hdsId, record.operation, record.properties);
    }
}

void KcpPortTable::ApplyList(uint16_t dataType, const Values& values) {
    std::vector<std::string> all;
    for (const auto& value : values) {
        std::vector<std::string> ids;
        KcpIdListCodec::Decode(dataType, value, ids);
        all.insert(all.end(), ids.begin(), ids.end());
    }
    _lists[dataType] = std::move(all);
}

void KcpPortTable::ApplyPortContainerList(const Values& values) {
    KcpPortContainerList joined;
    for (const auto& value : values) {
        KcpPortContainerList part;
        KcpPortContainerListCodec::Decode(value, part);
        joined.vifId = part.vifId;
        joined.containerVifIds.insert(joined.containerVifIds.end(), part.containerVifIds.begin(),
                                      part.containerVifIds.end());
    }
    _portContainers[joined.vifId] = std::move(joined.containerVifIds);
}

void KcpPortTable::ApplyContainers(const Values& values) {
    for (const auto& value : values) {
        std::vector<KcpContainerRecord> records;
        KcpContainerUpdateCodec::Decode(value, records);
        for (KcpContainerRecord& record : records) {
            _containers[record.cifId] = std::move(record);
        }
    }
}

void KcpPortTable::ApplyRecord(Records& records, const std::string& id, uint8_t operation,
                               const std::vector<KcpProperty>& properties) {
    if (operation == KCP_OP_DELETE) {
        const auto found = records.find(id);
        if (properties.empty()) {
            records.erase(id);
        } else if (found != records.end()) {
            for (const KcpProperty& property : properties) {
                found->second.erase(property.type);
            }
        }
        return;
    }
    KcpPropertySet& set = records[id];
    if (operation == KCP_OP_FULL_SYNC) {
        set.clear();
    }
    // An empty value asks for the key's removal.
    for (const KcpProperty& property : properties) {
        if (property.value.empty()) {
            set.erase(property.type);
        } else {
            set[property.type] = property.value;
        }
    }
}

void KcpPortTable::Dump(cJSON* into) const {
    DumpRecords(into, "ports", KcpPropertyJson::Owner::kPort, _ports,
                {KCP_PORT_LIST_UPDATE, KCP_CONTAINER_LIST_UPDATE});
    DumpRecords(into, "taknics", KcpPropertyJson::Owner::kTaknic, _taknics,
                {KCP_TAKNIC_LIST_UPDATE});
    DumpRecords(into, "hds", KcpPropertyJson::Owner::kHds, _hds, {KCP_HDS_LIST_UPDATE});
    cJSON* portContainers = cJSON_AddObjectToObject(into, "portContainers");
    for (const auto& [vifId, containers] : _portContainers) {
        cJSON_AddItemToObject(portContainers, vifId.c_str(), TextArray(containers));
    }
    cJSON* containers = cJSON_AddObjectToObject(into, "containers");
    for (const auto& [cifId, record] : _containers) {
        cJSON_AddItemToObject(containers, cifId.c_str(), ContainerJson(record));
    }
}

void KcpPortTable::DumpRecords(cJSON* into, const char* name, KcpPropertyJson::Owner owner,
                               const Records& records,
                               std::initializer_list<uint16_t> listTypes) const {
    // A record the agent listed but gave no property yet shows as well.
    std::set<std::string> listed;
    for (uint16_t type : listTypes) {
        const auto list = _lists.find(type);
        if (list != _lists.end()) {
            listed.insert(list->second.begin(), list->second.end());
        }
    }
    std::set<std::string> ids = listed;
    for (const auto& [id, properties] : records) {
        ids.insert(id);
    }
    static const KcpPropertySet kNone;
    cJSON* all = cJSON_AddObjectToObject(into, name);
    for (const std::string& id : ids) {
        const auto found = records.find(id);
        const KcpPropertySet& properties = found != records.end() ? found->second : kNone;
        cJSON* one = cJSON_CreateObject();
        cJSON_AddItemToObject(all, id.c_str(), one);
        cJSON_AddBoolToObject(one, "listed", listed.count(id) != 0);
        cJSON_AddBoolToObject(one, "known", found != records.end());
        cJSON_AddItemToObject(one, "properties", KcpPropertyJson::Properties(owner, properties));
        if (owner == KcpPropertyJson::Owner::kPort) {
            cJSON_AddItemToObject(one, "blocked", KcpPropertyJson::Blocked(properties));
        }
    }
}

}  // namespace Dpsim
