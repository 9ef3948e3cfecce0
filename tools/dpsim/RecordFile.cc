#include "RecordFile.h"

#include <chrono>
#include <ctime>

#include "JsonPtr.h"
#include "KcpDecoder.h"
#include "port/KcpDump.h"

namespace Dpsim {

namespace {

// Wire text fields may hold any byte; the hex keeps them, the dump stays
// valid UTF-8.
std::string Printable(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) {
            c = '?';
        }
    }
    return text;
}

}  // namespace

RecordFile::RecordFile(const std::string& path) : _file(std::fopen(path.c_str(), "ae")) {}

RecordFile::~RecordFile() {
    if (_file != nullptr) {
        std::fclose(_file);
    }
}

std::string RecordFile::Now() {
    const auto now = std::chrono::system_clock::now();
    const auto millis =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
    const std::time_t seconds = static_cast<std::time_t>(millis / 1000);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char text[32];
    const size_t used = std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &utc);
    std::snprintf(text + used, sizeof(text) - used, ".%03dZ", static_cast<int>(millis % 1000));
    return text;
}

std::string RecordFile::Hex(std::span<const uint8_t> bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (uint8_t byte : bytes) {
        text.push_back(kDigits[byte >> 4]);
        text.push_back(kDigits[byte & 0x0F]);
    }
    return text;
}

bool RecordFile::Append(const std::string& link, bool in, std::span<const uint8_t> message) {
    KcpDecoded decoded = KcpDecoder::Decode(message);
    JsonPtr line(cJSON_CreateObject());
    cJSON_AddStringToObject(line.get(), "time", Now().c_str());
    cJSON_AddStringToObject(line.get(), "link", link.c_str());
    cJSON_AddStringToObject(line.get(), "dir", in ? "in" : "out");
    cJSON_AddStringToObject(line.get(), "type", decoded.type.c_str());
    cJSON_AddItemToObject(line.get(), "fields", decoded.fields.release());
    cJSON_AddStringToObject(line.get(), "dump", Printable(CfgAgent::KcpDump::Render(message)).c_str());
    cJSON_AddStringToObject(line.get(), "hex", Hex(message).c_str());
    if (!decoded.error.empty()) {
        cJSON_AddStringToObject(line.get(), "error", decoded.error.c_str());
    }
    char* text = cJSON_PrintUnformatted(line.get());
    if (text != nullptr) {
        std::lock_guard<std::mutex> lock(_mutex);
        if (_file != nullptr) {
            std::fprintf(_file, "%s\n", text);
            std::fflush(_file);
        }
    }
    cJSON_free(text);
    return decoded.error.empty();
}

}  // namespace Dpsim
