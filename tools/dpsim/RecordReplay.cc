#include "RecordReplay.h"

#include <fstream>

#include "JsonPtr.h"
#include "RecordFile.h"

namespace Dpsim {

namespace {

std::string Text(const cJSON* line, const char* key) {
    const cJSON* item = cJSON_GetObjectItemCaseSensitive(line, key);
    return cJSON_IsString(item) ? item->valuestring : "";
}

}  // namespace

bool RecordReplay::Run(const std::string& path, const std::string& link, LinkProtocol& protocol,
                       size_t& messages, std::string& error) {
    std::ifstream file(path);
    if (!file) {
        error = "cannot read " + path;
        return false;
    }
    messages = 0;
    size_t number = 0;
    for (std::string text; std::getline(file, text);) {
        ++number;
        JsonPtr line(cJSON_Parse(text.c_str()));
        if (!line || Text(line.get(), "link") != link || Text(line.get(), "dir") != "in") {
            if (!line) {
                error = path + ":" + std::to_string(number) + ": not a JSON line";
                return false;
            }
            continue;
        }
        std::vector<uint8_t> message;
        if (!RecordFile::ParseHex(Text(line.get(), "hex"), message)) {
            error = path + ":" + std::to_string(number) + ": no hex of the message";
            return false;
        }
        protocol.Receive(message);
        ++messages;
    }
    return true;
}

}  // namespace Dpsim
