#include "cache/L3Messages.h"

#include <google/protobuf/message.h>

#include "frame/vocabulary/PropertyType.h"
#include "loftdb_common.pb.h"
#include "loftdb_routing.pb.h"
#include "loftdb_types.pb.h"
#include "zef/loftdb/ObjectTypes.h"

namespace CfgAgent {

namespace lb = halden::zef::loftdb;

std::unique_ptr<google::protobuf::Message> L3Messages::New(uint32_t objectType,
                                                           uint32_t propertyType) {
    switch (propertyType) {
        case L3_FIB_ROUTER_ID:
        case L3_ARP_ROUTER_PORT_ID:
            return std::make_unique<lb::UuidMsg>();
        case L3_FIB_IP_PREFIX:
            return std::make_unique<lb::IpPrefixMsg>();
        case L3_FIB_NEXT_HOP:
            return std::make_unique<lb::FibNextHopMsg>();
        case L3_ARP_ENTRY:
            return std::make_unique<lb::ArpEntryMsg>();
        case INVALID_PROPERTY:
        case L3_DAD_STATUS:
        case L3_DAD_REQ:
            return zef::loftdb::ObjectTypes::NewObject(objectType);
        default:
            return nullptr;
    }
}

std::string L3Messages::Text(uint32_t objectType, uint32_t propertyType, const std::string& value) {
    std::unique_ptr<google::protobuf::Message> message = New(objectType, propertyType);
    if (!message || !message->ParseFromString(value)) {
        return {};
    }
    return message->ShortDebugString();
}

}  // namespace CfgAgent
