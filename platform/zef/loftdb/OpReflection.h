#pragma once

#include <google/protobuf/message.h>

#include <memory>
#include <string>

namespace zef::loftdb {

// Store objects and their operation companions, seen through reflection:
// FooMsg pairs with FooOpMsg, field for field by number, with `self` the
// operation on the whole message.
class OpReflection {
public:
    static constexpr int kSelfField = 1000;
    static constexpr int kSelect = 1;  // PbOpType SELECT

    // The companion's name: UuidMsg -> UuidOpMsg.
    static std::string OpMessageName(const std::string& messageName);
    // A new empty companion of `descriptor`'s message; null when there is none.
    static std::unique_ptr<google::protobuf::Message> NewOpMessage(
        const google::protobuf::Descriptor* descriptor);
    // A new empty object of a message type, by full name; null when unknown.
    static std::unique_ptr<google::protobuf::Message> NewMessage(const std::string& fullName);

    // A select for a monitor of the type that asks for entry operations on
    // every list of the object.
    static std::string SelectAllLists(const google::protobuf::Descriptor* descriptor);

    static void SetSelf(google::protobuf::Message& op, int pbOpType);
    static int GetSelf(const google::protobuf::Message& op);
    // What in a companion carries an operation code the schema does not
    // know ("vni: 99"), anywhere in it; empty when nothing does. Such a code
    // parses as an unknown field and would otherwise be ignored unseen.
    static std::string UnknownOperation(const google::protobuf::Message& op);

    // A list element's key: its field 1 when it is a message that has one
    // set, else its whole serialized form.
    static std::string ElementKey(const google::protobuf::Message& object,
                                  const google::protobuf::FieldDescriptor* field, int index);
    static std::string ElementBytes(const google::protobuf::Message& object,
                                    const google::protobuf::FieldDescriptor* field, int index);
};

}  // namespace zef::loftdb
