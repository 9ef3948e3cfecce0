#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "FileHandle.h"
#include "FileSystem.h"

namespace loftdb {

// Write-ahead log of committed transactions in a data directory, one
// JournalRecord per transaction. What it acknowledged survives a crash: a
// failed append is cut off again, and when even that fails the journal
// takes no more writes rather than append after bytes it could not remove.
class Journal {
public:
    // Applies one record at start; false with the reason when it cannot.
    using Replay = std::function<bool(std::string_view payload, std::string& error)>;

    enum class Opened { kReady, kDamaged, kFailed };

    explicit Journal(FileSystem& files) : _files(files) {}

    // Replays every record in order. A torn last record is cut off. A bad
    // record with intact ones after it, or one that does not replay, is
    // kDamaged and leaves the file as it was, unless `recover`: then the file
    // is kept aside under a new name and the journal keeps what precedes it.
    Opened Open(const std::string& directory, bool recover, const Replay& replay,
                std::string& error);
    // Durable when it returns true: written and synced.
    bool Append(std::string_view payload, std::string& error);
    // Replaces the whole journal by one record, atomically.
    bool Rewrite(std::string_view payload, std::string& error);

    size_t Records() const { return _records; }
    uint64_t Bytes() const { return _bytes; }

private:
    bool Read(std::string& data, std::string& error);
    // Replays from the start; the offset of the first record not replayed.
    size_t ReplayRecords(std::string_view data, const Replay& replay, std::string& why);
    std::string Damage(std::string_view data, size_t offset, const std::string& why) const;
    bool KeepAside(std::string& aside, std::string& error);
    bool OpenForAppend(uint64_t length, std::string& error);
    bool Replace(std::string_view bytes, size_t records, std::string& error);
    bool WriteTemporary(const std::string& path, std::string_view bytes, std::string& error);
    bool SyncDirectory();
    void Fence(const std::string& why);
    std::string Failure(const std::string& what) const;

    FileSystem& _files;
    std::string _directory;
    std::string _path;
    FileHandle _file;
    size_t _records = 0;
    uint64_t _bytes = 0;
    std::string _fenced;
};

}  // namespace loftdb
