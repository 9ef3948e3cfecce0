#include "cache/PropertyDiff.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <map>
#include <memory>
#include <vector>

#include "log/Logger.h"
#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UpdateOperation.h"
#include "zef/loftdb/FieldCopy.h"
#include "zef/loftdb/ObjectTypes.h"
#include "zef/loftdb/OpReflection.h"

namespace CfgAgent {

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

// Where a keyed list lives in the object, and the word its log lines use.
struct KeyedList {
    std::vector<const char*> path;  // message fields down to the list, the list last
    const char* word;
};

const KeyedList* KeyedListOf(uint32_t property) {
    static const KeyedList kExtraConfigs{{"extra_configs"}, "LS_EXTRA_CONFIGS"};
    static const KeyedList kTransportSwitches{{"transport_switches"}, "TN_TRANSPORT_SWITCHES"};
    static const KeyedList kAttachment{{"attachment", "vlans"}, "LS_ATTACHMENT"};
    switch (property) {
        case LS_EXTRA_CONFIGS:
        case LSP_EXTRA_CONFIGS:
            return &kExtraConfigs;
        case TN_TRANSPORT_SWITCHES:
            return &kTransportSwitches;
        case LS_ATTACHMENT:
            return &kAttachment;
        default:
            return nullptr;
    }
}

// The message that holds the list, and the list's field; null if absent.
std::pair<const Message*, const FieldDescriptor*> Locate(const Message& object,
                                                         const KeyedList& list) {
    const Message* holder = &object;
    for (size_t i = 0; i < list.path.size(); ++i) {
        const FieldDescriptor* field = holder->GetDescriptor()->FindFieldByName(list.path[i]);
        if (field == nullptr) {
            return {nullptr, nullptr};
        }
        if (i + 1 == list.path.size()) {
            return {holder, field};
        }
        holder = &holder->GetReflection()->GetMessage(*holder, field);
    }
    return {nullptr, nullptr};
}

// A value of the object's type whose list holds only element `index` of `from`.
std::string SingleElementValue(const Message& prototype, const KeyedList& list,
                               const Message& from, const FieldDescriptor* listField, int index) {
    std::unique_ptr<Message> value(prototype.New());
    Message* holder = value.get();
    for (size_t i = 0; i + 1 < list.path.size(); ++i) {
        holder = holder->GetReflection()->MutableMessage(
            holder, holder->GetDescriptor()->FindFieldByName(list.path[i]));
    }
    zef::loftdb::FieldCopy::Element(from, index, *holder, listField);
    return value->SerializeAsString();
}

using KeyedElements = std::map<std::string, std::pair<std::string, int>>;  // key -> (bytes, index)

KeyedElements Elements(const Message* holder, const FieldDescriptor* field) {
    KeyedElements elements;
    if (holder == nullptr) {
        return elements;
    }
    const int count = holder->GetReflection()->FieldSize(*holder, field);
    for (int i = 0; i < count; ++i) {
        elements[zef::loftdb::OpReflection::ElementKey(*holder, field, i)] = {
            zef::loftdb::OpReflection::ElementBytes(*holder, field, i), i};
    }
    return elements;
}

std::string ValueText(uint32_t objectType, const std::string& bytes) {
    std::unique_ptr<Message> value = zef::loftdb::ObjectTypes::NewObject(objectType);
    return value && value->ParseFromString(bytes) ? value->ShortDebugString() : std::string();
}

LoftDBUpdateMsg Change(const LoftDBUpdateMsg& record, uint32_t operation, std::string value) {
    LoftDBUpdateMsg change = record;
    change.operation = operation;
    change.propertyValue = std::move(value);
    return change;
}

LoftDBUpdateList KeyedListChanges(const LoftDBUpdateMsg& record, const std::string& oldValue,
                                  const KeyedList& list) {
    std::unique_ptr<Message> before = zef::loftdb::ObjectTypes::NewObject(record.objectType);
    std::unique_ptr<Message> after = zef::loftdb::ObjectTypes::NewObject(record.objectType);
    if (!before || !before->ParseFromString(oldValue) ||
        !after->ParseFromString(record.propertyValue)) {
        return {Change(record, OP_UPDATE, record.propertyValue)};
    }
    CFG_LOG(LL_INFO, "ConfigCache: Update %1 old config %2 new config %3", list.word,
            before->ShortDebugString(), after->ShortDebugString());
    auto [oldHolder, field] = Locate(*before, list);
    auto [newHolder, newField] = Locate(*after, list);
    if (field == nullptr || newField == nullptr) {
        return {Change(record, OP_UPDATE, record.propertyValue)};
    }
    KeyedElements gone = Elements(oldHolder, field);
    const KeyedElements now = Elements(newHolder, newField);
    std::vector<int> added;
    for (const auto& [key, element] : now) {
        auto old = gone.find(key);
        if (old == gone.end() || old->second.first != element.first) {
            added.push_back(element.second);
        }
        if (old != gone.end()) {
            gone.erase(old);
        }
    }
    LoftDBUpdateList changes;
    for (const auto& [key, element] : gone) {
        CFG_LOG(LL_INFO, "ConfigCache: Delete %1 %2", list.word, key);
        changes.push_back(Change(record, OP_DELETE,
                                 SingleElementValue(*before, list, *oldHolder, field, element.second)));
    }
    for (int index : added) {
        CFG_LOG(LL_INFO, "ConfigCache: Add %1 %2", list.word,
                zef::loftdb::OpReflection::ElementKey(*newHolder, newField, index));
        changes.push_back(
            Change(record, OP_UPDATE, SingleElementValue(*after, list, *newHolder, newField, index)));
    }
    return changes;
}

}  // namespace

LoftDBUpdateList PropertyDiff::Changes(const LoftDBUpdateMsg& record, const std::string& oldValue) {
    if (const KeyedList* list = KeyedListOf(record.propertyType)) {
        return KeyedListChanges(record, oldValue, *list);
    }
    if (record.propertyType == LS_TYPE || record.propertyType == LS_SP_SUBTYPE) {
        CFG_LOG(LL_INFO, "ConfigCache: Update LS_TYPE/LS_SP_SUBTYPE old config %1 new config %2",
                ValueText(record.objectType, oldValue),
                ValueText(record.objectType, record.propertyValue));
        return {Change(record, OP_DELETE, oldValue), Change(record, OP_UPDATE, record.propertyValue)};
    }
    return {Change(record, OP_UPDATE, record.propertyValue)};
}

}  // namespace CfgAgent
