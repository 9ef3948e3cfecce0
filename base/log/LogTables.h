#pragma once

#include <map>
#include <set>
#include <string>

namespace CfgAgent {

// The two log data files: known message ids, and the allowed structured-data
// keys with their allowed values. An empty table switches its check off.
// Written before main, read-only afterwards.
class LogTables {
public:
    static constexpr const char* kMessageIdsPath = "/opt/halden/zef-common/logging/message-ids.txt";
    static constexpr const char* kStructuredDataPath =
        "/opt/halden/zef-common/logging/structured-data.txt";

    static LogTables& Instance();

    // Replaces both tables from the files; a missing file leaves its table empty.
    void Load(const std::string& messageIdsPath, const std::string& structuredDataPath);

    // An id the table knows, or "*" when the table is not empty and lacks it.
    std::string CheckMessageId(const std::string& id) const;
    // Whether a tag may be printed; always true while the table is empty.
    bool TagAllowed(const std::string& key, const std::string& value) const;

private:
    std::set<std::string> _messageIds;
    std::map<std::string, std::set<std::string>> _structuredData;
};

}  // namespace CfgAgent
