#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zef::rpc {

// "tcp://host:port", the only transport the local RPC speaks.
struct Endpoint {
    std::string host;
    uint16_t port = 0;

    static std::optional<Endpoint> Parse(const std::string& text);
    std::string ToString() const;
};

}  // namespace zef::rpc
