#include "zef/loftdb/UpdateBuilder.h"

#include <google/protobuf/descriptor.h>
#include <google/protobuf/message.h>

#include <map>
#include <memory>
#include <vector>

#include "loftdb_common.pb.h"
#include "zef/loftdb/FieldCopy.h"
#include "zef/loftdb/OpReflection.h"

namespace zef::loftdb {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using halden::zef::loftdb::PbOpType;

namespace {

// Sets the operation of a singular field: a PbOpType, or the `self` of the
// field's own companion.
void SetFieldOp(Message& op, const FieldDescriptor* opField, PbOpType type) {
    if (opField->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        OpReflection::SetSelf(*op.GetReflection()->MutableMessage(&op, opField), type);
    } else {
        op.GetReflection()->SetEnumValue(&op, opField, type);
    }
}

void AddFieldOp(Message& op, const FieldDescriptor* opField, PbOpType type) {
    if (opField->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE) {
        OpReflection::SetSelf(*op.GetReflection()->AddMessage(&op, opField), type);
    } else {
        op.GetReflection()->AddEnumValue(&op, opField, type);
    }
}

// A list is selected when the statement's select holds SELECT for it.
bool IsSelected(const Message* select, const FieldDescriptor* opField) {
    if (select == nullptr || opField == nullptr) {
        return false;
    }
    const auto* reflection = select->GetReflection();
    const int count = reflection->FieldSize(*select, opField);
    for (int i = 0; i < count; ++i) {
        const int type = opField->cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE
                             ? OpReflection::GetSelf(reflection->GetRepeatedMessage(*select, opField, i))
                             : reflection->GetRepeatedEnumValue(*select, opField, i);
        if (type == halden::zef::loftdb::SELECT) {
            return true;
        }
    }
    return false;
}

bool ListsDiffer(const Message* before, const Message& after, const FieldDescriptor* field) {
    const int count = after.GetReflection()->FieldSize(after, field);
    if (before == nullptr) {
        return count != 0;
    }
    if (before->GetReflection()->FieldSize(*before, field) != count) {
        return true;
    }
    for (int i = 0; i < count; ++i) {
        if (OpReflection::ElementBytes(*before, field, i) !=
            OpReflection::ElementBytes(after, field, i)) {
            return true;
        }
    }
    return false;
}

void WholeListOps(const Message* before, const Message& after, const FieldDescriptor* field,
                  Message& op, const FieldDescriptor* opField) {
    if (!ListsDiffer(before, after, field)) {
        return;
    }
    const int count = after.GetReflection()->FieldSize(after, field);
    if (count == 0) {
        AddFieldOp(op, opField, halden::zef::loftdb::CLEAR);
    }
    for (int i = 0; i < count; ++i) {
        AddFieldOp(op, opField, halden::zef::loftdb::SET);
    }
}

// Entry operations of a selected list; rewrites the list of `body` and, if
// given, of `oldBody` to the layout the entry walk of a reader expects.
void EntryOps(const Message* before, const Message& after, const FieldDescriptor* field,
              Message& op, const FieldDescriptor* opField, Message& body, Message* oldBody) {
    std::map<std::string, int> oldByKey;
    std::map<std::string, int> newByKey;
    const int oldCount = before != nullptr ? before->GetReflection()->FieldSize(*before, field) : 0;
    const int newCount = after.GetReflection()->FieldSize(after, field);
    for (int i = 0; i < oldCount; ++i) {
        oldByKey.emplace(OpReflection::ElementKey(*before, field, i), i);
    }
    for (int i = 0; i < newCount; ++i) {
        newByKey.emplace(OpReflection::ElementKey(after, field, i), i);
    }
    std::unique_ptr<Message> concerned(after.New());
    std::unique_ptr<Message> formers(after.New());
    for (int i = 0; i < oldCount; ++i) {
        if (newByKey.count(OpReflection::ElementKey(*before, field, i)) == 0) {
            AddFieldOp(op, opField, halden::zef::loftdb::REMOVE);
            FieldCopy::Element(*before, i, *concerned, field);
        }
    }
    for (int i = 0; i < newCount; ++i) {
        auto old = oldByKey.find(OpReflection::ElementKey(after, field, i));
        if (old == oldByKey.end()) {
            AddFieldOp(op, opField, halden::zef::loftdb::INSERT);
            FieldCopy::Element(after, i, *concerned, field);
        } else if (OpReflection::ElementBytes(*before, field, old->second) !=
                   OpReflection::ElementBytes(after, field, i)) {
            AddFieldOp(op, opField, halden::zef::loftdb::UPDATE);
            FieldCopy::Element(after, i, *concerned, field);
            FieldCopy::Element(*before, old->second, *formers, field);
        }
    }
    FieldCopy::Field(*concerned, body, field);
    if (oldBody != nullptr) {
        FieldCopy::Field(*formers, *oldBody, field);
    }
}

void SingularOp(const Message* before, const Message& after, const FieldDescriptor* field,
                Message& op, const FieldDescriptor* opField) {
    const bool had = before != nullptr && before->GetReflection()->HasField(*before, field);
    const bool has = after.GetReflection()->HasField(after, field);
    if (has && (!had || FieldCopy::FieldBytes(*before, field) != FieldCopy::FieldBytes(after, field))) {
        SetFieldOp(op, opField, halden::zef::loftdb::SET);
    } else if (!has && had) {
        SetFieldOp(op, opField, halden::zef::loftdb::CLEAR);
    }
}

// A delete clears every field the object had, the key included, and each
// list with one CLEAR element, so that readers of single fields see it go.
void ClearAll(const Message& before, Message& op) {
    std::vector<const FieldDescriptor*> present;
    before.GetReflection()->ListFields(before, &present);
    for (const FieldDescriptor* field : present) {
        const FieldDescriptor* opField = op.GetDescriptor()->FindFieldByNumber(field->number());
        if (opField == nullptr) {
            continue;
        }
        if (field->is_repeated()) {
            AddFieldOp(op, opField, halden::zef::loftdb::CLEAR);
        } else {
            SetFieldOp(op, opField, halden::zef::loftdb::CLEAR);
        }
    }
}

}  // namespace

bool ObjectChanged(const Message* before, const Message* after) {
    if (before == nullptr || after == nullptr) {
        return before != after;
    }
    return before->SerializeAsString() != after->SerializeAsString();
}

halden::zef::loftdb::MonitorUpdateMsg BuildMonitorUpdate(uint32_t objectType, const Message* before,
                                                         const Message* after,
                                                         const std::string& select, uint32_t mode) {
    halden::zef::loftdb::MonitorUpdateMsg update;
    update.set_object_type(objectType);
    const Message* any = after != nullptr ? after : before;
    if (any == nullptr) {
        return update;
    }
    std::unique_ptr<Message> op = OpReflection::NewOpMessage(any->GetDescriptor());
    std::unique_ptr<Message> selectOp = OpReflection::NewOpMessage(any->GetDescriptor());
    if (selectOp && (select.empty() || !selectOp->ParseFromString(select))) {
        selectOp.reset();
    }
    std::unique_ptr<Message> body(any->New());
    body->CopyFrom(*any);
    // A delete always carries what went; a change only when the monitor asks.
    std::unique_ptr<Message> oldBody;
    if (before != nullptr && (mode == 1 || after == nullptr)) {
        oldBody.reset(before->New());
        oldBody->CopyFrom(*before);
    }

    if (op) {
        const auto* opDescriptor = op->GetDescriptor();
        const FieldDescriptor* key = any->GetDescriptor()->FindFieldByNumber(1);
        if (after == nullptr) {
            OpReflection::SetSelf(*op, halden::zef::loftdb::CLEAR);
            ClearAll(*before, *op);
        } else {
            OpReflection::SetSelf(*op, halden::zef::loftdb::SET);
            const auto* descriptor = after->GetDescriptor();
            for (int i = 0; i < descriptor->field_count(); ++i) {
                const FieldDescriptor* field = descriptor->field(i);
                const FieldDescriptor* opField = opDescriptor->FindFieldByNumber(field->number());
                if (opField == nullptr) {
                    continue;
                }
                if (field == key && !field->is_repeated()) {
                    if (before == nullptr) {
                        SetFieldOp(*op, opField, halden::zef::loftdb::SET);
                    }
                } else if (!field->is_repeated()) {
                    SingularOp(before, *after, field, *op, opField);
                } else if (IsSelected(selectOp.get(), opField)) {
                    EntryOps(before, *after, field, *op, opField, *body, oldBody.get());
                } else {
                    WholeListOps(before, *after, field, *op, opField);
                }
            }
        }
        update.set_op_body(op->SerializeAsString());
    }
    update.set_object_body(body->SerializeAsString());
    if (oldBody) {
        update.set_old_object_body(oldBody->SerializeAsString());
    }
    return update;
}

}  // namespace zef::loftdb
