#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace PortTest {

// The far end of one link: listens on the endpoint's socket path, accepts one
// connection at a time and cuts what it reads into whole messages by the
// length in bytes 2 and 3.
class LinkTestPeer {
public:
    using Message = std::vector<unsigned char>;

    explicit LinkTestPeer(const std::string& path) : _path(path) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        _listenFd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
        _listening = path.size() < sizeof(address.sun_path) && _listenFd >= 0 &&
                     ::bind(_listenFd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
                     ::listen(_listenFd, 4) == 0;
        _thread = std::thread([this] { Serve(); });
    }
    ~LinkTestPeer() {
        _stop = true;
        _thread.join();
        CloseConnection();
        if (_listenFd >= 0) {
            ::close(_listenFd);
        }
        std::error_code ignored;
        std::filesystem::remove(_path, ignored);
    }
    LinkTestPeer(const LinkTestPeer&) = delete;
    LinkTestPeer& operator=(const LinkTestPeer&) = delete;

    bool Listening() const { return _listening; }

    bool WaitForAccepts(int count, std::chrono::milliseconds bound) {
        std::unique_lock<std::mutex> lock(_mutex);
        return _changed.wait_for(lock, bound, [&] { return _accepts >= count; });
    }
    bool WaitForMessages(size_t count, std::chrono::milliseconds bound) {
        std::unique_lock<std::mutex> lock(_mutex);
        return _changed.wait_for(lock, bound, [&] { return _messages.size() >= count; });
    }
    std::vector<Message> Messages() {
        std::lock_guard<std::mutex> lock(_mutex);
        return _messages;
    }

    // Writes raw bytes on the current connection; false when there is none.
    bool Send(const unsigned char* data, size_t length) {
        std::lock_guard<std::mutex> lock(_mutex);
        while (length > 0 && _connectionFd >= 0) {
            const ssize_t sent = ::send(_connectionFd, data, length, MSG_NOSIGNAL);
            if (sent <= 0) {
                return false;
            }
            data += sent;
            length -= static_cast<size_t>(sent);
        }
        return length == 0;
    }
    bool Send(const Message& message) { return Send(message.data(), message.size()); }

    void CloseConnection() {
        std::lock_guard<std::mutex> lock(_mutex);
        DropConnection();
    }

private:
    void Serve() {
        unsigned char buffer[4096];
        while (!_stop) {
            int connection;
            {
                std::lock_guard<std::mutex> lock(_mutex);
                connection = _connectionFd;
            }
            pollfd fds[2] = {{_listenFd, POLLIN, 0}, {connection, POLLIN, 0}};
            if (::poll(fds, 2, 20) <= 0) {
                continue;
            }
            std::lock_guard<std::mutex> lock(_mutex);
            if ((fds[0].revents & POLLIN) != 0) {
                const int accepted = ::accept4(_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
                if (accepted >= 0) {
                    DropConnection();
                    _connectionFd = accepted;
                    ++_accepts;
                    _changed.notify_all();
                }
                continue;
            }
            if (connection < 0 || connection != _connectionFd || fds[1].revents == 0) {
                continue;
            }
            const ssize_t got = ::recv(connection, buffer, sizeof(buffer), MSG_DONTWAIT);
            if (got <= 0) {
                DropConnection();
                continue;
            }
            _pending.insert(_pending.end(), buffer, buffer + got);
            Frame();
        }
    }

    void Frame() {
        while (_pending.size() >= 4) {
            const size_t length = (static_cast<size_t>(_pending[2]) << 8) | _pending[3];
            if (length < 4 || _pending.size() < length) {
                return;
            }
            _messages.emplace_back(_pending.begin(), _pending.begin() + static_cast<long>(length));
            _pending.erase(_pending.begin(), _pending.begin() + static_cast<long>(length));
            _changed.notify_all();
        }
    }

    void DropConnection() {
        if (_connectionFd >= 0) {
            ::shutdown(_connectionFd, SHUT_RDWR);
            ::close(_connectionFd);
            _connectionFd = -1;
        }
        _pending.clear();
    }

    const std::string _path;
    int _listenFd = -1;
    bool _listening = false;
    int _connectionFd = -1;
    int _accepts = 0;
    std::vector<unsigned char> _pending;
    std::vector<Message> _messages;
    std::atomic<bool> _stop{false};
    std::mutex _mutex;
    std::condition_variable _changed;
    std::thread _thread;
};

}  // namespace PortTest
