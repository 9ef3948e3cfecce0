#pragma once

#include "FileSystem.h"

namespace loftdb {

// The file operations of the running system.
class PosixFileSystem : public FileSystem {
public:
    int Open(const std::string& path, int flags, mode_t mode) override;
    int Close(int fd) override;
    ssize_t Read(int fd, void* buffer, size_t size) override;
    ssize_t Write(int fd, const void* data, size_t size) override;
    int DataSync(int fd) override;
    int Sync(int fd) override;
    int Truncate(int fd, off_t length) override;
    int Rename(const std::string& from, const std::string& to) override;
    int Link(const std::string& from, const std::string& to) override;
    int MakeDirectory(const std::string& path, mode_t mode) override;
};

}  // namespace loftdb
