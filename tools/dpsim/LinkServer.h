#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "RecordFile.h"

namespace Dpsim {

// The kernel's end of one KCP link: a Unix stream socket at the link's path
// that takes one agent connection at a time, a newer one replacing the older.
class LinkServer {
public:
    LinkServer(std::string name, std::string path, RecordFile& record);
    ~LinkServer();
    LinkServer(const LinkServer&) = delete;
    LinkServer& operator=(const LinkServer&) = delete;

    // Binds and listens, making the folder; on failure `error` says why and
    // nothing runs.
    bool Start(std::string& error);
    // Joins the serving thread and removes the socket; safe to repeat.
    void Stop();

    const std::string& Name() const { return _name; }

private:
    void Serve();
    // Cuts whole messages out of what arrived; false when the stream cannot
    // be framed any further.
    bool Frame();
    void Handle(const std::vector<uint8_t>& message);
    bool Write(const std::vector<uint8_t>& message);
    void DropConnection();

    const std::string _name;
    const std::string _path;
    RecordFile& _record;
    int _listenFd = -1;
    int _wakeFd = -1;
    int _connectionFd = -1;
    std::vector<uint8_t> _pending;
    std::atomic<bool> _stop{false};
    std::thread _thread;
};

}  // namespace Dpsim
