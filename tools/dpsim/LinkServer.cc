#include "LinkServer.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <future>

#include "UnixListener.h"
#include "dplink/Tlv.h"

namespace Dpsim {

LinkServer::LinkServer(std::string name, std::string path, std::unique_ptr<LinkProtocol> protocol,
                       RecordFile& record)
    : _name(std::move(name)),
      _path(std::move(path)),
      _protocol(std::move(protocol)),
      _record(record) {}

LinkServer::~LinkServer() {
    Stop();
}

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
    UnixListener::Close(_path, _listenFd, _wakeFd);
}

void LinkServer::Serve() {
    pthread_setname_np(pthread_self(), "dpsim-link");
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
            const std::span<const uint8_t> head(_pending.data(), CfgAgent::Tlv::kHeaderSize);
            _record.Append(_name, true, head, _protocol->Decode(head));
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
    LinkProtocol::Reception reception = _protocol->Receive(message);
    _record.Append(_name, true, message, std::move(reception.decoded));
    std::string error;
    for (const std::vector<uint8_t>& answer : reception.answers) {
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
    _record.Append(_name, false, message, _protocol->Decode(message));
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

bool LinkServer::Control(const std::vector<std::string>& words, bool& sent, std::string& error) {
    bool ok = false;
    const bool ran = Run(
        [&] {
            std::optional<LinkProtocol::CommandResult> result = _protocol->Execute(words);
            if (!result || !result->error.empty()) {
                error = result ? result->error
                               : "unknown command for a " + std::string(_protocol->Name()) +
                                     " link: " + words[0];
                return;
            }
            sent = _connectionFd >= 0 && !result->messages.empty();
            if (_connectionFd < 0 && !result->keepsState) {
                error = "no agent connected on " + _name;
                return;
            }
            ok = true;
            for (const auto& message : result->messages) {
                if (sent && !SendOut(message, error)) {
                    ok = false;
                    break;
                }
            }
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

void LinkServer::AddName(cJSON* link) const {
    cJSON_AddStringToObject(link, "link", _name.c_str());
    cJSON_AddStringToObject(link, "protocol", _protocol->Name());
}

bool LinkServer::GetStatus(cJSON* link, std::string& error) {
    return Run(
        [&] {
            AddName(link);
            cJSON_AddBoolToObject(link, "connected", _connectionFd >= 0);
            cJSON_AddNumberToObject(link, "in", static_cast<double>(_in));
            cJSON_AddNumberToObject(link, "out", static_cast<double>(_out));
            _protocol->AddStatus(link);
        },
        error);
}

bool LinkServer::GetPorts(cJSON* link, std::string& error) {
    return Run(
        [&] {
            AddName(link);
            _protocol->AddPorts(link);
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
        _protocol->Disconnected();
    }
    _pending.clear();
}

}  // namespace Dpsim
