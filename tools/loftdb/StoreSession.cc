#include "StoreSession.h"

#include <algorithm>

#include "zef/net/FramedSocket.h"

namespace loftdb {

namespace {

bool SameMonitor(const Monitor& a, const Monitor& b) {
    return a.clientId == b.clientId && a.vdb == b.vdb &&
           a.statement.SerializeAsString() == b.statement.SerializeAsString();
}

}  // namespace

StoreSession::StoreSession(std::shared_ptr<zef::net::FramedSocket> socket)
    : _socket(std::move(socket)) {}

void StoreSession::Send(const halden::zef::loftdb::StoreFrameMsg& frame) {
    _socket->Send(frame.SerializeAsString());
}

void StoreSession::SendUpdate(int32_t clientId, uint32_t vdb,
                              halden::zef::loftdb::MonitorUpdateMsg update) {
    halden::zef::loftdb::StoreFrameMsg frame;
    auto* event = frame.mutable_monitor_event();
    event->set_client_id(clientId);
    event->set_vdb_id(vdb);
    *event->mutable_update() = std::move(update);
    Send(frame);
}

void StoreSession::SendBarrier(int32_t clientId, uint32_t vdb) {
    halden::zef::loftdb::StoreFrameMsg frame;
    auto* event = frame.mutable_monitor_event();
    event->set_client_id(clientId);
    event->set_vdb_id(vdb);
    event->set_barrier(true);
    Send(frame);
}

void StoreSession::Close(const std::string& why) { _socket->Close(why); }

void StoreSession::AddMonitor(const Monitor& monitor) {
    RemoveMonitor(monitor);
    _monitors.push_back(monitor);
}

void StoreSession::RemoveMonitor(const Monitor& monitor) {
    std::erase_if(_monitors, [&](const Monitor& m) { return SameMonitor(m, monitor); });
}

}  // namespace loftdb
