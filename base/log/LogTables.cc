#include "log/LogTables.h"

#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <fstream>
#include <vector>

namespace CfgAgent {

namespace {

constexpr size_t kMessageIdLineMax = 256;
constexpr size_t kStructuredDataLineMax = 512;

// Reads a data file line by line, cutting each to `maxLength` as the fixed
// line buffers of the host tools do, and skipping comment lines.
template <typename Fn>
void ForEachLine(const std::string& path, size_t maxLength, Fn&& fn) {
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        if (line.size() > maxLength) {
            line.resize(maxLength);
        }
        if (line.empty() || line.front() == '#') {
            continue;
        }
        fn(line);
    }
}

}  // namespace

LogTables& LogTables::Instance() {
    static LogTables tables;
    return tables;
}

void LogTables::Load(const std::string& messageIdsPath, const std::string& structuredDataPath) {
    _messageIds.clear();
    _structuredData.clear();
    ForEachLine(messageIdsPath, kMessageIdLineMax, [this](std::string& line) {
        boost::algorithm::trim(line);
        if (!line.empty()) {
            _messageIds.insert(line);
        }
    });
    ForEachLine(structuredDataPath, kStructuredDataLineMax, [this](std::string& line) {
        std::vector<std::string> parts;
        boost::algorithm::split(parts, line, [](char c) { return c == ':'; });
        if (parts.size() != 2) {
            return;
        }
        boost::algorithm::trim(parts[0]);
        std::set<std::string>& allowed = _structuredData[parts[0]];
        boost::algorithm::trim(parts[1]);
        if (parts[1].empty()) {
            return;
        }
        std::vector<std::string> values;
        boost::algorithm::split(values, parts[1], [](char c) { return c == ','; });
        for (std::string& value : values) {
            boost::algorithm::trim(value);
            allowed.insert(value);
        }
    });
}

std::string LogTables::CheckMessageId(const std::string& id) const {
    if (_messageIds.empty() || _messageIds.count(id) != 0) {
        return id;
    }
    return "*";
}

bool LogTables::TagAllowed(const std::string& key, const std::string& value) const {
    if (_structuredData.empty()) {
        return true;
    }
    auto it = _structuredData.find(key);
    if (it == _structuredData.end()) {
        return false;
    }
    return it->second.empty() || it->second.count(value) != 0;
}

}  // namespace CfgAgent
