#include "FileHandle.h"

#include <cerrno>
#include <utility>

namespace loftdb {

FileHandle FileHandle::Open(FileSystem& files, const std::string& path, int flags, mode_t mode) {
    return FileHandle(files, files.Open(path, flags, mode));
}

FileHandle::~FileHandle() {
    Close();
}

FileHandle::FileHandle(FileHandle&& other) noexcept
    : _files(other._files), _fd(std::exchange(other._fd, -1)) {}

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
    if (this != &other) {
        Close();
        _files = other._files;
        _fd = std::exchange(other._fd, -1);
    }
    return *this;
}

bool FileHandle::ReadAll(std::string& data) {
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t n = _files->Read(_fd, buffer, sizeof buffer);
        if (n == 0) {
            return true;
        }
        if (n < 0 && errno != EINTR) {
            return false;
        }
        if (n > 0) {
            data.append(buffer, static_cast<size_t>(n));
        }
    }
}

bool FileHandle::WriteAll(std::string_view data) {
    size_t done = 0;
    while (done < data.size()) {
        const ssize_t n = _files->Write(_fd, data.data() + done, data.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            errno = n == 0 ? EIO : errno;
            return false;
        }
        done += static_cast<size_t>(n);
    }
    return true;
}

bool FileHandle::DataSync() {
    return _files->DataSync(_fd) == 0;
}

bool FileHandle::Sync() {
    return _files->Sync(_fd) == 0;
}

bool FileHandle::Truncate(uint64_t length) {
    return _files->Truncate(_fd, static_cast<off_t>(length)) == 0;
}

bool FileHandle::Close() {
    if (_fd < 0) {
        return true;
    }
    return _files->Close(std::exchange(_fd, -1)) == 0;
}

}  // namespace loftdb
