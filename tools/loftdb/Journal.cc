#include "Journal.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "JournalRecord.h"
#include "log/zef/Logger.h"
#include "zef/LibraryLogLevels.h"

namespace loftdb {

namespace {

#define STORE_LOG(level) ZEF_LIB_LOG(zef::loftdb::library_log_level, level).s2comp("loftdb")

constexpr int kAppendFlags = O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC;
constexpr int kMaxAside = 1000;

std::string Reason() {
    return std::strerror(errno);
}

}  // namespace

Journal::Opened Journal::Open(const std::string& directory, bool recover, const Replay& replay,
                              std::string& error) {
    _directory = directory;
    _path = directory + "/journal";
    _records = 0;
    std::string data;
    if (!Read(data, error)) {
        return Opened::kFailed;
    }
    std::string why;
    const size_t good = ReplayRecords(data, replay, why);
    if (good == data.size() || (why.empty() && !JournalRecord::IntactRecordAfter(data, good))) {
        if (good < data.size()) {
            STORE_LOG(zef::LIB_LOG_WARN)
                .put("loftdb: cut a torn tail of %zu bytes at offset %zu of %s", data.size() - good,
                     good, _path.c_str());
        }
        return OpenForAppend(good, error) ? Opened::kReady : Opened::kFailed;
    }
    error = Damage(data, good, why);
    if (!recover) {
        return Opened::kDamaged;
    }
    const std::string damage = std::exchange(error, "");
    std::string aside;
    if (!KeepAside(aside, error) ||
        !Replace(std::string_view(data).substr(0, good), _records, error)) {
        return Opened::kFailed;
    }
    STORE_LOG(zef::LIB_LOG_WARN)
        .put("loftdb: %s; kept the %zu record(s) before it, the whole file is kept as %s",
             damage.c_str(), _records, aside.c_str());
    return Opened::kReady;
}

bool Journal::Read(std::string& data, std::string& error) {
    if (_files.MakeDirectory(_directory, 0755) != 0 && errno != EEXIST) {
        error = "cannot make " + _directory + ": " + Reason();
        return false;
    }
    FileHandle file = FileHandle::Open(_files, _path, O_RDONLY | O_CLOEXEC);
    if (!file.IsOpen() && errno == ENOENT) {
        return true;
    }
    if (!file.IsOpen() || !file.ReadAll(data)) {
        error = Failure("cannot read");
        return false;
    }
    return true;
}

size_t Journal::ReplayRecords(std::string_view data, const Replay& replay, std::string& why) {
    size_t offset = 0;
    while (offset < data.size()) {
        auto payload = JournalRecord::Decode(data, offset);
        if (!payload) {
            break;
        }
        if (!replay(*payload, why)) {
            why = why.empty() ? "it does not apply" : why;
            break;
        }
        ++_records;
        offset += JournalRecord::kHeader + payload->size();
    }
    return offset;
}

std::string Journal::Damage(std::string_view data, size_t offset, const std::string& why) const {
    const std::string where = _path + ": the record at offset " + std::to_string(offset);
    if (!why.empty()) {
        return where + " does not replay (" + why + ")";
    }
    return where + " is damaged and " + std::to_string(data.size() - offset) +
           " bytes holding intact records follow it";
}

// A second name rather than a rename, so that the journal is never missing
// while its replacement is written.
bool Journal::KeepAside(std::string& aside, std::string& error) {
    for (int n = 1; n <= kMaxAside; ++n) {
        aside = _path + ".damaged." + std::to_string(n);
        if (_files.Link(_path, aside) == 0) {
            return true;
        }
        if (errno != EEXIST) {
            break;
        }
    }
    error = Failure("cannot keep aside");
    return false;
}

bool Journal::OpenForAppend(uint64_t length, std::string& error) {
    _file = FileHandle::Open(_files, _path, kAppendFlags, 0644);
    // A cut tail must stay cut, and a new file named, before anything is acknowledged.
    if (!_file.IsOpen() || !_file.Truncate(length) || !_file.Sync() || !SyncDirectory()) {
        error = Failure("cannot open for writing");
        _file = FileHandle();
        return false;
    }
    _bytes = length;
    return true;
}

bool Journal::Append(std::string_view payload, std::string& error) {
    if (!_fenced.empty()) {
        error = _fenced;
        return false;
    }
    const std::string record = JournalRecord::Encode(payload);
    if (_file.WriteAll(record) && _file.DataSync()) {
        _bytes += record.size();
        ++_records;
        return true;
    }
    const std::string cause = Reason();
    // Back to what was acknowledged, so that neither this record nor a part
    // of it is ever replayed.
    if (_file.Truncate(_bytes) && _file.Sync()) {
        error = "journal write failed (" + cause + "); the transaction was not applied";
        return false;
    }
    Fence("a write failed (" + cause + ") and could not be undone (" + Reason() + ")");
    error = _fenced + "; whether this transaction is there after the restart is unknown";
    return false;
}

bool Journal::Rewrite(std::string_view payload, std::string& error) {
    if (!_fenced.empty()) {
        error = _fenced;
        return false;
    }
    return Replace(JournalRecord::Encode(payload), 1, error);
}

bool Journal::Replace(std::string_view bytes, size_t records, std::string& error) {
    const std::string temporary = _path + ".tmp";
    if (!WriteTemporary(temporary, bytes, error)) {
        return false;
    }
    if (_files.Rename(temporary, _path) != 0) {
        error = Failure("cannot replace");
        return false;
    }
    // Appends to the new file are lost with it if its name is not durable.
    FileHandle file = FileHandle::Open(_files, _path, kAppendFlags, 0644);
    if (!file.IsOpen() || !SyncDirectory()) {
        Fence("the replaced file could not be made durable (" + Reason() + ")");
        error = _fenced;
        return false;
    }
    _file = std::move(file);
    _records = records;
    _bytes = bytes.size();
    return true;
}

bool Journal::WriteTemporary(const std::string& path, std::string_view bytes, std::string& error) {
    FileHandle file =
        FileHandle::Open(_files, path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (!file.IsOpen() || !file.WriteAll(bytes) || !file.Sync() || !file.Close()) {
        error = "cannot write " + path + ": " + Reason();
        return false;
    }
    return true;
}

bool Journal::SyncDirectory() {
    FileHandle directory = FileHandle::Open(_files, _directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return directory.IsOpen() && directory.Sync() && directory.Close();
}

void Journal::Fence(const std::string& why) {
    _fenced = "the journal " + _path + " takes no more writes until the store restarts: " + why;
    STORE_LOG(zef::LIB_LOG_ERROR).put("loftdb: %s", _fenced.c_str());
}

std::string Journal::Failure(const std::string& what) const {
    return what + " " + _path + ": " + Reason();
}

}  // namespace loftdb
