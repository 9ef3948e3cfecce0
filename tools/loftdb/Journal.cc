#include "Journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

namespace loftdb {

namespace {

constexpr uint32_t kMaxRecord = 1u << 30;

std::string Header(const std::string& payload) {
    const auto length = static_cast<uint32_t>(payload.size());
    const auto crc = static_cast<uint32_t>(
        crc32(0, reinterpret_cast<const Bytef*>(payload.data()), static_cast<uInt>(payload.size())));
    std::string header(8, '\0');
    for (int i = 0; i < 4; ++i) {
        header[i] = static_cast<char>(length >> (24 - 8 * i));
        header[4 + i] = static_cast<char>(crc >> (24 - 8 * i));
    }
    return header;
}

uint32_t ReadBE(const std::string& data, size_t at) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) {
        value = (value << 8) | static_cast<uint8_t>(data[at + i]);
    }
    return value;
}

bool WriteAll(int fd, const std::string& data) {
    size_t done = 0;
    while (done < data.size()) {
        ssize_t n = write(fd, data.data() + done, data.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return false;
        }
        done += static_cast<size_t>(n);
    }
    return true;
}

void SyncDirectory(const std::string& directory) {
    int fd = open(directory.c_str(), O_RDONLY | O_DIRECTORY);
    if (fd >= 0) {
        fsync(fd);
        close(fd);
    }
}

}  // namespace

Journal::~Journal() {
    if (_fd >= 0) {
        close(_fd);
    }
}

bool Journal::Open(const std::string& directory, const Replay& replay, std::string& error) {
    _directory = directory;
    _path = directory + "/journal";
    if (mkdir(directory.c_str(), 0755) != 0 && errno != EEXIST) {
        error = "cannot make " + directory + ": " + std::strerror(errno);
        return false;
    }
    std::ifstream in(_path, std::ios::binary);
    const std::string data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    size_t offset = 0;
    while (data.size() - offset >= 8) {
        const uint32_t length = ReadBE(data, offset);
        if (length > kMaxRecord || data.size() - offset - 8 < length) {
            break;
        }
        std::string payload = data.substr(offset + 8, length);
        if (Header(payload) != data.substr(offset, 8)) {
            break;
        }
        replay(payload);
        ++_records;
        offset += 8 + length;
    }
    if (!OpenForAppend()) {
        error = "cannot open " + _path + ": " + std::strerror(errno);
        return false;
    }
    // Whatever follows the last intact record was never acknowledged.
    if (offset < data.size() && ftruncate(_fd, static_cast<off_t>(offset)) != 0) {
        error = "cannot cut the torn tail of " + _path;
        return false;
    }
    return true;
}

bool Journal::OpenForAppend() {
    if (_fd >= 0) {
        close(_fd);
    }
    _fd = open(_path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    return _fd >= 0;
}

bool Journal::Append(const std::string& payload) {
    if (_fd < 0 || !WriteAll(_fd, Header(payload) + payload) || fdatasync(_fd) != 0) {
        return false;
    }
    ++_records;
    return true;
}

bool Journal::Rewrite(const std::string& payload) {
    const std::string temporary = _path + ".tmp";
    int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) {
        return false;
    }
    const bool written = WriteAll(fd, Header(payload) + payload) && fsync(fd) == 0;
    close(fd);
    if (!written || rename(temporary.c_str(), _path.c_str()) != 0) {
        return false;
    }
    SyncDirectory(_directory);
    _records = 1;
    return OpenForAppend();
}

}  // namespace loftdb
