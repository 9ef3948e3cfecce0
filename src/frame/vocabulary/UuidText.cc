#include "frame/vocabulary/UuidText.h"

#include "frame/vocabulary/Uuid.h"
#include "loftdb_common.pb.h"

namespace CfgAgent {

std::string UuidToString(const halden::zef::loftdb::UuidMsg& uuid) { return Uuid::FromMsg(uuid).Text(); }

std::string UuidBytesToString(const std::string& serialized) {
    const std::optional<Uuid> uuid = Uuid::FromSerialized(serialized);
    return uuid ? uuid->Text() : std::string();
}

bool UuidFromString(const std::string& text, halden::zef::loftdb::UuidMsg& uuid) {
    const std::optional<Uuid> parsed = Uuid::FromText(text);
    if (!parsed) {
        return false;
    }
    parsed->ToMsg(uuid);
    return true;
}

}  // namespace CfgAgent
