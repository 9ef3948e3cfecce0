#include "frame/vocabulary/UuidText.h"

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <boost/uuid/uuid_io.hpp>
#include <stdexcept>

#include "log/Logger.h"
#include "loftdb_common.pb.h"

namespace CfgAgent {

std::string UuidToString(const halden::zef::loftdb::UuidMsg& uuid) {
    boost::uuids::uuid bytes{};
    for (int i = 0; i < 8; ++i) {
        bytes.data[i] = static_cast<uint8_t>(uuid.left() >> (56 - 8 * i));
        bytes.data[8 + i] = static_cast<uint8_t>(uuid.right() >> (56 - 8 * i));
    }
    return boost::uuids::to_string(bytes);
}

std::string UuidBytesToString(const std::string& serialized) {
    halden::zef::loftdb::UuidMsg uuid;
    if (!uuid.ParseFromString(serialized)) {
        return {};
    }
    return UuidToString(uuid);
}

bool UuidFromString(const std::string& text, halden::zef::loftdb::UuidMsg& uuid) {
    boost::uuids::uuid bytes{};
    try {
        bytes = boost::uuids::string_generator()(text);
    } catch (const std::runtime_error& e) {
        CFG_LOG(LL_DEBUG, "UUID FromString failed, error: %1", e.what());
        return false;
    }
    uint64_t left = 0;
    uint64_t right = 0;
    for (int i = 0; i < 8; ++i) {
        left = (left << 8) | bytes.data[i];
        right = (right << 8) | bytes.data[8 + i];
    }
    uuid.set_left(left);
    uuid.set_right(right);
    return true;
}

}  // namespace CfgAgent
