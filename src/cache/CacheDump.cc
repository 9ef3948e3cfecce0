#include "cache/CacheDump.h"

#include <google/protobuf/message.h>

#include "frame/vocabulary/PropertyType.h"
#include "frame/vocabulary/UuidText.h"
#include "zef/loftdb/ObjectTypeTable.h"
#include "zef/loftdb/ObjectTypes.h"

namespace CfgAgent {

namespace {

std::string TypeName(uint32_t code) {
    const auto* info = zef::loftdb::ObjectTypes::ByCode(code);
    return info != nullptr ? info->name : std::to_string(code);
}

std::string ValueText(const ConfigEntry& entry) {
    if (entry.propertyType == 0 || entry.value.empty()) {
        return {};
    }
    auto object = zef::loftdb::ObjectTypes::NewObject(entry.objectType);
    if (!object || !object->ParseFromString(entry.value)) {
        return {};
    }
    return object->ShortDebugString();
}

}  // namespace

CliJson CacheDump::ConfigRows(const std::vector<ConfigEntry>& rows, bool idsAsUuid) {
    CliJson array = CliJson::Array();
    for (const ConfigEntry& entry : rows) {
        CliJson row = CliJson::Object();
        row.Put("ObjectID", idsAsUuid ? UuidBytesToString(entry.objectId) : entry.objectId)
            .Put("ObjectType", TypeName(entry.objectType))
            .Put("FullSyncVersion", static_cast<long long>(entry.fullSyncVersion))
            .Put("PropertyType", std::string(PropertyTypeToString(entry.propertyType)))
            .Put("PropertyValue", ValueText(entry));
        array.Add(std::move(row));
    }
    return array;
}

}  // namespace CfgAgent
