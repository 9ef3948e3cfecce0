#pragma once

#include <string>

struct json;

namespace CfgAgent {

// An owned JSON value of the command socket's library; prints compactly.
class CliJson {
public:
    static CliJson Array();
    static CliJson Object();
    static CliJson String(const std::string& text);

    CliJson(CliJson&& other) noexcept;
    CliJson& operator=(CliJson&&) = delete;
    CliJson(const CliJson&) = delete;
    ~CliJson();

    CliJson& Put(const char* key, const std::string& value);
    CliJson& Put(const char* key, long long value);
    CliJson& Put(const char* key, CliJson value);
    CliJson& Add(CliJson element);

    std::string Text() const;

private:
    explicit CliJson(struct json* value) : _value(value) {}
    struct json* Release();

    struct json* _value;
};

}  // namespace CfgAgent
