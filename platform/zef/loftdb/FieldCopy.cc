#include "zef/loftdb/FieldCopy.h"

#include <google/protobuf/descriptor.h>

#include <memory>

namespace zef::loftdb {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

void FieldCopy::Field(const Message& from, Message& to, const FieldDescriptor* field) {
    to.GetReflection()->ClearField(&to, field);
    if (field->is_repeated()) {
        const int count = from.GetReflection()->FieldSize(from, field);
        for (int i = 0; i < count; ++i) {
            Element(from, i, to, field);
        }
        return;
    }
    if (!from.GetReflection()->HasField(from, field)) {
        return;
    }
    // Merging a message that holds only this field sets exactly this field.
    std::unique_ptr<Message> single(from.New());
    single->CopyFrom(from);
    std::vector<const FieldDescriptor*> present;
    single->GetReflection()->ListFields(*single, &present);
    for (const FieldDescriptor* other : present) {
        if (other != field) {
            single->GetReflection()->ClearField(single.get(), other);
        }
    }
    to.MergeFrom(*single);
}

void FieldCopy::Element(const Message& from, int index, Message& to, const FieldDescriptor* field) {
    const auto* in = from.GetReflection();
    const auto* out = to.GetReflection();
    switch (field->cpp_type()) {
        case FieldDescriptor::CPPTYPE_INT32:
            out->AddInt32(&to, field, in->GetRepeatedInt32(from, field, index));
            break;
        case FieldDescriptor::CPPTYPE_INT64:
            out->AddInt64(&to, field, in->GetRepeatedInt64(from, field, index));
            break;
        case FieldDescriptor::CPPTYPE_UINT32:
            out->AddUInt32(&to, field, in->GetRepeatedUInt32(from, field, index));
            break;
        case FieldDescriptor::CPPTYPE_UINT64:
            out->AddUInt64(&to, field, in->GetRepeatedUInt64(from, field, index));
            break;
        case FieldDescriptor::CPPTYPE_DOUBLE:
            out->AddDouble(&to, field, in->GetRepeatedDouble(from, field, index));
            break;
        case FieldDescriptor::CPPTYPE_FLOAT:
            out->AddFloat(&to, field, in->GetRepeatedFloat(from, field, index));
            break;
        case FieldDescriptor::CPPTYPE_BOOL:
            out->AddBool(&to, field, in->GetRepeatedBool(from, field, index));
            break;
        case FieldDescriptor::CPPTYPE_ENUM:
            out->AddEnumValue(&to, field, in->GetRepeatedEnumValue(from, field, index));
            break;
        case FieldDescriptor::CPPTYPE_STRING:
            out->AddString(&to, field, in->GetRepeatedString(from, field, index));
            break;
        case FieldDescriptor::CPPTYPE_MESSAGE:
            out->AddMessage(&to, field)->CopyFrom(in->GetRepeatedMessage(from, field, index));
            break;
    }
}

std::string FieldCopy::FieldBytes(const Message& from, const FieldDescriptor* field) {
    std::unique_ptr<Message> single(from.New());
    Field(from, *single, field);
    return single->SerializeAsString();
}

}  // namespace zef::loftdb
