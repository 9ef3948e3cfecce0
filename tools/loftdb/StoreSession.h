#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "loftdb_store.pb.h"

namespace zef::net {
class FramedSocket;
}

namespace loftdb {

// One monitor statement of one client id and vdb on a connection.
struct Monitor {
    int32_t clientId = 0;
    uint32_t vdb = 0;
    halden::zef::loftdb::MonitorStatementMsg statement;
};

// One client connection and the monitors it configured.
class StoreSession {
public:
    explicit StoreSession(std::shared_ptr<zef::net::FramedSocket> socket);

    void Send(const halden::zef::loftdb::StoreFrameMsg& frame);
    void SendUpdate(int32_t clientId, uint32_t vdb, halden::zef::loftdb::MonitorUpdateMsg update);
    void SendBarrier(int32_t clientId, uint32_t vdb);
    void Close(const std::string& why);

    void AddMonitor(const Monitor& monitor);
    void RemoveMonitor(const Monitor& monitor);
    const std::vector<Monitor>& Monitors() const { return _monitors; }

    std::string name;

private:
    std::shared_ptr<zef::net::FramedSocket> _socket;
    std::vector<Monitor> _monitors;
};

}  // namespace loftdb
