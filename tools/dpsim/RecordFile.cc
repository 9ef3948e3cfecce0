#include "RecordFile.h"

#include <chrono>
#include <ctime>

#include "JsonPtr.h"

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

bool RecordFile::ParseHex(const std::string& text, std::vector<uint8_t>& bytes) {
    if (text.empty() || text.size() % 2 != 0) {
        return false;
    }
    bytes.clear();
    for (size_t i = 0; i < text.size(); i += 2) {
        unsigned value = 0;
        for (size_t j = i; j < i + 2; ++j) {
            const char c = text[j];
            unsigned digit = 0;
            if (c >= '0' && c <= '9') {
                digit = static_cast<unsigned>(c - '0');
            } else if (c >= 'a' && c <= 'f') {
                digit = static_cast<unsigned>(c - 'a' + 10);
            } else if (c >= 'A' && c <= 'F') {
                digit = static_cast<unsigned>(c - 'A' + 10);
            } else {
                return false;
            }
            value = value * 16 + digit;
        }
        bytes.push_back(static_cast<uint8_t>(value));
    }
    return true;
}

void RecordFile::Append(const std::string& link, bool in, std::span<const uint8_t> message,
                        DecodedMessage decoded) {
    JsonPtr line(cJSON_CreateObject());
    cJSON_AddStringToObject(line.get(), "time", Now().c_str());
    cJSON_AddStringToObject(line.get(), "link", link.c_str());
    cJSON_AddStringToObject(line.get(), "dir", in ? "in" : "out");
    cJSON_AddStringToObject(line.get(), "type", decoded.type.c_str());
    cJSON_AddItemToObject(line.get(), "fields", decoded.fields.release());
    if (!decoded.dump.empty()) {
        cJSON_AddStringToObject(line.get(), "dump", Printable(decoded.dump).c_str());
    }
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
}

}  // namespace Dpsim
