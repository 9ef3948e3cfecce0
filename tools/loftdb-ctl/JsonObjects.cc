#include "JsonObjects.h"

#include <google/protobuf/util/json_util.h>

#include "zef/loftdb/ObjectTypes.h"
#include "zef/loftdb/OpReflection.h"

namespace loftdbctl {

namespace {

std::unique_ptr<google::protobuf::Message> FromJson(std::unique_ptr<google::protobuf::Message> message,
                                                    const std::string& json, std::string& error) {
    auto status = google::protobuf::util::JsonStringToMessage(json, message.get());
    if (!status.ok()) {
        error = "bad JSON for " + message->GetDescriptor()->name() + ": " +
                std::string(status.message());
        return nullptr;
    }
    return message;
}

std::unique_ptr<google::protobuf::Message> NewOf(uint32_t type, bool op, std::string& error) {
    auto object = zef::loftdb::ObjectTypes::NewObject(type);
    if (object && op) {
        object = zef::loftdb::OpReflection::NewOpMessage(object->GetDescriptor());
    }
    if (!object) {
        error = "unknown object type " + std::to_string(type);
    }
    return object;
}

}  // namespace

std::unique_ptr<google::protobuf::Message> JsonObjects::Object(uint32_t type,
                                                               const std::string& json,
                                                               std::string& error) {
    auto object = NewOf(type, false, error);
    return object ? FromJson(std::move(object), json, error) : nullptr;
}

std::unique_ptr<google::protobuf::Message> JsonObjects::OpBody(uint32_t type,
                                                               const std::string& json,
                                                               std::string& error) {
    auto op = NewOf(type, true, error);
    op = op ? FromJson(std::move(op), json, error) : nullptr;
    if (op) {
        const std::string unknown = zef::loftdb::OpReflection::UnknownOperation(*op);
        if (!unknown.empty()) {
            error = "operation code that means nothing: " + unknown;
            return nullptr;
        }
    }
    return op;
}

std::string JsonObjects::Text(const google::protobuf::Message& message) {
    google::protobuf::util::JsonPrintOptions options;
    options.preserve_proto_field_names = true;
    std::string out;
    if (!google::protobuf::util::MessageToJsonString(message, &out, options).ok()) {
        return "{}";
    }
    return out;
}

std::string JsonObjects::BytesText(uint32_t type, const std::string& bytes, bool op) {
    std::string error;
    auto message = NewOf(type, op, error);
    if (!message || !message->ParseFromString(bytes)) {
        return {};
    }
    return Text(*message);
}

}  // namespace loftdbctl
