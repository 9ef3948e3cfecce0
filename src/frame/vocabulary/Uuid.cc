#include "frame/vocabulary/Uuid.h"

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <stdexcept>

#include "loftdb_common.pb.h"
#include "log/Logger.h"

namespace CfgAgent {

std::optional<Uuid> Uuid::FromText(std::string_view text) {
    boost::uuids::uuid bytes{};
    try {
        bytes = boost::uuids::string_generator()(text.begin(), text.end());
    } catch (const std::runtime_error& e) {
        CFG_LOG(LL_DEBUG, "UUID FromString failed, error: %1", e.what());
        return std::nullopt;
    }
    uint64_t left = 0;
    uint64_t right = 0;
    for (int i = 0; i < 8; ++i) {
        left = (left << 8) | bytes.data[i];
        right = (right << 8) | bytes.data[8 + i];
    }
    return Uuid(left, right);
}

std::optional<Uuid> Uuid::FromSerialized(std::string_view bytes) {
    halden::zef::loftdb::UuidMsg message;
    if (!message.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()))) {
        return std::nullopt;
    }
    return FromMsg(message);
}

Uuid Uuid::FromMsg(const halden::zef::loftdb::UuidMsg& message) { return Uuid(message.left(), message.right()); }

std::string Uuid::Text() const {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(36);
    for (int i = 0; i < 32; ++i) {
        if (i == 8 || i == 12 || i == 16 || i == 20) {
            text.push_back('-');
        }
        const uint64_t half = i < 16 ? _left : _right;
        text.push_back(kDigits[(half >> (60 - 4 * (i % 16))) & 0xf]);
    }
    return text;
}

void Uuid::ToMsg(halden::zef::loftdb::UuidMsg& message) const {
    message.set_left(_left);
    message.set_right(_right);
}

std::string Uuid::Serialized() const {
    halden::zef::loftdb::UuidMsg message;
    ToMsg(message);
    return message.SerializeAsString();
}

}  // namespace CfgAgent
