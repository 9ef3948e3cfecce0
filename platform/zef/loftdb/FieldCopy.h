#pragma once

#include <google/protobuf/message.h>

#include <string>

namespace zef::loftdb {

// Field-level copies between two messages of one type, by reflection.
class FieldCopy {
public:
    // `to`'s field becomes `from`'s: value, list or absence.
    static void Field(const google::protobuf::Message& from, google::protobuf::Message& to,
                      const google::protobuf::FieldDescriptor* field);
    // Appends element `index` of `from`'s list to `to`'s list.
    static void Element(const google::protobuf::Message& from, int index,
                        google::protobuf::Message& to,
                        const google::protobuf::FieldDescriptor* field);
    // The serialized form of a message holding only `field` of `from`.
    static std::string FieldBytes(const google::protobuf::Message& from,
                                  const google::protobuf::FieldDescriptor* field);
};

}  // namespace zef::loftdb
