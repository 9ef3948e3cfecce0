#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "FileSystem.h"

namespace loftdb {

// A descriptor opened through a FileSystem, closed with the handle. Every
// operation returns false with errno set when it fails.
class FileHandle {
public:
    FileHandle() = default;
    static FileHandle Open(FileSystem& files, const std::string& path, int flags, mode_t mode = 0);
    ~FileHandle();
    FileHandle(FileHandle&& other) noexcept;
    FileHandle& operator=(FileHandle&& other) noexcept;
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;

    bool IsOpen() const { return _fd >= 0; }
    bool ReadAll(std::string& data);
    bool WriteAll(std::string_view data);
    bool DataSync();
    bool Sync();
    bool Truncate(uint64_t length);
    // Closes now, so that a failure to close can be told.
    bool Close();

private:
    FileHandle(FileSystem& files, int fd) : _files(&files), _fd(fd) {}

    FileSystem* _files = nullptr;
    int _fd = -1;
};

}  // namespace loftdb
