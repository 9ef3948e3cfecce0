#pragma once

#include <string>

namespace halden::zef::loftdb {
class UuidMsg;
}

namespace CfgAgent {

// The text form of a UuidMsg: left half's bytes, most significant first, then
// the right half's, in the lower-case hyphenated form. For logs, the command
// socket and the kernel; ids are compared as serialized bytes elsewhere.
std::string UuidToString(const halden::zef::loftdb::UuidMsg& uuid);
// From a serialized UuidMsg; empty when the bytes do not parse.
std::string UuidBytesToString(const std::string& serialized);
// Leaves `uuid` untouched and returns false when the text is not a UUID.
bool UuidFromString(const std::string& text, halden::zef::loftdb::UuidMsg& uuid);

}  // namespace CfgAgent
