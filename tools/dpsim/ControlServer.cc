#include "ControlServer.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "JsonPtr.h"
#include "RecordFile.h"
#include "Simulator.h"
#include "UnixListener.h"
#include "host/HostPaths.h"

namespace Dpsim {

namespace {

// A client that sends this much without a line end is not speaking the protocol.
constexpr size_t kMaxLine = 1 << 20;

std::string Print(const JsonPtr& json) {
    char* text = cJSON_PrintUnformatted(json.get());
    std::string result = text != nullptr ? text : "{\"ok\":false,\"error\":\"out of memory\"}";
    cJSON_free(text);
    return result;
}

std::string Failure(const std::string& error) {
    JsonPtr answer(cJSON_CreateObject());
    cJSON_AddBoolToObject(answer.get(), "ok", false);
    cJSON_AddStringToObject(answer.get(), "error", error.c_str());
    return Print(answer);
}

JsonPtr Success() {
    JsonPtr answer(cJSON_CreateObject());
    cJSON_AddBoolToObject(answer.get(), "ok", true);
    return answer;
}

// One object per link, filled by `fill`; all links or only `only`.
template <typename Fill>
std::string PerLink(Simulator& simulator, const std::string& only, Fill fill) {
    JsonPtr answer = Success();
    cJSON* links = cJSON_AddArrayToObject(answer.get(), "links");
    for (const auto& server : simulator.Links()) {
        if (!only.empty() && server->Name() != only) {
            continue;
        }
        cJSON* link = cJSON_CreateObject();
        cJSON_AddItemToArray(links, link);
        std::string error;
        if (!fill(*server, link, error)) {
            return Failure(error);
        }
    }
    return Print(answer);
}

// The commands every link takes, whatever its protocol.
std::string Generic(LinkServer& link, const std::vector<std::string>& words) {
    const std::string& command = words[0];
    std::string error;
    if (command == "inject") {
        std::vector<uint8_t> bytes;
        if (words.size() != 3 || !RecordFile::ParseHex(words[2], bytes)) {
            return Failure("usage: inject LINK HEX (an even number of hex digits)");
        }
        return link.Inject(bytes, error) ? Print(Success()) : Failure(error);
    }
    if (command == "drop") {
        if (words.size() != 2) {
            return Failure("usage: drop LINK");
        }
        return link.Drop(error) ? Print(Success()) : Failure(error);
    }
    double seconds = -1;
    if (words.size() == 3) {
        char* end = nullptr;
        seconds = std::strtod(words[2].c_str(), &end);
        if (end == words[2].c_str() || *end != '\0' || !std::isfinite(seconds)) {
            seconds = -1;
        }
    }
    if (seconds < 0 || seconds > 86400) {
        return Failure("usage: refuse LINK SECONDS (0 to 86400)");
    }
    const auto period = std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
    return link.Refuse(period, error) ? Print(Success()) : Failure(error);
}

}  // namespace

ControlServer::ControlServer(std::string path, Simulator& simulator)
    : _path(std::move(path)), _simulator(simulator) {}

ControlServer::~ControlServer() {
    Stop();
}

std::string ControlServer::DefaultPath() {
    return CfgAgent::HostPaths::Resolve("/var/run/halden/dpsim/control");
}

bool ControlServer::Start(std::string& error) {
    _listenFd = UnixListener::Listen(_path, 8, error);
    _wakeFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (_listenFd < 0 || _wakeFd < 0) {
        if (error.empty()) {
            error = std::string("cannot make a wake-up event: ") + std::strerror(errno);
        }
        Stop();
        return false;
    }
    _stop = false;
    _thread = std::thread([this] { Serve(); });
    return true;
}

void ControlServer::Stop() {
    _stop = true;
    if (_wakeFd >= 0) {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t ignored = ::write(_wakeFd, &one, sizeof(one));
    }
    if (_thread.joinable()) {
        _thread.join();
    }
    for (const Client& client : _clients) {
        ::close(client.fd);
    }
    _clients.clear();
    UnixListener::Close(_path, _listenFd, _wakeFd);
}

void ControlServer::Serve() {
    pthread_setname_np(pthread_self(), "dpsim-control");
    while (!_stop) {
        std::vector<pollfd> fds = {{_wakeFd, POLLIN, 0}, {_listenFd, POLLIN, 0}};
        for (const Client& client : _clients) {
            fds.push_back({client.fd, POLLIN, 0});
        }
        if (::poll(fds.data(), fds.size(), -1) <= 0) {
            continue;
        }
        if (fds[0].revents != 0) {
            break;
        }
        if ((fds[1].revents & POLLIN) != 0) {
            const int accepted = ::accept4(_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
            if (accepted >= 0) {
                _clients.push_back({accepted, {}});
            }
        }
        // Walked backwards so that closing one keeps the others' indices.
        for (size_t i = fds.size() - 1; i >= 2; --i) {
            Client& client = _clients[i - 2];
            if (fds[i].revents != 0 && !Read(client)) {
                ::close(client.fd);
                _clients.erase(_clients.begin() + static_cast<long>(i - 2));
            }
        }
    }
}

bool ControlServer::Read(Client& client) {
    char buffer[4096];
    const ssize_t got = ::recv(client.fd, buffer, sizeof(buffer), 0);
    if (got < 0 && errno == EINTR) {
        return true;
    }
    if (got <= 0) {
        return false;
    }
    client.pending.append(buffer, static_cast<size_t>(got));
    size_t end = 0;
    while ((end = client.pending.find('\n')) != std::string::npos) {
        std::string line = client.pending.substr(0, end);
        client.pending.erase(0, end + 1);
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        const std::string answer = Execute(_simulator, line) + "\n";
        size_t offset = 0;
        while (offset < answer.size()) {
            const ssize_t sent =
                ::send(client.fd, answer.data() + offset, answer.size() - offset, MSG_NOSIGNAL);
            if (sent < 0 && errno == EINTR) {
                continue;
            }
            if (sent <= 0) {
                return false;
            }
            offset += static_cast<size_t>(sent);
        }
    }
    return client.pending.size() <= kMaxLine;
}

std::string ControlServer::Execute(Simulator& simulator, const std::string& line) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    if (words.empty()) {
        return Failure("empty command");
    }
    const std::string& command = words[0];
    if (command == "status" || command == "ports") {
        if (words.size() > (command == "ports" ? 2 : 1)) {
            return Failure(command == "ports" ? "usage: ports [LINK]" : "usage: status");
        }
        const std::string only = words.size() == 2 ? words[1] : "";
        if (!only.empty() && simulator.Find(only) == nullptr) {
            return Failure("unknown link: " + only);
        }
        if (command == "status") {
            return PerLink(simulator, only, [](LinkServer& link, cJSON* json, std::string& error) {
                return link.GetStatus(json, error);
            });
        }
        return PerLink(simulator, only, [](LinkServer& link, cJSON* json, std::string& error) {
            return link.GetPorts(json, error);
        });
    }
    // Every other command names its link next.
    if (words.size() < 2) {
        return Failure("unknown command or missing link: " + command);
    }
    LinkServer* link = simulator.Find(words[1]);
    if (link == nullptr) {
        return Failure("unknown link: " + words[1]);
    }
    if (command == "inject" || command == "drop" || command == "refuse") {
        return Generic(*link, words);
    }
    bool sent = false;
    std::string error;
    if (!link->Control(words, sent, error)) {
        return Failure(error);
    }
    JsonPtr answer = Success();
    cJSON_AddBoolToObject(answer.get(), "sent", sent);
    return Print(answer);
}

bool ControlServer::Request(const std::string& path, const std::string& line, std::string& answer,
                            std::string& error) {
    sockaddr_un address{};
    if (path.size() >= sizeof(address.sun_path)) {
        error = "control socket path too long: " + path;
        return false;
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        error = std::string("cannot make a socket: ") + std::strerror(errno);
        return false;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        error = "cannot reach " + path + ": " + std::strerror(errno);
        ::close(fd);
        return false;
    }
    const std::string request = line + "\n";
    size_t offset = 0;
    while (offset < request.size()) {
        const ssize_t sent =
            ::send(fd, request.data() + offset, request.size() - offset, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent <= 0) {
            error = std::string("cannot send: ") + std::strerror(errno);
            ::close(fd);
            return false;
        }
        offset += static_cast<size_t>(sent);
    }
    answer.clear();
    // A simulator that hangs must not hang its caller.
    const int timeoutMs = 30000;
    while (answer.empty() || answer.back() != '\n') {
        pollfd wait{fd, POLLIN, 0};
        const int ready = ::poll(&wait, 1, timeoutMs);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        char buffer[4096];
        const ssize_t got = ready > 0 ? ::recv(fd, buffer, sizeof(buffer), 0) : -1;
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            error = "no answer from " + path;
            ::close(fd);
            return false;
        }
        answer.append(buffer, static_cast<size_t>(got));
    }
    answer.pop_back();
    ::close(fd);
    return true;
}

}  // namespace Dpsim
