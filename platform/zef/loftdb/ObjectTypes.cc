#include "zef/loftdb/ObjectTypes.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <charconv>

#include "zef/loftdb/FieldCopy.h"
#include "zef/loftdb/ObjectTypeTable.h"
#include "zef/loftdb/OpReflection.h"

namespace zef::loftdb {

using google::protobuf::FieldDescriptor;

const ObjectTypeInfo* ObjectTypes::ByCode(uint32_t code) {
    for (const ObjectTypeInfo& info : kObjectTypes) {
        if (info.code == code) {
            return &info;
        }
    }
    return nullptr;
}

const ObjectTypeInfo* ObjectTypes::ByText(const std::string& text) {
    uint32_t code = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), code);
    if (error == std::errc() && end == text.data() + text.size() && !text.empty()) {
        return ByCode(code);
    }
    for (const ObjectTypeInfo& info : kObjectTypes) {
        if (text == info.name) {
            return &info;
        }
    }
    return nullptr;
}

std::unique_ptr<google::protobuf::Message> ObjectTypes::NewObject(uint32_t code) {
    const ObjectTypeInfo* info = ByCode(code);
    return info != nullptr ? OpReflection::NewMessage(info->message) : nullptr;
}

std::optional<std::string> ObjectTypes::Key(const google::protobuf::Message& object) {
    const FieldDescriptor* field = object.GetDescriptor()->FindFieldByNumber(1);
    if (field == nullptr || field->is_repeated() ||
        !object.GetReflection()->HasField(object, field)) {
        return std::nullopt;
    }
    switch (field->cpp_type()) {
        case FieldDescriptor::CPPTYPE_MESSAGE:
            return object.GetReflection()->GetMessage(object, field).SerializeAsString();
        case FieldDescriptor::CPPTYPE_STRING:
            return object.GetReflection()->GetString(object, field);
        default:
            return FieldCopy::FieldBytes(object, field);
    }
}

}  // namespace zef::loftdb
