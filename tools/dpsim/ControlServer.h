#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace Dpsim {

class Simulator;

// Drives a running simulator: a Unix stream socket taking one command per
// line and giving one JSON line per command.
class ControlServer {
public:
    ControlServer(std::string path, Simulator& simulator);
    ~ControlServer();
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    // Binds and listens, making the folder; on failure `error` says why.
    bool Start(std::string& error);
    // Joins the serving thread, closes every client and removes the socket.
    void Stop();

    // The answer to one command line, without its line end.
    static std::string Execute(Simulator& simulator, const std::string& line);
    // Sends one command and reads its answer; false with `error` set when the
    // socket cannot be reached or no answer comes.
    static bool Request(const std::string& path, const std::string& line, std::string& answer,
                        std::string& error);
    static std::string DefaultPath();

private:
    struct Client {
        int fd;
        std::string pending;
    };

    void Serve();
    // False when the client is to be closed.
    bool Read(Client& client);

    const std::string _path;
    Simulator& _simulator;
    int _listenFd = -1;
    int _wakeFd = -1;
    std::vector<Client> _clients;
    std::atomic<bool> _stop{false};
    std::thread _thread;
};

}  // namespace Dpsim
