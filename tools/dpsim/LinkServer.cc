#include "LinkServer.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <future>

#include "KcpKernel.h"
#include "UnixListener.h"
#include "port/Tlv.h"

namespace Dpsim {

LinkServer::LinkServer(std::string name, std::string path, RecordFile& record)
    : _name(std::move(name)), _path(std::move(path)), _record(record) {}

LinkServer::~LinkServer() { Stop(); }

bool LinkServer::Start(std::string& error) {
    _listenFd = UnixListener::Listen(_path, 4, error);
    _wakeFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (_listenFd < 0 || _wakeFd < 0) {
        if (error.empty()) {
            error = std::string("cannot make a wake-up event: ") + std::strerror(errno);
        }
        Stop();
        return false;
    }
    _stop = false;
    {
        std::lock_guard<std::mutex> lock(_tasksMutex);
        _acceptingTasks = true;
    }
    _thread = std::thread([this] { Serve(); });
    return true;
}

void LinkServer::Stop() {
    {
        std::lock_guard<std::mutex> lock(_tasksMutex);
        _acceptingTasks = false;
    }
    _stop = true;
    if (_wakeFd >= 0) {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t ignored = ::write(_wakeFd, &one, sizeof(one));
    }
    if (_thread.joinable()) {
        _thread.join();
    }
    // Tasks queued before the stop still wait for their answer.
    RunTasks();
    DropConnection();
    if (_listenFd >= 0) {
        ::close(_listenFd);
        _listenFd = -1;
        std::error_code ignored;
        std::filesystem::remove(_path, ignored);
    }
    if (_wakeFd >= 0) {
        ::close(_wakeFd);
        _wakeFd = -1;
    }
}

void LinkServer::Serve() {
    uint8_t buffer[4096];
    while (!_stop) {
        pollfd fds[3] = {{_wakeFd, POLLIN, 0}, {_listenFd, POLLIN, 0}, {_connectionFd, POLLIN, 0}};
        if (::poll(fds, 3, -1) <= 0) {
            continue;
        }
        if (fds[0].revents != 0) {
            uint64_t count = 0;
            [[maybe_unused]] const ssize_t ignored = ::read(_wakeFd, &count, sizeof(count));
            if (_stop) {
                break;
            }
            RunTasks();
            continue;
        }
        if ((fds[1].revents & POLLIN) != 0) {
            const int accepted = ::accept4(_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
            if (accepted >= 0 && std::chrono::steady_clock::now() < _refuseUntil) {
                ::close(accepted);
            } else if (accepted >= 0) {
                DropConnection();
                _connectionFd = accepted;
            }
            continue;
        }
        if (_connectionFd < 0 || fds[2].revents == 0) {
            continue;
        }
        const ssize_t got = ::recv(_connectionFd, buffer, sizeof(buffer), 0);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            DropConnection();
            continue;
        }
        _pending.insert(_pending.end(), buffer, buffer + got);
        if (!Frame()) {
            DropConnection();
        }
    }
}

bool LinkServer::Frame() {
    while (_pending.size() >= CfgAgent::Tlv::kHeaderSize) {
        const size_t length = (static_cast<size_t>(_pending[2]) << 8) | _pending[3];
        if (length < CfgAgent::Tlv::kHeaderSize) {
            // Nothing after such a head can be framed, so the connection ends
            // once the head is on record.
            ++_in;
            _record.Append(_name, true,
                           std::span<const uint8_t>(_pending.data(), CfgAgent::Tlv::kHeaderSize));
            return false;
        }
        if (_pending.size() < length) {
            return true;
        }
        const std::vector<uint8_t> message(_pending.begin(),
                                           _pending.begin() + static_cast<long>(length));
        _pending.erase(_pending.begin(), _pending.begin() + static_cast<long>(length));
        Handle(message);
    }
    return true;
}

void LinkServer::Handle(const std::vector<uint8_t>& message) {
    ++_in;
    if (!_record.Append(_name, true, message)) {
        return;
    }
    std::string error;
    for (const std::vector<uint8_t>& answer : KcpKernel::Answer(message, _vifs)) {
        if (!SendOut(answer, error)) {
            return;
        }
    }
}

bool LinkServer::SendOut(const std::vector<uint8_t>& message, std::string& error) {
    if (_connectionFd < 0) {
        error = "no agent connected on " + _name;
        return false;
    }
    if (!Write(message)) {
        DropConnection();
        error = "write to the agent failed on " + _name;
        return false;
    }
    ++_out;
    _record.Append(_name, false, message);
    return true;
}

bool LinkServer::Run(const std::function<void()>& task, std::string& error) {
    std::promise<void> done;
    std::future<void> finished = done.get_future();
    {
        std::lock_guard<std::mutex> lock(_tasksMutex);
        if (!_acceptingTasks) {
            error = "link " + _name + " is not serving";
            return false;
        }
        _tasks.push_back([&task, &done] {
            task();
            done.set_value();
        });
    }
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t ignored = ::write(_wakeFd, &one, sizeof(one));
    finished.wait();
    return true;
}

void LinkServer::RunTasks() {
    std::vector<std::function<void()>> tasks;
    {
        std::lock_guard<std::mutex> lock(_tasksMutex);
        tasks.swap(_tasks);
    }
    for (const auto& task : tasks) {
        task();
    }
}

bool LinkServer::Inject(const std::vector<uint8_t>& message, std::string& error) {
    bool ok = false;
    return Run([&] { ok = SendOut(message, error); }, error) && ok;
}

bool LinkServer::SetVif(const std::string& vifId, bool connect, bool& sent, std::string& error) {
    std::vector<uint8_t> message;
    if (!KcpKernel::VifUpdate(vifId, connect, message)) {
        error = "cannot build a VIF Update for " + vifId;
        return false;
    }
    bool ok = false;
    const bool ran = Run(
        [&] {
            const auto known = std::find(_vifs.begin(), _vifs.end(), vifId);
            if (connect && known == _vifs.end()) {
                _vifs.push_back(vifId);
            } else if (!connect && known != _vifs.end()) {
                _vifs.erase(known);
            }
            sent = _connectionFd >= 0;
            ok = !sent || SendOut(message, error);
        },
        error);
    return ran && ok;
}

bool LinkServer::Drop(std::string& error) {
    bool ok = false;
    const bool ran = Run(
        [&] {
            ok = _connectionFd >= 0;
            if (ok) {
                DropConnection();
            } else {
                error = "no agent connected on " + _name;
            }
        },
        error);
    return ran && ok;
}

bool LinkServer::Refuse(std::chrono::milliseconds period, std::string& error) {
    return Run([&] { _refuseUntil = std::chrono::steady_clock::now() + period; }, error);
}

bool LinkServer::GetStatus(Status& status, std::string& error) {
    return Run(
        [&] {
            status.connected = _connectionFd >= 0;
            status.vifs = _vifs;
            status.in = _in;
            status.out = _out;
        },
        error);
}

bool LinkServer::Write(const std::vector<uint8_t>& message) {
    size_t offset = 0;
    while (offset < message.size() && _connectionFd >= 0) {
        const ssize_t sent =
            ::send(_connectionFd, message.data() + offset, message.size() - offset, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent <= 0) {
            return false;
        }
        offset += static_cast<size_t>(sent);
    }
    return offset == message.size();
}

void LinkServer::DropConnection() {
    if (_connectionFd >= 0) {
        ::close(_connectionFd);
        _connectionFd = -1;
    }
    _pending.clear();
}

}  // namespace Dpsim
