#pragma once

#include <functional>
#include <string>

namespace loftdb {

// Write-ahead log of committed transactions in a data directory. A record
// is a 4-byte big-endian length, a 4-byte CRC-32 of the payload and the
// payload; a torn or corrupt tail left by a crash is cut off at open.
class Journal {
public:
    using Replay = std::function<void(const std::string& payload)>;

    ~Journal();

    // Creates the directory's journal if needed and replays every intact record.
    bool Open(const std::string& directory, const Replay& replay, std::string& error);
    // Durable when it returns true: written and synced.
    bool Append(const std::string& payload);
    // Replaces the whole journal by one record, atomically.
    bool Rewrite(const std::string& payload);
    size_t Records() const { return _records; }

private:
    bool OpenForAppend();

    std::string _directory;
    std::string _path;
    int _fd = -1;
    size_t _records = 0;
};

}  // namespace loftdb
