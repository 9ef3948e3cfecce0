#pragma once

#include <cstdint>
#include <cstdio>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "DecodedMessage.h"

namespace Dpsim {

// Appends one JSON line per message, from any link thread. Each line is
// flushed at once so that a reader sees it while the simulator runs.
class RecordFile {
public:
    // Opens for appending; Ok() is false when that failed.
    explicit RecordFile(const std::string& path);
    ~RecordFile();
    RecordFile(const RecordFile&) = delete;
    RecordFile& operator=(const RecordFile&) = delete;

    bool Ok() const { return _file != nullptr; }
    // `in` is true for what the agent sent; `decoded` is what the link's
    // protocol made of the message, its error included.
    void Append(const std::string& link, bool in, std::span<const uint8_t> message,
                DecodedMessage decoded);

    static std::string Now();
    static std::string Hex(std::span<const uint8_t> bytes);
    // An even number of hex digits, either case; false for anything else.
    static bool ParseHex(const std::string& text, std::vector<uint8_t>& bytes);

private:
    std::mutex _mutex;
    std::FILE* _file = nullptr;
};

}  // namespace Dpsim
