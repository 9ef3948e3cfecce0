#pragma once

#include <sys/types.h>

#include <string>

namespace loftdb {

// The file operations of the journal, with POSIX results (-1 and errno on
// failure), behind one seam so that tests can make any of them fail.
class FileSystem {
public:
    virtual ~FileSystem() = default;

    virtual int Open(const std::string& path, int flags, mode_t mode) = 0;
    virtual int Close(int fd) = 0;
    virtual ssize_t Read(int fd, void* buffer, size_t size) = 0;
    virtual ssize_t Write(int fd, const void* data, size_t size) = 0;
    virtual int DataSync(int fd) = 0;
    virtual int Sync(int fd) = 0;
    virtual int Truncate(int fd, off_t length) = 0;
    virtual int Rename(const std::string& from, const std::string& to) = 0;
    virtual int Link(const std::string& from, const std::string& to) = 0;
    virtual int MakeDirectory(const std::string& path, mode_t mode) = 0;
};

}  // namespace loftdb
