#include "PosixFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace loftdb {

int PosixFileSystem::Open(const std::string& path, int flags, mode_t mode) {
    return ::open(path.c_str(), flags, mode);
}

int PosixFileSystem::Close(int fd) {
    return ::close(fd);
}

ssize_t PosixFileSystem::Read(int fd, void* buffer, size_t size) {
    return ::read(fd, buffer, size);
}

ssize_t PosixFileSystem::Write(int fd, const void* data, size_t size) {
    return ::write(fd, data, size);
}

int PosixFileSystem::DataSync(int fd) {
    return ::fdatasync(fd);
}

int PosixFileSystem::Sync(int fd) {
    return ::fsync(fd);
}

int PosixFileSystem::Truncate(int fd, off_t length) {
    return ::ftruncate(fd, length);
}

int PosixFileSystem::Rename(const std::string& from, const std::string& to) {
    return std::rename(from.c_str(), to.c_str());
}

int PosixFileSystem::Link(const std::string& from, const std::string& to) {
    return ::link(from.c_str(), to.c_str());
}

int PosixFileSystem::MakeDirectory(const std::string& path, mode_t mode) {
    return ::mkdir(path.c_str(), mode);
}

}  // namespace loftdb
