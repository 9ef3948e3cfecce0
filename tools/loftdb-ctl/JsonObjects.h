#pragma once

#include <google/protobuf/message.h>

#include <memory>
#include <string>

namespace loftdbctl {

// Store objects in protobuf's JSON mapping, by object type.
class JsonObjects {
public:
    // An object of the type from its JSON text; null with the reason on error.
    static std::unique_ptr<google::protobuf::Message> Object(uint32_t type, const std::string& json,
                                                             std::string& error);
    // The type's operation companion from its JSON text.
    static std::unique_ptr<google::protobuf::Message> OpBody(uint32_t type, const std::string& json,
                                                             std::string& error);
    // One line of JSON; "{}" for an empty message.
    static std::string Text(const google::protobuf::Message& message);
    // The JSON of serialized `bytes` read as an object of the type (or, with
    // `op`, as its companion); an empty text when they do not parse.
    static std::string BytesText(uint32_t type, const std::string& bytes, bool op);
};

}  // namespace loftdbctl
