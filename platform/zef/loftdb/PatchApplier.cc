#include "zef/loftdb/PatchApplier.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <memory>

#include "loftdb_common.pb.h"
#include "zef/loftdb/FieldCopy.h"
#include "zef/loftdb/OpReflection.h"

namespace zef::loftdb {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

namespace {

int SingularOpType(const Message& op, const FieldDescriptor* opField) {
    if (opField->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        return OpReflection::GetSelf(op.GetReflection()->GetMessage(op, opField));
    }
    return op.GetReflection()->GetEnumValue(op, opField);
}

int ElementOpType(const Message& op, const FieldDescriptor* opField, int index) {
    if (opField->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        return OpReflection::GetSelf(op.GetReflection()->GetRepeatedMessage(op, opField, index));
    }
    return op.GetReflection()->GetRepeatedEnumValue(op, opField, index);
}

// Rebuilds the stored list without the elements whose key is `key`; returns
// the position of the first one dropped, or -1.
int DropByKey(Message& stored, const FieldDescriptor* field, const std::string& key) {
    std::unique_ptr<Message> kept(stored.New());
    int dropped = -1;
    const int count = stored.GetReflection()->FieldSize(stored, field);
    for (int i = 0; i < count; ++i) {
        if (OpReflection::ElementKey(stored, field, i) == key) {
            if (dropped < 0) {
                dropped = i;
            }
        } else {
            FieldCopy::Element(stored, i, *kept, field);
        }
    }
    FieldCopy::Field(*kept, stored, field);
    return dropped;
}

bool ApplyElement(Message& stored, const Message& values, const FieldDescriptor* field, int type,
                  int index, std::string& error) {
    using namespace halden::zef::loftdb;
    if (type == SET || type == CLEAR) {
        FieldCopy::Field(values, stored, field);
        if (type == CLEAR) {
            stored.GetReflection()->ClearField(&stored, field);
        }
        return true;
    }
    if (type != INSERT && type != APPEND && type != REMOVE && type != UPDATE) {
        error = "operation " + std::to_string(type) + " means nothing for element " +
                std::to_string(index) + " of " + field->name();
        return false;
    }
    if (index >= values.GetReflection()->FieldSize(values, field)) {
        error = "no value for element " + std::to_string(index) + " of " + field->name();
        return false;
    }
    const std::string key = OpReflection::ElementKey(values, field, index);
    const int place = type == INSERT || type == APPEND ? -1 : DropByKey(stored, field, key);
    if (type == REMOVE) {
        return true;
    }
    FieldCopy::Element(values, index, stored, field);
    // An updated element keeps its place in the list.
    const auto* reflection = stored.GetReflection();
    for (int at = reflection->FieldSize(stored, field) - 1; place >= 0 && at > place; --at) {
        reflection->SwapElements(&stored, field, at, at - 1);
    }
    return true;
}

}  // namespace

bool PatchApplier::Apply(Message& stored, const Message& values, const Message& op,
                         std::string& error) {
    const std::string unknown = OpReflection::UnknownOperation(op);
    if (!unknown.empty()) {
        error = "operation code that means nothing: " + unknown;
        return false;
    }
    const auto* descriptor = stored.GetDescriptor();
    const auto* opDescriptor = op.GetDescriptor();
    for (int f = 0; f < descriptor->field_count(); ++f) {
        const FieldDescriptor* field = descriptor->field(f);
        const FieldDescriptor* opField = opDescriptor->FindFieldByNumber(field->number());
        if (opField == nullptr) {
            continue;
        }
        if (!field->is_repeated()) {
            if (!op.GetReflection()->HasField(op, opField)) {
                continue;
            }
            const int type = SingularOpType(op, opField);
            if (type == halden::zef::loftdb::SET) {
                FieldCopy::Field(values, stored, field);
            } else if (type == halden::zef::loftdb::CLEAR) {
                stored.GetReflection()->ClearField(&stored, field);
            } else {
                error = "operation " + std::to_string(type) + " means nothing for " + field->name() +
                        ": a field takes SET or CLEAR";
                return false;
            }
            continue;
        }
        const int count = op.GetReflection()->FieldSize(op, opField);
        for (int i = 0; i < count; ++i) {
            const int type = ElementOpType(op, opField, i);
            if (!ApplyElement(stored, values, field, type, i, error)) {
                return false;
            }
            if (type == halden::zef::loftdb::SET || type == halden::zef::loftdb::CLEAR) {
                break;
            }
        }
    }
    return true;
}

}  // namespace zef::loftdb
