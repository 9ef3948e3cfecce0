#include "zef/loftdb/OpReflection.h"

#include <google/protobuf/unknown_field_set.h>

#include <google/protobuf/descriptor.h>
#include <google/protobuf/text_format.h>

namespace zef::loftdb {

using google::protobuf::Descriptor;
using google::protobuf::DescriptorPool;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::MessageFactory;

std::string OpReflection::OpMessageName(const std::string& messageName) {
    const std::string suffix = "Msg";
    if (messageName.size() >= suffix.size() &&
        messageName.compare(messageName.size() - suffix.size(), suffix.size(), suffix) == 0) {
        return messageName.substr(0, messageName.size() - suffix.size()) + "OpMsg";
    }
    return messageName + "OpMsg";
}

std::unique_ptr<Message> OpReflection::NewMessage(const std::string& fullName) {
    const Descriptor* descriptor = DescriptorPool::generated_pool()->FindMessageTypeByName(fullName);
    if (descriptor == nullptr) {
        return nullptr;
    }
    const Message* prototype = MessageFactory::generated_factory()->GetPrototype(descriptor);
    return prototype != nullptr ? std::unique_ptr<Message>(prototype->New()) : nullptr;
}

std::unique_ptr<Message> OpReflection::NewOpMessage(const Descriptor* descriptor) {
    const std::string package = descriptor->file()->package();
    return NewMessage((package.empty() ? "" : package + ".") + OpMessageName(descriptor->name()));
}

std::string OpReflection::SelectAllLists(const Descriptor* descriptor) {
    std::unique_ptr<Message> select = NewOpMessage(descriptor);
    if (!select) {
        return {};
    }
    for (int i = 0; i < descriptor->field_count(); ++i) {
        const FieldDescriptor* field = descriptor->field(i);
        const FieldDescriptor* opField =
            select->GetDescriptor()->FindFieldByNumber(field->number());
        if (!field->is_repeated() || opField == nullptr) {
            continue;
        }
        if (opField->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
            SetSelf(*select->GetReflection()->AddMessage(select.get(), opField), kSelect);
        } else {
            select->GetReflection()->AddEnumValue(select.get(), opField, kSelect);
        }
    }
    return select->SerializeAsString();
}

void OpReflection::SetSelf(Message& op, int pbOpType) {
    const FieldDescriptor* self = op.GetDescriptor()->FindFieldByNumber(kSelfField);
    if (self != nullptr) {
        op.GetReflection()->SetEnumValue(&op, self, pbOpType);
    }
}

int OpReflection::GetSelf(const Message& op) {
    const FieldDescriptor* self = op.GetDescriptor()->FindFieldByNumber(kSelfField);
    if (self == nullptr || !op.GetReflection()->HasField(op, self)) {
        return 0;
    }
    return op.GetReflection()->GetEnumValue(op, self);
}

std::string OpReflection::ElementBytes(const Message& object, const FieldDescriptor* field,
                                       int index) {
    const auto* reflection = object.GetReflection();
    switch (field->cpp_type()) {
        case FieldDescriptor::CPPTYPE_MESSAGE:
            return reflection->GetRepeatedMessage(object, field, index).SerializeAsString();
        case FieldDescriptor::CPPTYPE_STRING:
            return reflection->GetRepeatedString(object, field, index);
        default: {
            // Scalars compare by their text; good enough for identity.
            std::string text;
            google::protobuf::TextFormat::Printer printer;
            printer.PrintFieldValueToString(object, field, index, &text);
            return text;
        }
    }
}

std::string OpReflection::ElementKey(const Message& object, const FieldDescriptor* field,
                                     int index) {
    if (field->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        const Message& element = object.GetReflection()->GetRepeatedMessage(object, field, index);
        const FieldDescriptor* first = element.GetDescriptor()->FindFieldByNumber(1);
        if (first != nullptr && !first->is_repeated() &&
            element.GetReflection()->HasField(element, first)) {
            std::string text;
            google::protobuf::TextFormat::Printer printer;
            printer.PrintFieldValueToString(element, first, -1, &text);
            return text;
        }
    }
    return ElementBytes(object, field, index);
}

std::string OpReflection::UnknownOperation(const google::protobuf::Message& op) {
    const google::protobuf::UnknownFieldSet& unknown = op.GetReflection()->GetUnknownFields(op);
    if (!unknown.empty()) {
        const google::protobuf::UnknownField& first = unknown.field(0);
        const auto* field = op.GetDescriptor()->FindFieldByNumber(first.number());
        const std::string name = field != nullptr ? field->name() : "field " + std::to_string(first.number());
        const std::string code = first.type() == google::protobuf::UnknownField::TYPE_VARINT
                                     ? std::to_string(first.varint())
                                     : std::string("?");
        return op.GetDescriptor()->name() + "." + name + ": " + code;
    }
    std::vector<const google::protobuf::FieldDescriptor*> fields;
    op.GetReflection()->ListFields(op, &fields);
    for (const auto* field : fields) {
        if (field->cpp_type() != google::protobuf::FieldDescriptor::CPPTYPE_MESSAGE) {
            continue;
        }
        const int count = field->is_repeated() ? op.GetReflection()->FieldSize(op, field) : 1;
        for (int i = 0; i < count; ++i) {
            const auto& inner = field->is_repeated() ? op.GetReflection()->GetRepeatedMessage(op, field, i)
                                                     : op.GetReflection()->GetMessage(op, field);
            std::string found = UnknownOperation(inner);
            if (!found.empty()) {
                return found;
            }
        }
    }
    return {};
}

}  // namespace zef::loftdb
