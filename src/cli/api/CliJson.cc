#include "cli/api/CliJson.h"

#include <cstdlib>
#include <utility>

extern "C" {
#include "openvswitch/json.h"
}

namespace CfgAgent {

CliJson CliJson::Array() { return CliJson(json_array_create_empty()); }

CliJson CliJson::Object() { return CliJson(json_object_create()); }

CliJson CliJson::String(const std::string& text) { return CliJson(json_string_create(text.c_str())); }

CliJson::CliJson(CliJson&& other) noexcept : _value(std::exchange(other._value, nullptr)) {}

CliJson::~CliJson() {
    if (_value != nullptr) {
        json_destroy(_value);
    }
}

struct json* CliJson::Release() { return std::exchange(_value, nullptr); }

CliJson& CliJson::Put(const char* key, const std::string& value) {
    json_object_put_string(_value, key, value.c_str());
    return *this;
}

CliJson& CliJson::Put(const char* key, long long value) {
    json_object_put(_value, key, json_integer_create(value));
    return *this;
}

CliJson& CliJson::Put(const char* key, CliJson value) {
    json_object_put(_value, key, value.Release());
    return *this;
}

CliJson& CliJson::Add(CliJson element) {
    json_array_add(_value, element.Release());
    return *this;
}

std::string CliJson::Text() const {
    char* text = json_to_string(_value, 0);
    std::string out = text != nullptr ? text : "";
    free(text);
    return out;
}

}  // namespace CfgAgent
