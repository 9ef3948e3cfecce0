#include "zef/rpc/Endpoint.h"

#include <charconv>

namespace zef::rpc {

std::optional<Endpoint> Endpoint::Parse(const std::string& text) {
    static const std::string kScheme = "tcp://";
    if (text.compare(0, kScheme.size(), kScheme) != 0) {
        return std::nullopt;
    }
    const auto colon = text.rfind(':');
    if (colon == std::string::npos || colon < kScheme.size()) {
        return std::nullopt;
    }
    Endpoint endpoint;
    endpoint.host = text.substr(kScheme.size(), colon - kScheme.size());
    const char* first = text.data() + colon + 1;
    const char* last = text.data() + text.size();
    unsigned port = 0;
    auto [end, error] = std::from_chars(first, last, port);
    if (endpoint.host.empty() || error != std::errc() || end != last || first == last ||
        port > 65535) {
        return std::nullopt;
    }
    endpoint.port = static_cast<uint16_t>(port);
    return endpoint;
}

std::string Endpoint::ToString() const { return "tcp://" + host + ":" + std::to_string(port); }

}  // namespace zef::rpc
