#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace google::protobuf {
class Message;
}

namespace zef::loftdb {

struct ObjectTypeInfo;

// Lookups over the store's object types: by code, by name or by code in text.
class ObjectTypes {
public:
    static const ObjectTypeInfo* ByCode(uint32_t code);
    // "LOG_SWITCH_CONFIG" or "1".
    static const ObjectTypeInfo* ByText(const std::string& text);
    // An empty object of the type, null for an unknown code.
    static std::unique_ptr<google::protobuf::Message> NewObject(uint32_t code);
    // The object's key: its field 1, serialized (a UuidMsg as its bytes, a
    // string as itself). Nothing when the field is absent.
    static std::optional<std::string> Key(const google::protobuf::Message& object);
};

}  // namespace zef::loftdb
