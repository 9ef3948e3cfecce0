#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace google::protobuf {
class Message;
}

namespace CfgAgent {

// The message an L3 row's value holds: the object's own for property 0 and
// the address detection states, a part of it for the other properties.
class L3Messages {
public:
    // Null when the pair is not one of the table's.
    static std::unique_ptr<google::protobuf::Message> New(uint32_t objectType,
                                                          uint32_t propertyType);
    // The value in protobuf text form; empty when it does not parse.
    static std::string Text(uint32_t objectType, uint32_t propertyType, const std::string& value);
};

}  // namespace CfgAgent
