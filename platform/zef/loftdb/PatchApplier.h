#pragma once

#include <string>

namespace google::protobuf {
class Message;
}

namespace zef::loftdb {

// Applies an operation companion to a stored object, taking the values from
// a message of the object's type. Per field: SET copies, CLEAR clears; per
// list element i: INSERT and APPEND add values[i], REMOVE drops the stored
// elements with values[i]'s key, UPDATE replaces the one with that key in
// its place (or adds it), SET replaces and CLEAR empties the whole list.
class PatchApplier {
public:
    // False, with the reason, when an operation names a value that is absent.
    static bool Apply(google::protobuf::Message& stored, const google::protobuf::Message& values,
                      const google::protobuf::Message& op, std::string& error);
};

}  // namespace zef::loftdb
