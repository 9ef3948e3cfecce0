#pragma once

#include <cjson/cJSON.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "LinkProtocol.h"
#include "RecordFile.h"

namespace Dpsim {

// The kernel's end of one link: a Unix stream socket at the link's path that
// takes one agent connection at a time, a newer one replacing the older, and
// hands each framed message to the link's protocol.
class LinkServer {
public:
    LinkServer(std::string name, std::string path, std::unique_ptr<LinkProtocol> protocol,
               RecordFile& record);
    ~LinkServer();
    LinkServer(const LinkServer&) = delete;
    LinkServer& operator=(const LinkServer&) = delete;

    // Binds and listens, making the folder; on failure `error` says why and
    // nothing runs.
    bool Start(std::string& error);
    // Joins the serving thread and removes the socket; safe to repeat.
    void Stop();

    const std::string& Name() const { return _name; }

    // Driven from other threads while the link serves; each runs on the
    // serving thread and returns once done. False with `error` set when the
    // link no longer serves or the action cannot be done.
    bool Inject(const std::vector<uint8_t>& message, std::string& error);
    // A command of the link's protocol; `sent` says whether a connected
    // agent was told. Commands that only tell fail without an agent.
    bool Control(const std::vector<std::string>& words, bool& sent, std::string& error);
    bool Drop(std::string& error);
    bool Refuse(std::chrono::milliseconds period, std::string& error);
    // Adds the link's name, protocol and either its status or its view of
    // the ports to `link`.
    bool GetStatus(cJSON* link, std::string& error);
    bool GetPorts(cJSON* link, std::string& error);

private:
    bool Run(const std::function<void()>& task, std::string& error);
    void AddName(cJSON* link) const;
    void RunTasks();
    // Sends and records one message of ours; false when no agent is there or
    // the write failed, which also drops the connection.
    bool SendOut(const std::vector<uint8_t>& message, std::string& error);

    void Serve();
    // Cuts whole messages out of what arrived; false when the stream cannot
    // be framed any further.
    bool Frame();
    void Handle(const std::vector<uint8_t>& message);
    bool Write(const std::vector<uint8_t>& message);
    void DropConnection();

    const std::string _name;
    const std::string _path;
    const std::unique_ptr<LinkProtocol> _protocol;
    RecordFile& _record;
    int _listenFd = -1;
    int _wakeFd = -1;
    int _connectionFd = -1;
    std::vector<uint8_t> _pending;
    size_t _in = 0;
    size_t _out = 0;
    std::chrono::steady_clock::time_point _refuseUntil{};
    std::mutex _tasksMutex;
    bool _acceptingTasks = false;
    std::vector<std::function<void()>> _tasks;
    std::atomic<bool> _stop{false};
    std::thread _thread;
};

}  // namespace Dpsim
